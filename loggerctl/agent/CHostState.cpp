#include "loggerctl/agent/CHostState.h"

#include "history/CSettingsCopy.h"
#include "loggerctl/agent/CProviderCall.h"
#include "loggerctl/agent/CVendorService.h"
#include "loggerctl/output/COutput.h"
#include "loggerctl/output/CUnifiedDiff.h"

#include <array>
#include <optional>
#include <sstream>
#include <vector>

namespace {

using Stage = CHostState::Stage;
using State = CVendorService::State;

struct StageLine {
    const char* m_pText; // the line begins with it
    Stage m_stage;
};

constexpr std::array kStageLines{
    StageLine{"VELTARO_ToolServiceLogger pClass == NULL", Stage::NotBegun},
    StageLine{"CVELTARO_ToolServiceLogger::SetParameter() CIM_VTR_E_CRITICAL_ERROR",
              Stage::NotBegun},
    StageLine{"CVELTARO_ToolServiceLogger::SetParameter() Logger not installed", Stage::NotBegun},
    StageLine{"CVELTARO_ToolServiceLogger::SetParameter() GetMutex failure", Stage::NotBegun},
    StageLine{"CVELTARO_ToolServiceLogger::SetParameter() ServiceStop failure", Stage::StopFailed},
    StageLine{"CVELTARO_ToolServiceLogger::SetParameter() CLoggerConf status error",
              Stage::Stopped},
    StageLine{"CVELTARO_ToolServiceLogger::SetParameter() unknown exception", Stage::Stopped},
    StageLine{"CVELTARO_ToolServiceLogger::SetParameter() EditConfigFile failure", Stage::Stopped},
    StageLine{"CVELTARO_ToolServiceLogger::SetParameter() ServiceStart failure",
              Stage::StartFailed},
};

// What follows from how far the call had come, where the service cannot be asked.
std::string ServiceAfter(Stage stage) {
    switch (stage) {
    case Stage::StopFailed:
        return "The agent's service could not be stopped: it may run still, or not.";
    case Stage::Stopped:
        return "The agent's service is stopped.";
    case Stage::StartFailed:
        return "The agent's service is stopped: it could not be started again.";
    default:
        return "It is not known whether the agent's service runs.";
    }
}

// Nothing where the service cannot be asked.
std::optional<State> AskService() {
    State state{};
    const bool answered = CVendorService().Status(&state).m_exitCode == ExitCode::Success;
    return answered ? std::optional(state) : std::nullopt;
}

std::string ServiceText(std::optional<State> state, Stage stage) {
    if (stage == Stage::NotBegun) {
        return "The agent's service was not touched.";
    }
    if (!state) {
        return ServiceAfter(stage);
    }
    return state == State::Running ? "The agent's service is running."
                                   : "The agent's service is stopped.";
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line)) {
        lines.push_back(line);
    }
    return lines;
}

// Nothing when the files are as they were. A file that is gone counts as empty.
std::vector<std::string> FileChanges(const CSettingsTexts& before) {
    std::string error;
    const auto now = CSettingsCopy::OfNow(CSettingsCopy::Missing::Allow, &error);
    if (!now) {
        return {error};
    }
    const CSettingsTexts texts{now->m_files[0].m_sText, now->m_files[1].m_sText};
    return Lines(CUnifiedDiff::ForOutput(before.DifferenceTo(texts), true));
}

} // namespace

void CHostState::Write(const CProviderAnswer& answer, const CSettingsTexts& before,
                       const std::string& id) {
    const Stage stage = StageOf(answer);
    std::vector<std::string> details = FileChanges(before);
    const bool changed = !details.empty();
    details.insert(details.begin(), changed ? "The settings files have changed:"
                                            : "The settings files are as they were.");
    const std::optional<State> state = stage == Stage::NotBegun ? std::nullopt : AskService();
    details.push_back(ServiceText(state, stage));
    if (changed) {
        details.push_back("To put the files back as they were:  loggerctl restore " + id);
    }
    if (stage != Stage::NotBegun && state != State::Running) {
        details.push_back("To start the service with the files as they are:  loggerctl service "
                          "start");
    }
    COutput::WriteError("The state of the host now:", details);
}

Stage CHostState::StageOf(const CProviderAnswer& answer) {
    if (answer.m_exitCode == ExitCode::NotLoaded || answer.m_exitCode == ExitCode::NotInstalled) {
        return Stage::NotBegun;
    }
    for (const CTraceUtility::Line& line : answer.m_lines) {
        for (const StageLine& known : kStageLines) {
            if (line.m_sText.rfind(known.m_pText, 0) == 0) {
                return known.m_stage;
            }
        }
    }
    return Stage::Unknown;
}
