#include "wbemd/http/CConnectionCount.h"

namespace wbemd {

CConnectionCount::CPlace::~CPlace() {
    if (m_count != nullptr) {
        m_count->Remove(m_peer);
    }
}

std::optional<CConnectionCount::CPlace> CConnectionCount::Take(std::string peer, std::size_t limit,
                                                               std::size_t limitPerPeer) {
    const auto found = m_ofPeer.find(peer);
    const std::size_t ofPeer = found == m_ofPeer.end() ? 0 : found->second;
    if (m_total >= limit || ofPeer >= limitPerPeer) {
        return std::nullopt;
    }
    m_ofPeer[peer] = ofPeer + 1;
    ++m_total;
    return CPlace(this, std::move(peer));
}

void CConnectionCount::Remove(const std::string& peer) {
    const auto found = m_ofPeer.find(peer);
    if (--found->second == 0) {
        m_ofPeer.erase(found);
    }
    --m_total;
}

} // namespace wbemd
