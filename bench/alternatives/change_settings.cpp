// Load, change and save with this project's records: what SetParameter does with both files,
// without the mount command, whose output comes from a file.
//
//   change_settings AGENT.CFG ALERT.CFG MOUNT-TABLE

#include "settings/CLoggerConf.h"

#include <cstdio>
#include <cstdlib>

namespace {

const char* mountTable = nullptr;

constexpr int kThreshold = 85;

void Change(CLoggerConf* conf) {
    conf->m_SyslogOutputConf.m_bSyslogOutput = false;
    CLoggerUsageMonitorConf& cpu = conf->m_UsageMonitorConf[CLoggerConf::kCpu];
    cpu.m_bMonitoringEnable = false;
    cpu.m_iThreshold = kThreshold;
    for (CLoggerFsThresholdConf& row : conf->m_FsUsageMonitorConf.m_FsThresholdConfList) {
        row.m_bVolMonitoringEnable = true;
        row.m_iThreshold = kThreshold;
    }
}

} // namespace

// The linker puts these in the place of popen and pclose.
extern "C" {
FILE* __wrap_popen(const char* command, const char* mode);
int __wrap_pclose(FILE* pipe);
}

FILE* __wrap_popen(const char* /*command*/, const char* mode) {
    return std::fopen(mountTable, mode);
}

int __wrap_pclose(FILE* pipe) {
    return std::fclose(pipe);
}

int main(int /*count*/, char** arguments) {
    mountTable = arguments[3];
    CLoggerConf conf(arguments[1], arguments[2]);
    Change(&conf);
    const bool isSaved = conf.m_iStatus == 0 && conf.EditConfigFile(arguments[1], arguments[2]);
    return isSaved ? EXIT_SUCCESS : EXIT_FAILURE;
}
