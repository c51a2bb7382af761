#include "loggerctl/commands/CSetExecution.h"

#include "KzmPaths.h"
#include "history/CHistory.h"
#include "loggerctl/agent/CFailureReport.h"
#include "loggerctl/agent/CFileProblem.h"
#include "loggerctl/agent/CHostState.h"
#include "loggerctl/agent/CSettingsLock.h"
#include "loggerctl/output/COutput.h"
#include "loggerctl/output/CSafeText.h"
#include "loggerctl/output/CTable.h"
#include "loggerctl/record/LoggerObjects.h"

#include <unistd.h>

#include <optional>

namespace {

constexpr char kRefused[] = "Nothing was changed.";

std::vector<std::string> WritingProblems() {
    std::vector<std::string> problems;
    for (const char* path : {KzmPaths::kAgentConfig, KzmPaths::kAlertConfig}) {
        const std::string problem = CFileProblem::Writing(path);
        if (!problem.empty()) {
            problems.push_back(problem);
        }
    }
    return problems;
}

// Under the lock, which the provider takes for itself afterwards. Returns the copies' ID.
std::optional<std::string> Keep(const CSettingsTexts& expected, const std::string& reason,
                                std::string* error) {
    const CSettingsLock lock;
    if (!lock.IsHeld()) {
        *error = CSettingsLock::WhyRefused();
        return std::nullopt;
    }
    const std::optional<CSettingsTexts> present = CSettingsTexts::Read(error);
    if (!present) {
        return std::nullopt;
    }
    if (*present != expected) {
        *error = "Somebody else has just changed the settings files. Look at them, and try again.";
        return std::nullopt;
    }
    return CHistory::Save(reason, error);
}

std::string ChangesText(const std::vector<CSettingsChange>& changes) {
    if (changes.empty()) {
        return "No setting has changed; the files were written again.\n";
    }
    CTable table({{"Changed"}, {"", CTable::Align::Right}, {""}, {""}});
    for (const CSettingsChange& change : changes) {
        table.AddRow({{CSafeText::Escape(change.m_address.m_sText)},
                      {change.m_sOld},
                      {"->"},
                      {change.m_sNew}});
    }
    return table.Text(CTerminal::Of(STDOUT_FILENO));
}

} // namespace

ExitCode CSetExecution::Run(const CProviderFiles& files, IWbemClassObject* inParams,
                            const CSettingsTexts& expected,
                            const std::vector<CSettingsChange>& changes,
                            const std::string& reason) {
    const std::vector<std::string> problems = WritingProblems();
    if (!problems.empty()) {
        COutput::WriteError(kRefused, problems);
        return ExitCode::Failure;
    }
    std::string error;
    const std::optional<std::string> id = Keep(expected, reason, &error);
    if (!id) {
        COutput::WriteError(kRefused, {error});
        return ExitCode::Failure;
    }
    const CProviderAnswer answer = CProviderCall::Run(files, LoggerObjects::kSetMethod, inParams);
    if (answer.m_exitCode != ExitCode::Success) {
        const bool written = CHostState::StageOf(answer) == CHostState::Stage::StartFailed;
        CFailureReport::Write(written ? "The settings were changed, but the agent's service was "
                                        "not started again"
                                      : "The settings could not be changed",
                              answer);
        CHostState::Write(answer, expected, *id);
        return answer.m_exitCode;
    }
    const bool said =
        COutput::Write(ChangesText(changes) +
                       "\nThe agent's service was restarted. The files as they were are "
                       "kept: loggerctl restore " +
                       *id + "\n");
    return said ? ExitCode::Success : ExitCode::Failure;
}
