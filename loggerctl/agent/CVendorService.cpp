#include "loggerctl/agent/CVendorService.h"

#include "KzmPaths.h"
#include "loggerctl/agent/CFailureReport.h"
#include "loggerctl/agent/CFileProblem.h"
#include "loggerctl/agent/CReasonListener.h"
#include "loggerctl/output/COutput.h"
#include "loggerctl/output/CSafeText.h"
#include "providerbase/CVendor.h"
#include "settings/LoggerTrace.h"

namespace {

using Reasons = std::vector<std::string>;

constexpr char kDevice[] = "Logger";
constexpr char kCheckInstall[] = "CheckInstall";
constexpr char kStart[] = "ServiceStart";
constexpr char kStop[] = "ServiceStop";
constexpr char kStatus[] = "ServiceStatus";

constexpr int kNotInstalled = 1;
constexpr int kTimedOut = 124;
constexpr int kNotRun = 127;

// A description that was refused has given its reason; one that does not exist gives none.
Reasons WhyNoVendor(Reasons reasons) {
    if (reasons.empty()) {
        reasons.push_back(CFileProblem::Reading(CVendorService::DescriptionFile()) +
                          " Without it the agent's service is not known.");
    }
    return reasons;
}

int Execute(CVendor* vendor, const std::string& command, Reasons* reasons) {
    CReasonListener listener;
    const int answer = vendor->ExecuteCommand(command);
    *reasons = CFailureReport::Reasons(listener.Lines());
    return answer;
}

std::string LineOf(const std::string& command) {
    return "the " + command + " line in " + CSafeText::Escape(CVendorService::DescriptionFile()) +
           ".";
}

bool IsRunToItsEnd(int answer) {
    return answer != kTimedOut && answer < kNotRun;
}

} // namespace

std::string CVendorService::DescriptionFile() {
    return std::string(KzmPaths::kDeviceFolder) + "/" + kDevice + ".conf";
}

CVendorService::CVendorService() {
    CReasonListener listener;
    m_pVendor = m_factory.GetVendorObject(LoggerTrace::kModule, kDevice, kDevice);
    if (m_pVendor == nullptr) {
        m_noVendor = WhyNoVendor(CFailureReport::Reasons(listener.Lines()));
    }
}

CServiceAnswer CVendorService::Check() {
    if (m_pVendor == nullptr) {
        return {ExitCode::Failure, m_noVendor};
    }
    Reasons ignored; // any other answer than that one means an installed agent
    if (Execute(m_pVendor, kCheckInstall, &ignored) == kNotInstalled) {
        return {ExitCode::NotInstalled,
                {"Install the agent. If it is installed, see " + LineOf(kCheckInstall)}};
    }
    return {};
}

CServiceAnswer CVendorService::Start() {
    return Expect0(kStart);
}

CServiceAnswer CVendorService::Stop() {
    return Expect0(kStop);
}

CServiceAnswer CVendorService::Expect0(const std::string& command) {
    if (m_pVendor == nullptr) {
        return {ExitCode::Failure, m_noVendor};
    }
    Reasons reasons;
    const int answer = Execute(m_pVendor, command, &reasons);
    if (answer == 0) {
        return {};
    }
    reasons.push_back("The command " + command + " answered " + std::to_string(answer) + ". See " +
                      LineOf(command));
    return {ExitCode::Failure, reasons};
}

CServiceAnswer CVendorService::Status(State* state) {
    if (m_pVendor == nullptr) {
        return {ExitCode::Failure, m_noVendor};
    }
    if (!m_pVendor->HasCommand(kStatus)) {
        return {ExitCode::Failure,
                {CSafeText::Escape(CVendorService::DescriptionFile()) + " has no " + kStatus +
                 " line. Add one with a command that answers 0 while the service runs, such as "
                 "ServiceStatus=/usr/bin/systemctl is-active --quiet UNIT."}};
    }
    Reasons reasons;
    const int answer = Execute(m_pVendor, kStatus, &reasons);
    if (!IsRunToItsEnd(answer)) {
        reasons.push_back("The command " + std::string(kStatus) + " did not come to its end (" +
                          std::to_string(answer) + "). See " + LineOf(kStatus));
        return {ExitCode::Failure, reasons};
    }
    *state = answer == 0 ? State::Running : State::Stopped;
    return {};
}

ExitCode CVendorService::Report(const std::string& failed, const CServiceAnswer& answer) {
    const bool plain = answer.m_exitCode == ExitCode::Failure; // the reasons say it better
    COutput::WriteError(failed + "." + (plain ? "" : " " + CExitCodes::Meaning(answer.m_exitCode)),
                        answer.m_reasons);
    return answer.m_exitCode;
}
