#include "tests/unit/loggerctl/SampleSettings.h"

namespace {

template <class Monitor>
void SetMonitor(bool enable, unsigned int interval, unsigned int count, Monitor* monitor) {
    monitor->m_bMonitoringEnable = enable;
    monitor->m_uiSamplingInterval = interval;
    monitor->m_uiSamplingCount = count;
}

} // namespace

CLoggerConf MakeLoggerConf(const std::vector<std::string>& volumes) {
    CLoggerConf conf;
    conf.m_SyslogOutputConf.m_bSyslogOutput = true;
    conf.m_SyslogOutputConf.m_bWarningAlert = true;
    conf.m_SyslogOutputConf.m_bObstacleAlert = true;

    SetMonitor(true, 60, 5, &conf.m_UsageMonitorConf[CLoggerConf::kCpu]);
    conf.m_UsageMonitorConf[CLoggerConf::kCpu].m_iThreshold = 90;
    SetMonitor(false, 30, 3, &conf.m_UsageMonitorConf[CLoggerConf::kMemory]);
    conf.m_UsageMonitorConf[CLoggerConf::kMemory].m_iThreshold = 85;
    SetMonitor(true, 300, 2, &conf.m_FsUsageMonitorConf);

    int threshold = 80;
    for (const std::string& volume : volumes) {
        const bool isMonitored = threshold % 2 == 0;
        conf.m_FsUsageMonitorConf.m_FsThresholdConfList.emplace_back(volume, threshold++,
                                                                     isMonitored);
    }
    return conf;
}
