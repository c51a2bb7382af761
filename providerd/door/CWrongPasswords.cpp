#include "providerd/door/CWrongPasswords.h"

#include <arpa/inet.h>

#include <algorithm>
#include <utility>

namespace providerd {

namespace {

constexpr std::size_t kNetworkBytes = 8;

std::string BytesOf(const void* address, std::size_t size) {
    return {static_cast<const char*>(address), size};
}

} // namespace

std::chrono::seconds CWrongPasswords::Note(const std::string& peer) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    const TimePoint now = m_now();
    const std::string network = NetworkOf(peer);
    if (m_entries.count(network) == 0) {
        MakeRoom(now);
    }
    CEntry& entry = m_entries[network];
    const bool isDelayed = entry.m_delay.count() != 0 && now - entry.m_last < kMemory;
    entry.m_last = now;
    if (isDelayed) {
        entry.m_delay = std::min(entry.m_delay * 2, kLongestDelay);
        return entry.m_delay;
    }
    auto& times = entry.m_times;
    times.erase(std::remove_if(times.begin(), times.end(),
                               [now](TimePoint time) { return now - time >= kMemory; }),
                times.end());
    times.push_back(now);
    entry.m_delay = times.size() > kFree ? kFirstDelay : std::chrono::seconds(0);
    return entry.m_delay;
}

// Forgets those that do not count any more, and if there are none, the one that was quiet longest.
void CWrongPasswords::MakeRoom(TimePoint now) {
    if (m_entries.size() < kMostAddresses) {
        return;
    }
    auto oldest = m_entries.begin();
    for (auto entry = m_entries.begin(); entry != m_entries.end(); ++entry) {
        oldest = entry->second.m_last < oldest->second.m_last ? entry : oldest;
    }
    m_entries.erase(oldest);
    for (auto entry = m_entries.begin(); entry != m_entries.end();) {
        const bool counts = now - entry->second.m_last < kMemory;
        entry = counts ? std::next(entry) : m_entries.erase(entry);
    }
}

std::string CWrongPasswords::NetworkOf(const std::string& peer) {
    in_addr four{};
    if (inet_pton(AF_INET, peer.c_str(), &four) == 1) {
        return BytesOf(&four, sizeof four);
    }
    in6_addr six{};
    const std::string withoutScope = peer.substr(0, peer.find('%'));
    if (inet_pton(AF_INET6, withoutScope.c_str(), &six) != 1) {
        return peer;
    }
    return IN6_IS_ADDR_V4MAPPED(&six) ? BytesOf(six.s6_addr + sizeof six - sizeof four, sizeof four)
                                      : BytesOf(&six, kNetworkBytes);
}

} // namespace providerd
