#include "loggerctl/output/CExitCodes.h"

namespace {

constexpr std::array<CExitCodeEntry, 6> kExitCodes{{
    {ExitCode::Success, "success", "The command did what was asked."},
    {ExitCode::Usage, "usage", "The command line is wrong; nothing was done."},
    {ExitCode::NotInstalled, "not-installed", "The log-monitoring agent is not installed."},
    {ExitCode::Failure, "failure", "The command failed; standard error says why."},
    {ExitCode::Exception, "exception", "The provider caught an exception during the call."},
    {ExitCode::NotLoaded, "not-loaded", "The provider library could not be loaded."},
}};

constexpr std::size_t kNameColumn = 15;

} // namespace

const std::array<CExitCodeEntry, 6>& CExitCodes::All() {
    return kExitCodes;
}

std::string CExitCodes::Meaning(ExitCode code) {
    for (const CExitCodeEntry& entry : kExitCodes) {
        if (entry.m_code == code) {
            return entry.m_pMeaning;
        }
    }
    return "";
}

std::string CExitCodes::HelpText() {
    std::string text = "Exit codes:";
    for (const CExitCodeEntry& entry : kExitCodes) {
        std::string name = entry.m_pName;
        name.resize(kNameColumn, ' ');
        text += "\n  " + std::to_string(static_cast<int>(entry.m_code)) + "  " + name +
                entry.m_pMeaning;
    }
    return text;
}
