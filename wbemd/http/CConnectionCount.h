#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>

namespace wbemd {

// How many connections there are, in all and from each peer.
class CConnectionCount {
public:
    // Counts one more, unless there are as many as there may be, in all or from this peer.
    bool Add(const std::string& peer, std::size_t limit, std::size_t limitPerPeer);
    // One that was added has gone.
    void Remove(const std::string& peer);

    [[nodiscard]] std::size_t Total() const { return m_total; }

private:
    std::size_t m_total = 0;
    std::unordered_map<std::string, std::size_t> m_ofPeer; // none is zero
};

} // namespace wbemd
