#include "wbemd/http/CSettings.h"

#include "KzmPaths.h"

#include <cstdint>

namespace wbemd {

namespace {

constexpr char kListen[] = "Listen";
constexpr char kListenPlain[] = "ListenPlain";
constexpr std::uint16_t kPort = 5989;
constexpr std::uint16_t kPlainPort = 5988;

constexpr unsigned long kMiB = 1024UL * 1024;

std::vector<CListenAddress> TakeAddresses(CConfigFile* file, const char* name, std::uint16_t port,
                                          const std::vector<std::string>& absent) {
    std::vector<CListenAddress> addresses;
    for (const std::string& word : file->TakeWords(name, absent)) {
        const std::optional<CListenAddress> address = ReadListenAddress(word, port);
        if (address) {
            addresses.push_back(*address);
        } else {
            file->Refuse(name, "\"" + word +
                                   "\" is no address. Write *, 192.0.2.1 or [2001:db8::1], each "
                                   "with :PORT behind it if need be.");
        }
    }
    return addresses;
}

std::vector<CListenAddress> TakePlainAddresses(CConfigFile* file) {
    std::vector<CListenAddress> addresses = TakeAddresses(file, kListenPlain, kPlainPort, {});
    for (const CListenAddress& address : addresses) {
        if (!address.IsLoopback()) {
            file->Refuse(kListenPlain, "\"" + address.m_text +
                                           "\" can be reached from other machines, and http would "
                                           "show them every password. Write a loopback address.");
        }
    }
    return addresses;
}

std::chrono::milliseconds TakeTime(CConfigFile* file, const char* name, unsigned long absent) {
    constexpr unsigned long kLongest = 10'800'000; // more than twice the longest call
    return std::chrono::milliseconds(file->TakeNumber(name, absent, 1, kLongest));
}

void TakeLimits(CConfigFile* file, CSettings* settings) {
    constexpr unsigned long kMostConnections = 10'000;
    constexpr unsigned long kMostMiB = 1024;
    settings->m_connections = file->TakeNumber("MaxConnections", 256, 1, kMostConnections);
    settings->m_connectionsPerPeer =
        file->TakeNumber("MaxConnectionsPerPeer", 32, 1, kMostConnections);
    settings->m_bodyBytes = file->TakeNumber("MaxBodyBytes", 16 * kMiB, 1, kMostMiB * kMiB);
    settings->m_bodyMemoryBytes =
        file->TakeNumber("MaxBodyMemoryBytes", 128 * kMiB, 1, kMostMiB * kMiB);
    settings->m_answerMemoryBytes =
        file->TakeNumber("MaxAnswerMemoryBytes", 192 * kMiB, 1, kMostMiB * kMiB);
    settings->m_handshakeTime = TakeTime(file, "HandshakeMilliseconds", 5'000);
    settings->m_requestTime = TakeTime(file, "RequestMilliseconds", 10'000);
    settings->m_idleTime = TakeTime(file, "IdleMilliseconds", 15'000);
    settings->m_answerTime = TakeTime(file, "AnswerMilliseconds", 10'000);
    // A wrong password is told up to 30 s later. A call waits as long as it may take, at most.
    settings->m_checkTime = TakeTime(file, "CheckMilliseconds", 45'000);
    settings->m_callTime = TakeTime(file, "CallMilliseconds", 300'000);
}

} // namespace

CSettings CSettings::Read(CConfigFile* file) {
    CSettings settings;
    settings.m_listen = TakeAddresses(file, kListen, kPort, {"*"});
    settings.m_listenPlain = TakePlainAddresses(file);
    settings.m_certificate = file->TakeText("Certificate", KzmPaths::kWbemdCertificate);
    settings.m_key = file->TakeText("Key", KzmPaths::kWbemdKey);
    TakeLimits(file, &settings);
    if (settings.m_bodyMemoryBytes < settings.m_bodyBytes) {
        file->Refuse("MaxBodyMemoryBytes", "is less than MaxBodyBytes.");
    }
    return settings;
}

} // namespace wbemd
