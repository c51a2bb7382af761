#include "tests/support/SampleConf.h"

#include "tests/support/CTestRoot.h"

CLoggerConf SampleConf() {
    CLoggerConf conf;
    conf.m_SyslogOutputConf.m_bSyslogOutput = true;
    conf.m_SyslogOutputConf.m_bWarningAlert = true;
    conf.m_SyslogOutputConf.m_bObstacleAlert = true;

    CLoggerUsageMonitorConf& cpu = conf.m_UsageMonitorConf[CLoggerConf::kCpu];
    cpu.m_bMonitoringEnable = true;
    cpu.m_uiSamplingInterval = 60;
    cpu.m_uiSamplingCount = 5;
    cpu.m_iThreshold = 90;

    CLoggerUsageMonitorConf& memory = conf.m_UsageMonitorConf[CLoggerConf::kMemory];
    memory.m_uiSamplingInterval = 30;
    memory.m_uiSamplingCount = 3;
    memory.m_iThreshold = 85;

    CLoggerFsUsageMonitorConf& fileSystems = conf.m_FsUsageMonitorConf;
    fileSystems.m_bMonitoringEnable = true;
    fileSystems.m_uiSamplingInterval = 300;
    fileSystems.m_uiSamplingCount = 2;
    fileSystems.m_FsThresholdConfList = {
        {"/", 80, false}, {"/home", 90, true}, {"/data", 75, false}};
    return conf;
}

CLoggerConf ChangedConf() {
    CLoggerConf conf = SampleConf();
    conf.m_SyslogOutputConf.m_bInformationAlert = true;
    conf.m_UsageMonitorConf[CLoggerConf::kCpu].m_iThreshold = 95;
    return conf;
}

std::string ChangedAgent() {
    return Replace(CTestRoot::kAgentConfig, "InformationAlert = False", "InformationAlert = True");
}

std::string ChangedAlert() {
    return Replace(CTestRoot::kAlertConfig, "60, 5, 90", "60, 5, 95");
}

std::string Replace(std::string text, const std::string& from, const std::string& to) {
    return text.replace(text.find(from), from.size(), to);
}

TraceLines SampleDump() {
    return {{4, "CLoggerConf::OutPutMemberToDebugLog[START]"},
            {4, "CLoggerSyslogOutputConf::OutPutMemberToDebugLog[START]"},
            {1, "m_bSyslogOutput=1"},
            {1, "m_bInformationAlert=0"},
            {1, "m_bWarningAlert=1"},
            {1, "m_bObstacleAlert=1"},
            {4, "CLoggerSyslogOutputConf::OutPutMemberToDebugLog[END]"},
            {4, "CLoggerUsageMonitorConf::OutPutMemberToDebugLog[START]"},
            {1, "m_bMonitoringEnable=1"},
            {1, "m_uiSamplingInterval=60"},
            {1, "m_uiSamplingCount=5"},
            {1, "m_iThreshold=90"},
            {4, "CLoggerUsageMonitorConf::OutPutMemberToDebugLog[END]"},
            {4, "CLoggerUsageMonitorConf::OutPutMemberToDebugLog[START]"},
            {1, "m_bMonitoringEnable=0"},
            {1, "m_uiSamplingInterval=30"},
            {1, "m_uiSamplingCount=3"},
            {1, "m_iThreshold=85"},
            {4, "CLoggerUsageMonitorConf::OutPutMemberToDebugLog[END]"},
            {4, "CLoggerFsUsageMonitorConf::OutPutMemberToDebugLog[START]"},
            {1, "m_bMonitoringEnable=1"},
            {1, "m_uiSamplingInterval=300"},
            {1, "m_uiSamplingCount=2"},
            {4, "CLoggerFsThresholdConf::OutPutMemberToDebugLog[START]"},
            {1, "m_sVolumeName=/"},
            {1, "m_iThreshold=80"},
            {1, "m_bVolMonitoringEnable=0"},
            {4, "CLoggerFsThresholdConf::OutPutMemberToDebugLog[END]"},
            {4, "CLoggerFsThresholdConf::OutPutMemberToDebugLog[START]"},
            {1, "m_sVolumeName=/home"},
            {1, "m_iThreshold=90"},
            {1, "m_bVolMonitoringEnable=1"},
            {4, "CLoggerFsThresholdConf::OutPutMemberToDebugLog[END]"},
            {4, "CLoggerFsThresholdConf::OutPutMemberToDebugLog[START]"},
            {1, "m_sVolumeName=/data"},
            {1, "m_iThreshold=75"},
            {1, "m_bVolMonitoringEnable=0"},
            {4, "CLoggerFsThresholdConf::OutPutMemberToDebugLog[END]"},
            {4, "CLoggerFsUsageMonitorConf::OutPutMemberToDebugLog[END]"},
            {4, "CLoggerConf::OutPutMemberToDebugLog[END]"}};
}
