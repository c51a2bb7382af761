#include "tests/load/NumberedConf.h"

#include <cstdlib>

using std::string;

namespace {

constexpr char kCpuLine[] = "CPU=(";

bool Bit(int number, int index) {
    return ((static_cast<unsigned int>(number) >> index) & 1U) != 0;
}

CLoggerUsageMonitorConf MakeMonitor(int number, bool enable) {
    CLoggerUsageMonitorConf monitor;
    monitor.m_bMonitoringEnable = enable;
    monitor.m_uiSamplingInterval = static_cast<unsigned int>(number);
    monitor.m_uiSamplingCount = static_cast<unsigned int>(number);
    monitor.m_iThreshold = number;
    return monitor;
}

// No file system is monitored while the monitor is off as a whole.
bool IsMonitored(int number, int index) {
    return Bit(number, 0) && Bit(number, index);
}

string Word(int number, int index) {
    return Bit(number, index) ? "True" : "False";
}

string VolumeLine(const char* name, int number, int index) {
    const string marker = IsMonitored(number, index) ? "" : "#KZM# \t";
    return marker + "FSNAME=\"" + name + "\"   (" + std::to_string(number) + ")\n";
}

} // namespace

CLoggerConf NumberedConf(int number) {
    CLoggerConf conf;
    conf.m_SyslogOutputConf.m_bSyslogOutput = Bit(number, 0);
    conf.m_SyslogOutputConf.m_bInformationAlert = Bit(number, 1);
    conf.m_SyslogOutputConf.m_bWarningAlert = Bit(number, 2);
    conf.m_SyslogOutputConf.m_bObstacleAlert = Bit(number, 3);
    conf.m_UsageMonitorConf[CLoggerConf::kCpu] = MakeMonitor(number, Bit(number, 1));
    conf.m_UsageMonitorConf[CLoggerConf::kMemory] = MakeMonitor(number, Bit(number, 2));
    CLoggerFsUsageMonitorConf& fileSystems = conf.m_FsUsageMonitorConf;
    fileSystems.m_bMonitoringEnable = Bit(number, 0);
    fileSystems.m_uiSamplingInterval = static_cast<unsigned int>(number);
    fileSystems.m_uiSamplingCount = static_cast<unsigned int>(number);
    fileSystems.m_FsThresholdConfList = {{"/", number, IsMonitored(number, 1)},
                                         {"/home", number, IsMonitored(number, 2)},
                                         {"/data", number, IsMonitored(number, 3)}};
    return conf;
}

int NumberOf(const CLoggerConf& conf) {
    const int number = conf.m_UsageMonitorConf[CLoggerConf::kCpu].m_iThreshold;
    const CLoggerConf expected = NumberedConf(number);
    return conf.m_iStatus == 0 && expected.Compare(&conf) ? number : 0;
}

string NumberedAgent(int number) {
    return "# Log monitoring agent\n"
           "SyslogOutput=" +
           Word(number, 0) +
           "\n"
           "InformationAlert = " +
           Word(number, 1) +
           "\n"
           "WarningAlert=" +
           Word(number, 2) +
           "  # for the night shift\n"
           "\n"
           "ObstacleAlert=" +
           Word(number, 3) + "\n";
}

string NumberedAlert(int number) {
    const string digits = std::to_string(number);
    const string sampling = ", " + digits + ", " + digits;
    return "# Usage monitoring\n"
           "CPU=(" +
           Word(number, 1) + sampling + ", " + digits +
           ")\n"
           "MEMORY=(" +
           Word(number, 2) + sampling + ", " + digits +
           ")\n"
           "FILESYSTEM=(" +
           Word(number, 0) + sampling + ")\n" + VolumeLine("/", number, 1) +
           VolumeLine("/home", number, 2) + VolumeLine("/data", number, 3) + "Retention=14\n";
}

int NumberOfFiles(const string& bothFiles) {
    const string::size_type line = bothFiles.find(kCpuLine);
    const string::size_type comma = bothFiles.find(',', line);
    if (line == string::npos || comma == string::npos) {
        return 0;
    }
    const int number = std::atoi(bothFiles.c_str() + comma + 1);
    return bothFiles == NumberedAgent(number) + NumberedAlert(number) ? number : 0;
}
