#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace providerd {

// What the daemon's configuration file says.
struct CSettings {
    std::vector<std::string> m_readingGroups{"kzm-readers"}; // whose members may read
    std::vector<std::string> m_changingGroups;               // whose members may change and read
    std::string m_frontEndUser = "kzmwbem";                  // who may use the socket
    std::chrono::seconds m_callTime{120};                    // of one call, and of its waiting
    std::size_t m_waitingCalls = 64;                         // calls to be made
};

// Reads the file. One that is missing gives the defaults. The problems are lines that are safe to
// print; the settings are of no use when there are any.
struct CReadSettings {
    CSettings m_settings;
    std::vector<std::string> m_problems;
};
CReadSettings ReadSettings(const std::string& path);

} // namespace providerd
