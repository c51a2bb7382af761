#pragma once

#include "providerd/door/Clock.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>

namespace providerd {

// How long the answer to a wrong password waits, by the address it came from. The first kFree
// within kMemory wait for nothing, the next one for kFirstDelay, each further one twice as long, up
// to kLongestDelay, until there was none for kMemory. Any number of threads.
class CWrongPasswords {
public:
    static constexpr std::size_t kFree = 5;
    static constexpr std::chrono::seconds kMemory{60};
    static constexpr std::chrono::seconds kFirstDelay{2};
    static constexpr std::chrono::seconds kLongestDelay{30};
    static constexpr std::size_t kMostAddresses = 4096; // then the oldest are forgotten

    explicit CWrongPasswords(Clock now) : m_now(std::move(now)) {}

    // Counts a wrong password from this address, and says how long its answer waits.
    std::chrono::seconds Note(const std::string& peer);

    // What is counted together: an IPv4 address, also one written as IPv6; a network of 64 bits in
    // IPv6; anything else as it is.
    static std::string NetworkOf(const std::string& peer);

private:
    struct CEntry {
        std::vector<TimePoint> m_times;  // of the last ones, until they are too many
        std::chrono::seconds m_delay{0}; // of the last one
        TimePoint m_last;
    };
    void MakeRoom(TimePoint now);

    Clock m_now;
    std::mutex m_mutex;
    std::map<std::string, CEntry> m_entries; // by network
};

} // namespace providerd
