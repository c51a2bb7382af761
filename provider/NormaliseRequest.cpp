#include "provider/CVELTARO_ToolServiceLogger.h"

#include "settings/CRequestRules.h"

void CVELTARO_ToolServiceLogger::CheckFsMonitoringEnable(CLoggerConf* conf) {
    CRequestRules::DisableVolumesOfDisabledMonitor(conf);
}

void CVELTARO_ToolServiceLogger::CheckMountPointThreshold(CLoggerConf* conf) {
    CRequestRules::GiveDefaultThresholds(conf);
}
