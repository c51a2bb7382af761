#include "loggerctl/agent/CInterruptGuard.h"
#include "loggerctl/agent/CService.h"
#include "loggerctl/agent/Locks.h"
#include "loggerctl/commands/Commands.h"
#include "loggerctl/commands/HostState.h"
#include "loggerctl/output/SafeText.h"
#include "loggerctl/record/Suggestion.h"

#include <algorithm>
#include <cstdlib>

namespace commands {

namespace {

using agent::CService;
using output::CAnswer;
using output::ExitCode;
using output::Expected;
using output::Fail;

constexpr char kStatus[] = "status";

// What an action brings about.
struct CAction {
    const char* m_name;
    bool m_stops;
    bool m_starts;
    const char* m_done; // "The service was ..."
    const char* m_already;
};
constexpr CAction kActions[] = {
    {"start", false, true, "started", "The service runs already.\n"},
    {"stop", true, false, "stopped", "The service is stopped already.\n"},
    {"restart", true, true, "restarted", ""},
};

const char* NameOf(CService::State state) {
    return state == CService::State::Running ? "running" : "stopped";
}

Result Status(CService* service) {
    const auto state = service->AskState("It cannot be told whether the service runs.");
    if (!state) {
        return tl::unexpected(state.error());
    }
    CAnswer answer;
    answer.m_code = *state == CService::State::Running ? ExitCode::Success : ExitCode::Stopped;
    answer.m_text = std::string(NameOf(*state)) + "\n";
    answer.m_document = {{"action", kStatus}, {"state", NameOf(*state)}};
    return answer;
}

CAnswer Answer(const CAction& action, bool changed) {
    CAnswer answer;
    answer.m_text =
        changed ? std::string("The service was ") + action.m_done + ".\n" : action.m_already;
    answer.m_document = {{"action", action.m_name},
                         {"changed", changed},
                         {"state", action.m_starts ? "running" : "stopped"}};
    return answer;
}

tl::unexpected<output::CFailure> GivenUp(const CAction& action, Asking asking) {
    output::CFailure failure{ExitCode::Failure,
                             "Interrupted twice: " + std::string(action.m_name) + " was given up.",
                             {},
                             {}};
    const auto files = history::CSettingsCopy::OfNow(history::CSettingsCopy::Missing::Allow);
    if (files) {
        failure.m_state = FindHostState(*files, agent::Stage::Unknown, "", asking);
        failure.m_state->m_stage = kGivenUp;
    }
    return tl::unexpected(failure);
}

// Under both locks.
Result Act(output::CConsole* console, CService* service, const CAction& action,
           const std::string& failed) {
    if (action.m_stops != action.m_starts) {
        const auto wanted = action.m_starts ? CService::State::Running : CService::State::Stopped;
        if (service->FindState() == wanted) {
            return Answer(action, false);
        }
    }
    const bool isRestart = action.m_stops && action.m_starts;
    const Expected<void> checked = isRestart ? service->CheckCommands(failed) : Expected<void>();
    if (!checked) {
        return tl::unexpected(checked.error());
    }
    const agent::CInterruptGuard guard([&] {
        std::_Exit(static_cast<int>(console->Finish(GivenUp(action, Asking::TakesTooLong))));
    });
    Expected<void> done;
    if (action.m_stops) {
        done = service->Stop(failed);
    }
    if (done && action.m_starts && !guard.IsGivenUp()) {
        done = service->Start(
            action.m_stops ? "The service was stopped, but could not be started again." : failed);
    }
    if (guard.IsGivenUp()) {
        return GivenUp(action, Asking::Allowed);
    }
    return done ? Result(Answer(action, true)) : tl::unexpected(done.error());
}

Result Change(output::CConsole* console, CService* service, const CAction& action,
              std::chrono::seconds wait) {
    const std::string failed = std::string("The service was not ") + action.m_done + ".";
    const auto callerLock = agent::TakeCallerLock(failed, wait);
    if (!callerLock) {
        return tl::unexpected(callerLock.error());
    }
    const agent::CSettingsLock lock;
    if (!lock.IsHeld()) {
        return tl::unexpected(agent::ToFailure(failed, agent::WhyNoSettingsLock()));
    }
    return Act(console, service, action, failed);
}

Result UnknownAction(const std::string& name) {
    return Fail(ExitCode::Usage,
                "Unknown action '" + output::Escape(name) + "'." +
                    record::Question(name, {"start", "stop", "restart", kStatus}),
                {"The actions are start, stop, restart and status."});
}

} // namespace

Result Service(output::CConsole* console, const CServiceOptions& options) {
    const auto* action = std::find_if(
        std::begin(kActions), std::end(kActions),
        [&options](const CAction& candidate) { return options.m_action == candidate.m_name; });
    const bool isStatus = options.m_action == kStatus;
    if (!isStatus && action == std::end(kActions)) {
        return UnknownAction(options.m_action);
    }
    CService service;
    const Expected<void> check = service.Check("The service cannot be controlled.");
    if (!check) {
        return tl::unexpected(check.error());
    }
    return isStatus ? Status(&service) : Change(console, &service, *action, options.m_wait);
}

} // namespace commands
