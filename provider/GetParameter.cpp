#include "provider/CVELTARO_ToolServiceLogger.h"

#include "KzmPaths.h"
#include "provider/MethodResult.h"
#include "settings/CCancellationBlock.h"
#include "settings/CLoggerConf.h"
#include "settings/LoggerTrace.h"

#include <memory>

using LoggerTrace::kModule;

namespace {

// Puts the settings into the output parameters.
std::uint32_t AnswerSettings(const CLoggerConf& conf, IWbemClassObject* outParams) {
    if (conf.m_iStatus != 0) {
        CTraceUtility::WriteDebug(
            kModule, LoggerTrace::kFailure,
            "CVELTARO_ToolServiceLogger::GetParameter() CLoggerConf status error");
        return MethodResult::kFailure;
    }
    conf.OutPutMemberToDebugLog();
    if (!conf.ConvertToIWbemClassObject(outParams)) {
        CTraceUtility::WriteDebug(
            kModule, LoggerTrace::kFailure,
            "CVELTARO_ToolServiceLogger::GetParameter() ConvertToIWbemClassObject failure");
        return MethodResult::kFailure;
    }
    return MethodResult::kSuccess;
}

} // namespace

std::uint32_t CVELTARO_ToolServiceLogger::GetParameter(IWbemClassObject* /*inParams*/,
                                                       IWbemClassObject* outParams) {
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow,
                              "CVELTARO_ToolServiceLogger::GetParameter [START]");
    std::uint32_t result = BeginMethod("GetParameter");
    if (result == MethodResult::kSuccess) {
        // An exception leaves the lock held: it is given back on the normal way alone.
        const CCancellationBlock block;
        const auto conf =
            std::make_unique<CLoggerConf>(KzmPaths::kAgentConfig, KzmPaths::kAlertConfig);
        result = AnswerSettings(*conf, outParams);
        DelMutex();
    }
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow,
                              "CVELTARO_ToolServiceLogger::GetParameter [END]");
    return result;
}
