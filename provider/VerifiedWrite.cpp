#include "provider/CVELTARO_ToolServiceLogger.h"

#include "KzmPaths.h"
#include "settings/CLoggerConf.h"
#include "settings/LoggerTrace.h"

using LoggerTrace::kModule;

namespace {

void TraceFailure(const char* reason) {
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFailure,
                              "CVELTARO_ToolServiceLogger::EditConfigFile() %s", reason);
}

bool WriteAndVerify(const CLoggerConf& conf) {
    if (!conf.EditConfigFile(KzmPaths::kAgentConfig, KzmPaths::kAlertConfig)) {
        TraceFailure("LoggerConfEdit->EditConfigFile failure");
        return false;
    }
    const CLoggerConf written(KzmPaths::kAgentConfig, KzmPaths::kAlertConfig);
    if (written.m_iStatus != 0) {
        TraceFailure("CLoggerConf status error");
        return false;
    }
    if (!conf.Compare(&written)) {
        TraceFailure("compare not same");
        return false;
    }
    return true;
}

} // namespace

bool CVELTARO_ToolServiceLogger::EditConfigFile(CLoggerConf* conf) {
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow,
                              "CVELTARO_ToolServiceLogger::EditConfigFile [START]");
    const bool isWritten = WriteAndVerify(*conf);
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow,
                              "CVELTARO_ToolServiceLogger::EditConfigFile [END]");
    return isWritten;
}
