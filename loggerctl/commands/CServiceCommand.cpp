#include "loggerctl/commands/CServiceCommand.h"

#include "loggerctl/agent/CSettingsLock.h"
#include "loggerctl/agent/CVendorService.h"
#include "loggerctl/output/COutput.h"
#include "loggerctl/output/CSafeText.h"
#include "loggerctl/output/CSuggestion.h"

#include <algorithm>
#include <vector>

namespace {

constexpr char kStart[] = "start";
constexpr char kStop[] = "stop";
constexpr char kStatus[] = "status";

ExitCode Say(const std::string& text) {
    return COutput::Write(text + '\n') ? ExitCode::Success : ExitCode::Failure;
}

ExitCode ShowStatus(CVendorService* service) {
    CVendorService::State state{};
    const CServiceAnswer answer = service->Status(&state);
    if (answer.m_exitCode != ExitCode::Success) {
        return CVendorService::Report("It cannot be told whether the service runs", answer);
    }
    return Say(state == CVendorService::State::Running ? "running" : "stopped");
}

ExitCode Change(CVendorService* service, bool start) {
    const std::string done = start ? "started" : "stopped";
    const CSettingsLock lock;
    if (!lock.IsHeld()) {
        return CVendorService::Report("The service was not " + done,
                                      {ExitCode::Failure, {CSettingsLock::WhyRefused()}});
    }
    const CServiceAnswer answer = start ? service->Start() : service->Stop();
    return answer.m_exitCode == ExitCode::Success
               ? Say("The service was " + done + ".")
               : CVendorService::Report("The service was not " + done, answer);
}

} // namespace

ExitCode CServiceCommand::Run(const std::string& action) {
    const std::vector<std::string> actions{kStart, kStop, kStatus};
    if (std::find(actions.begin(), actions.end(), action) == actions.end()) {
        COutput::WriteError("Unknown action '" + CSafeText::Escape(action) + "'." +
                                CSuggestion::Question(action, actions),
                            {"The actions are start, stop and status."});
        return ExitCode::Usage;
    }
    CVendorService service;
    const CServiceAnswer check = service.Check();
    if (check.m_exitCode != ExitCode::Success) {
        return CVendorService::Report("The service cannot be controlled", check);
    }
    return action == kStatus ? ShowStatus(&service) : Change(&service, action == kStart);
}
