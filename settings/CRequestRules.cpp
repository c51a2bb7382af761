#include "settings/CRequestRules.h"

#include "settings/CLoggerConf.h"
#include "settings/LoggerDefinitions.h"

void CRequestRules::DisableVolumesOfDisabledMonitor(CLoggerConf* conf) {
    CLoggerFsUsageMonitorConf& fileSystems = conf->m_FsUsageMonitorConf;
    if (fileSystems.m_bMonitoringEnable) {
        return;
    }
    for (CLoggerFsThresholdConf& row : fileSystems.m_FsThresholdConfList) {
        row.m_bVolMonitoringEnable = false;
    }
}

void CRequestRules::GiveDefaultThresholds(CLoggerConf* conf) {
    for (CLoggerFsThresholdConf& row : conf->m_FsUsageMonitorConf.m_FsThresholdConfList) {
        if (row.m_iThreshold == 0) {
            row.m_iThreshold = LoggerDefinitions::kDefaultThreshold;
        }
    }
}
