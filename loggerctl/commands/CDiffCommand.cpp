#include "loggerctl/commands/CDiffCommand.h"

#include "loggerctl/agent/CSettingsTexts.h"
#include "loggerctl/commands/CHistoryChoice.h"
#include "loggerctl/output/COutput.h"
#include "loggerctl/output/CTerminal.h"
#include "loggerctl/output/CUnifiedDiff.h"

#include <unistd.h>

#include <array>
#include <cstdio>

namespace {

std::string Rights(const CFileImage& file) {
    if (file.m_bMissing) {
        return "missing";
    }
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "owner %u, group %u, mode %04o", file.m_owner,
                  file.m_group, file.m_mode);
    return text.data();
}

// A line for each file that has another owner, group or mode.
std::string RightsDifference(const CSettingsCopy& from, const CSettingsCopy& to) {
    std::string text;
    for (std::size_t i = 0; i < from.m_files.size(); ++i) {
        const std::string before = Rights(from.m_files[i]);
        const std::string after = Rights(to.m_files[i]);
        if (before != after) {
            text.append(CSettingsCopy::Name(i)).append(": ").append(before).append(" -> ");
            text.append(after).append("\n");
        }
    }
    return text;
}

CSettingsTexts Texts(const CSettingsCopy& copy) {
    return {copy.m_files[0].m_sText, copy.m_files[1].m_sText};
}

ExitCode Report(const std::string& error) {
    COutput::WriteError("The files cannot be compared.", {error});
    return ExitCode::Failure;
}

} // namespace

ExitCode CDiffCommand::Run(const std::string& id) {
    ExitCode exitCode{};
    const std::optional<CHistoryEntry> entry = CHistoryChoice::Find(id, &exitCode);
    if (!entry) {
        return exitCode;
    }
    std::string error;
    const auto copy = CHistory::Load(entry->m_sId, &error);
    if (!copy) {
        return Report(error);
    }
    const auto now = CSettingsCopy::OfNow(CSettingsCopy::Missing::Allow, &error);
    if (!now) {
        return Report(error);
    }
    const std::string text = RightsDifference(*copy, *now) + Texts(*copy).DifferenceTo(Texts(*now));
    const bool terminal = isatty(STDOUT_FILENO) == 1;
    const std::string output = text.empty() ? "Both files are as in " + entry->m_sId + ".\n"
                                            : CUnifiedDiff::ForOutput(text, terminal);
    return COutput::Write(output) ? ExitCode::Success : ExitCode::Failure;
}
