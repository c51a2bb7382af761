#include "loggerctl/agent/CService.h"

#include "KzmPaths.h"
#include "host/CServiceSteps.h"
#include "loggerctl/agent/Failures.h"
#include "loggerctl/agent/SettingsFiles.h"
#include "loggerctl/output/CProgressLine.h"
#include "loggerctl/output/Console.h"
#include "loggerctl/output/SafeText.h"
#include "providerbase/CCommandRunner.h"
#include "providerbase/CVendor.h"
#include "settings/LoggerDefinitions.h"
#include "settings/LoggerTrace.h"

#include <unistd.h>

namespace agent {

namespace {

using LoggerDefinitions::kDevice;
using output::ExitCode;
using output::Expected;
using output::Fail;

int Execute(CVendor* vendor, const std::string& command, std::vector<std::string>* reasons) {
    CReasonListener listener;
    const int answer = RunShown([&] { return vendor->ExecuteCommand(command); }, command);
    *reasons = Explain(listener.Lines()).m_texts;
    return answer;
}

std::string LineOf(const std::string& command) {
    return "the " + command + " line in " + DescriptionFile() + ".";
}

} // namespace

std::string DescriptionFile() {
    return std::string(KzmPaths::kDeviceFolder) + "/" + LoggerDefinitions::kDevice + ".conf";
}

std::string DescriptionSample() {
    return DescriptionFile() + ".sample";
}

bool IsRunToItsEnd(int answer) {
    return answer != CCommandRunner::kTimedOut && answer < CCommandRunner::kNotRun;
}

int RunShown(const std::function<int()>& run, const std::string& command) {
    std::string text;
    if (command == CServiceSteps::kStop) {
        text = "Stopping the agent's service";
    } else if (command == CServiceSteps::kStart) {
        text = "Starting the agent's service";
    }
    const output::CProgressLine line(text, output::CTerminal::Of(STDERR_FILENO));
    return run();
}

CService::CService() {
    CReasonListener listener;
    m_vendor = m_factory.GetVendorObject(LoggerTrace::kModule, kDevice, kDevice);
    if (m_vendor != nullptr) {
        return;
    }
    // A description that was refused has given its reason; one that does not exist gives none.
    m_noVendor = Explain(listener.Lines()).m_texts;
    if (m_noVendor.empty()) {
        const CReason reason = WhyNotRead(DescriptionFile());
        m_noVendor.push_back(reason.m_text + " Without it the agent's service is not known.");
        m_noVendorCode = reason.m_code;
    }
}

tl::unexpected<output::CFailure> CService::NoVendor(const std::string& headline) const {
    return Fail(m_noVendorCode, headline, m_noVendor);
}

Expected<void> CService::Check(const std::string& headline) {
    if (m_vendor == nullptr) {
        return NoVendor(headline);
    }
    std::vector<std::string> ignored; // any other answer than that one means an installed agent
    if (Execute(m_vendor, kCheckInstall, &ignored) == kNotInstalled) {
        return Fail(ExitCode::NotInstalled,
                    headline + " " + output::MeaningOf(ExitCode::NotInstalled),
                    {"Install the agent. If it is installed, see " + LineOf(kCheckInstall)});
    }
    return {};
}

Expected<void> CService::CheckCommands(const std::string& headline) {
    if (m_vendor == nullptr) {
        return NoVendor(headline);
    }
    std::vector<std::string> reasons;
    for (const char* command : {CServiceSteps::kStop, CServiceSteps::kStart}) {
        const std::string problem = m_vendor->FindProblem(command);
        if (!problem.empty()) {
            reasons.push_back(output::Escape(problem) + ". See " + LineOf(command));
        }
    }
    if (!reasons.empty()) {
        return Fail(ExitCode::Failure, headline, reasons);
    }
    return {};
}

Expected<void> CService::Start(const std::string& headline) {
    return Expect0(headline, CServiceSteps::kStart);
}

Expected<void> CService::Stop(const std::string& headline) {
    return Expect0(headline, CServiceSteps::kStop);
}

Expected<void> CService::Expect0(const std::string& headline, const std::string& command) {
    if (m_vendor == nullptr) {
        return NoVendor(headline);
    }
    std::vector<std::string> reasons;
    const int answer = Execute(m_vendor, command, &reasons);
    if (answer == 0) {
        return {};
    }
    reasons.push_back("The command " + command + " answered " + std::to_string(answer) + ". See " +
                      LineOf(command));
    return Fail(ExitCode::Failure, headline, reasons);
}

Expected<CService::State> CService::AskState(const std::string& headline) {
    if (m_vendor == nullptr) {
        return NoVendor(headline);
    }
    if (!m_vendor->HasCommand(kServiceStatus)) {
        return Fail(ExitCode::Failure, headline,
                    {DescriptionFile() + " has no " + kServiceStatus +
                     " line. Add one with a command that answers 0 while the service runs, such as "
                     "ServiceStatus=/usr/bin/systemctl is-active --quiet UNIT."});
    }
    std::vector<std::string> reasons;
    const int answer = Execute(m_vendor, kServiceStatus, &reasons);
    if (!IsRunToItsEnd(answer)) {
        reasons.push_back(std::string("The command ") + kServiceStatus +
                          " did not come to its end (" + std::to_string(answer) + "). See " +
                          LineOf(kServiceStatus));
        return Fail(ExitCode::Failure, headline, reasons);
    }
    return answer == 0 ? State::Running : State::Stopped;
}

std::optional<CService::State> CService::FindState() {
    const Expected<State> state = AskState("");
    return state ? std::optional(*state) : std::nullopt;
}

} // namespace agent
