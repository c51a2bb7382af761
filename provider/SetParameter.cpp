#include "provider/CVELTARO_ToolServiceLogger.h"

#include "provider/ForcedUnwind.h"
#include "provider/MethodResult.h"
#include "providerbase/CVendor.h"
#include "settings/CCancellationBlock.h"
#include "settings/CLoggerConf.h"
#include "settings/CRequestRules.h"
#include "settings/LoggerTrace.h"

#include <memory>

using LoggerTrace::kModule;

std::uint32_t CVELTARO_ToolServiceLogger::SetParameter(IWbemClassObject* inParams,
                                                       IWbemClassObject* /*outParams*/) {
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow,
                              "CVELTARO_ToolServiceLogger::SetParameter [START]");
    std::uint32_t result = BeginMethod("SetParameter");
    if (result == MethodResult::kSuccess) {
        // An exception leaves the lock held and the service stopped.
        result = ChangeSettings(inParams);
        DelMutex();
    }
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow,
                              "CVELTARO_ToolServiceLogger::SetParameter [END]");
    return result;
}

std::uint32_t CVELTARO_ToolServiceLogger::ChangeSettings(IWbemClassObject* inParams) {
    if (!ControlService("ServiceStop")) {
        return MethodResult::kFailure;
    }
    const std::uint32_t result = WriteSettings(inParams);
    if (result != MethodResult::kSuccess) {
        return result;
    }
    return ControlService("ServiceStart") ? MethodResult::kSuccess : MethodResult::kFailure;
}

std::uint32_t CVELTARO_ToolServiceLogger::WriteSettings(IWbemClassObject* inParams) {
    const CCancellationBlock block;
    std::unique_ptr<CLoggerConf> conf;
    try {
        conf = std::make_unique<CLoggerConf>(inParams);
    } catch (const ForcedUnwind&) {
        throw;
    } catch (...) {
        CTraceUtility::WriteDebug(kModule, LoggerTrace::kException,
                                  "CVELTARO_ToolServiceLogger::SetParameter() unknown exception");
        return MethodResult::kException;
    }
    if (conf->m_iStatus != 0) {
        CTraceUtility::WriteDebug(
            kModule, LoggerTrace::kFailure,
            "CVELTARO_ToolServiceLogger::SetParameter() CLoggerConf status error");
        return MethodResult::kFailure;
    }
    conf->OutPutMemberToDebugLog();
    CheckFsMonitoringEnable(conf.get());
    CheckMountPointThreshold(conf.get());
    conf->OutPutMemberToDebugLog();
    if (!EditConfigFile(conf.get())) {
        CTraceUtility::WriteDebug(
            kModule, LoggerTrace::kFailure,
            "CVELTARO_ToolServiceLogger::SetParameter() EditConfigFile failure");
        return MethodResult::kFailure;
    }
    return MethodResult::kSuccess;
}

bool CVELTARO_ToolServiceLogger::ControlService(const char* command) {
    const int answer = m_VendorList.front()->ExecuteCommand(command);
    if (answer == 0) {
        return true;
    }
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFailure,
                              "CVELTARO_ToolServiceLogger::SetParameter() %s failure %d", command,
                              answer);
    return false;
}

void CVELTARO_ToolServiceLogger::CheckFsMonitoringEnable(CLoggerConf* conf) {
    CRequestRules::DisableVolumesOfDisabledMonitor(conf);
}

void CVELTARO_ToolServiceLogger::CheckMountPointThreshold(CLoggerConf* conf) {
    CRequestRules::GiveDefaultThresholds(conf);
}
