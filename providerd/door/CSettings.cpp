#include "providerd/door/CSettings.h"

#include "serverbase/CConfigFile.h"

namespace providerd {

namespace {

constexpr unsigned long kShortestCall = 10; // seconds; a service needs its time to stop and start
constexpr unsigned long kLongestCall = 3600;
constexpr unsigned long kMostWaiting = 1000;

} // namespace

CReadSettings ReadSettings(const std::string& path) {
    CConfigFile file = CConfigFile::Read(path);
    CSettings settings;
    settings.m_readingGroups = file.TakeWords("ReadingGroups", settings.m_readingGroups);
    settings.m_changingGroups = file.TakeWords("ChangingGroups", settings.m_changingGroups);
    settings.m_frontEndUser = file.TakeText("FrontEndUser", settings.m_frontEndUser);
    if (settings.m_frontEndUser.empty()) {
        file.Refuse("FrontEndUser", "Is empty. Name the user of the front end, such as kzmwbem.");
    }
    const auto seconds = static_cast<unsigned long>(settings.m_callTime.count());
    settings.m_callTime = std::chrono::seconds(
        file.TakeNumber("CallTimeoutSeconds", seconds, kShortestCall, kLongestCall));
    settings.m_waitingCalls =
        file.TakeNumber("WaitingCalls", settings.m_waitingCalls, 1, kMostWaiting);
    return {settings, file.Problems()};
}

} // namespace providerd
