#include "loggerctl/output/Failure.h"

#include <algorithm>

namespace output {

namespace {

constexpr std::array<CExitCodeEntry, 9> kExitCodes{{
    {ExitCode::Success, "success", "The command did what was asked."},
    {ExitCode::Usage, "usage", "The command line is wrong; nothing was done."},
    {ExitCode::NotInstalled, "not-installed", "The log-monitoring agent is not installed."},
    {ExitCode::Failure, "failure", "The command failed; standard error says why."},
    {ExitCode::Exception, "exception", "The provider caught an exception during the call."},
    {ExitCode::NotLoaded, "not-loaded", "The provider library could not be loaded."},
    {ExitCode::Busy, "busy", "Somebody else is at the settings; nothing was done."},
    {ExitCode::NoRights, "no-rights", "The command needs rights that this user lacks."},
    {ExitCode::Stopped, "stopped", "\"service status\" alone: the service does not run."},
}};

constexpr std::size_t kNameColumn = 15;

const CExitCodeEntry& EntryOf(ExitCode code) {
    return *std::find_if(kExitCodes.begin(), kExitCodes.end(),
                         [code](const CExitCodeEntry& entry) { return entry.m_code == code; });
}

} // namespace

const std::array<CExitCodeEntry, 9>& ExitCodes() {
    return kExitCodes;
}

std::string NameOf(ExitCode code) {
    return EntryOf(code).m_name;
}

std::string MeaningOf(ExitCode code) {
    return EntryOf(code).m_meaning;
}

std::string ExitCodeHelp() {
    std::string text = "Exit codes:";
    for (const CExitCodeEntry& entry : kExitCodes) {
        std::string name = entry.m_name;
        name.resize(kNameColumn, ' ');
        text +=
            "\n  " + std::to_string(static_cast<int>(entry.m_code)) + "  " + name + entry.m_meaning;
    }
    return text;
}

} // namespace output
