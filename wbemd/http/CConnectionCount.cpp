#include "wbemd/http/CConnectionCount.h"

namespace wbemd {

bool CConnectionCount::Add(const std::string& peer, std::size_t limit, std::size_t limitPerPeer) {
    const auto found = m_ofPeer.find(peer);
    const std::size_t ofPeer = found == m_ofPeer.end() ? 0 : found->second;
    if (m_total >= limit || ofPeer >= limitPerPeer) {
        return false;
    }
    m_ofPeer[peer] = ofPeer + 1;
    ++m_total;
    return true;
}

void CConnectionCount::Remove(const std::string& peer) {
    const auto found = m_ofPeer.find(peer);
    if (--found->second == 0) {
        m_ofPeer.erase(found);
    }
    --m_total;
}

} // namespace wbemd
