#include "loggerctl/agent/CProviderCall.h"

#include "KzmPaths.h"
#include "loggerctl/agent/CLockWaitDisplay.h"
#include "loggerctl/agent/CReasonListener.h"
#include "loggerctl/record/LoggerObjects.h"

#include <unistd.h>

#include <utility>

namespace {

namespace MethodResult {
constexpr std::uint32_t kSuccess = 0;
constexpr std::uint32_t kNotInstalled = 176;
constexpr std::uint32_t kException = 0x80000002;
} // namespace MethodResult

CCallOutcome CallWaiting(CProviderHost* host, const std::string& method,
                         IWbemClassObject* inParams) {
    const CLockWaitDisplay display(KzmPaths::kLockFile, CTerminal::Of(STDERR_FILENO));
    return host->Call(LoggerObjects::kClass, method, inParams);
}

} // namespace

CProviderAnswer CProviderCall::Run(const CProviderFiles& files, const std::string& method,
                                   IWbemClassObject* inParams) {
    CProviderAnswer answer;
    CReasonListener listener; // from the start: loading the provider traces reasons, too
    const std::unique_ptr<CProviderHost> host =
        CProviderHost::Open(files.m_sLibrary, files.m_sDefinitions, &answer.m_sError);
    if (host == nullptr) {
        answer.m_exitCode = ExitCode::NotLoaded;
    } else {
        CCallOutcome outcome = CallWaiting(host.get(), method, inParams);
        answer.m_exitCode = ToExitCode(outcome);
        answer.m_sError = outcome.m_sError;
        answer.m_uiMethodResult = outcome.m_uiMethodResult;
        answer.m_status = outcome.m_status;
        answer.m_output = std::move(outcome.m_output);
    }
    answer.m_lines = listener.Lines();
    return answer;
}

ExitCode CProviderCall::ToExitCode(const CCallOutcome& outcome) {
    if (outcome.m_output != nullptr && outcome.m_uiMethodResult == MethodResult::kException) {
        return ExitCode::Exception;
    }
    if (!outcome.m_sError.empty() || outcome.m_output == nullptr || outcome.m_status < 0) {
        return ExitCode::Failure;
    }
    switch (outcome.m_uiMethodResult) {
    case MethodResult::kSuccess:
        return ExitCode::Success;
    case MethodResult::kNotInstalled:
        return ExitCode::NotInstalled;
    default:
        return ExitCode::Failure;
    }
}
