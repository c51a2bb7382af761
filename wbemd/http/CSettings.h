#pragma once

#include "serverbase/CConfigFile.h"
#include "wbemd/http/ListenAddress.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace wbemd {

// What the front end is told by its configuration file.
struct CSettings {
    std::vector<CListenAddress> m_listen;      // https
    std::vector<CListenAddress> m_listenPlain; // http; loopback addresses
    std::string m_certificate;                 // paths of PEM files
    std::string m_key;

    std::size_t m_connections = 0; // at most, in all and from one address
    std::size_t m_connectionsPerPeer = 0;
    std::size_t m_bodyBytes = 0;         // of one request, at most
    std::size_t m_bodyMemoryBytes = 0;   // of all requests that are in memory at one time
    std::size_t m_answerMemoryBytes = 0; // of all answers that are, but for the short ones
    std::chrono::milliseconds m_handshakeTime{};
    std::chrono::milliseconds m_requestTime{}; // from a request's first byte to its last
    std::chrono::milliseconds m_idleTime{};    // between two requests
    std::chrono::milliseconds m_answerTime{};  // in which a client takes nothing of its answer
    // In which the daemon that calls the provider answers whether credentials are right, or how a
    // call went. Then it is taken for hung.
    std::chrono::milliseconds m_checkTime{};
    std::chrono::milliseconds m_callTime{};

    // Takes every setting from the file, which collects what is wrong with them.
    static CSettings Read(CConfigFile* file);
};

} // namespace wbemd
