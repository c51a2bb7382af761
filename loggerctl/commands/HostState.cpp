#include "loggerctl/commands/HostState.h"

#include "loggerctl/agent/CService.h"
#include "loggerctl/agent/SettingsFiles.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>

namespace commands {

namespace {

using agent::CService;
using agent::Stage;
using output::CHostState;
using State = std::optional<CService::State>;

// The first word of an environment variable; empty when it is not set.
std::string FirstWord(const char* variable) {
    const char* value = std::getenv(variable);
    const std::string text = value == nullptr ? "" : value;
    return text.substr(0, text.find(' '));
}

const char* NameOf(Stage stage) {
    switch (stage) {
    case Stage::NotBegun:
        return "not-begun";
    case Stage::StopFailed:
        return "stop-failed";
    case Stage::Stopped:
        return "stopped";
    case Stage::StartFailed:
        return "start-failed";
    default:
        return "unknown";
    }
}

// What follows from how far the command had come, where the service cannot be asked.
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

void AddService(State service, Stage stage, CHostState* state) {
    if (stage == Stage::NotBegun) {
        state->m_service = "untouched";
        state->m_serviceText = "The agent's service was not touched.";
    } else if (service) {
        const bool runs = service == CService::State::Running;
        state->m_service = runs ? "running" : "stopped";
        state->m_serviceText = "The agent's service is " + state->m_service + ".";
        if (runs && stage == Stage::StopFailed) {
            state->m_serviceText += " It may have been told to stop already: look again with "
                                    "\"loggerctl service status\".";
        }
    } else {
        const bool isStopped = stage == Stage::Stopped || stage == Stage::StartFailed;
        state->m_service = isStopped ? "stopped" : "unknown";
        state->m_serviceText = ServiceAfter(stage);
    }
}

void AddRecovery(const std::string& id, State service, Stage stage, CHostState* state) {
    if (!state->m_difference.empty() && !id.empty()) {
        state->m_recover.emplace_back("To put the files back as they were:",
                                      "loggerctl restore " + id);
    }
    // A service that was told to stop may do so still.
    const bool mayStop = service != CService::State::Running || stage == Stage::StopFailed;
    if (stage != Stage::NotBegun && mayStop) {
        state->m_recover.emplace_back("To start the service with the files as they are:",
                                      "loggerctl service start");
    }
}

// What the files say, against `from`. A file that is gone counts as empty; files that cannot be
// read count as changed.
void AddFiles(const history::CSettingsCopy& from, const char* same, const char* different,
              CHostState* state) {
    const auto now = history::CSettingsCopy::OfNow(history::CSettingsCopy::Missing::Allow);
    state->m_difference = now ? agent::Difference(from, *now) : now.error().m_text + "\n";
    if (!now) {
        state->m_filesText = "It is not known what the settings files hold:";
    } else {
        state->m_filesText = state->m_difference.empty() ? same : different;
    }
}

} // namespace

history::COrigin FindOrigin() {
    const passwd* user = getpwuid(getuid());
    const std::string name = user == nullptr ? std::to_string(getuid()) : user->pw_name;
    const std::string sudoUser = FirstWord("SUDO_USER");
    return {name, sudoUser == name ? "" : sudoUser, FirstWord("SSH_CONNECTION")};
}

CHostState FindHostState(const history::CSettingsCopy& before, Stage stage, const std::string& id,
                         Asking asking) {
    CHostState state;
    state.m_stage = NameOf(stage);
    AddFiles(before, "The settings files are as they were.",
             "The settings files have changed:", &state);
    const bool asks = stage != Stage::NotBegun && asking == Asking::Allowed;
    const State service = asks ? CService().FindState() : std::nullopt;
    AddService(service, stage, &state);
    AddRecovery(id, service, stage, &state);
    return state;
}

CHostState FindHostStateAgainst(const history::CSettingsCopy& wanted, const std::string& id) {
    CHostState state;
    state.m_stage = "differs";
    AddFiles(wanted, "The settings files are what was to be written.",
             "The settings files, against what was to be written:", &state);
    // Where it cannot be asked: its command has just answered that it started.
    const auto service = CService().FindState().value_or(CService::State::Running);
    AddService(service, Stage::Unknown, &state);
    AddRecovery(id, service, Stage::Unknown, &state);
    return state;
}

} // namespace commands
