#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

namespace wbemd {

// How many connections there are, in all and from each peer.
class CConnectionCount {
public:
    // The place of a connection, which counts as long as this object lives. The count must outlive
    // it.
    class CPlace {
    public:
        CPlace(CPlace&& other) noexcept
            : m_count(std::exchange(other.m_count, nullptr)),
              m_peer(std::move(other.m_peer)) {}
        ~CPlace();
        CPlace(const CPlace&) = delete;
        CPlace& operator=(const CPlace&) = delete;
        CPlace& operator=(CPlace&&) = delete;

    private:
        friend class CConnectionCount;
        CPlace(CConnectionCount* count, std::string peer)
            : m_count(count),
              m_peer(std::move(peer)) {}

        CConnectionCount* m_count;
        std::string m_peer;
    };

    // A place for one more; nothing when there are as many as there may be, in all or from this
    // peer.
    std::optional<CPlace> Take(std::string peer, std::size_t limit, std::size_t limitPerPeer);

    [[nodiscard]] std::size_t Total() const { return m_total; }

private:
    void Remove(const std::string& peer);

    std::size_t m_total = 0;
    std::unordered_map<std::string, std::size_t> m_ofPeer; // none is zero
};

} // namespace wbemd
