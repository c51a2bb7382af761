#include "tests/fault/SampleReading.h"

#include "settings/LoggerDefinitions.h"
#include "tests/support/SampleConf.h"

#include <algorithm>
#include <iterator>

using std::string;

namespace {

// A line of a file, and what is traced when the file ends before it.
struct Needed {
    const char* m_pLine;
    const char* m_pTraced;
};

constexpr Needed kOfAgent[] = {
    {"SyslogOutput=", "CLoggerSyslogOutputConf::CLoggerSyslogOutputConf nSetFlag=0000"},
    {"InformationAlert =", "CLoggerSyslogOutputConf::CLoggerSyslogOutputConf nSetFlag=0001"},
    {"WarningAlert=", "CLoggerSyslogOutputConf::CLoggerSyslogOutputConf nSetFlag=0003"},
    {"ObstacleAlert=", "CLoggerSyslogOutputConf::CLoggerSyslogOutputConf nSetFlag=0007"},
};

constexpr Needed kOfAlert[] = {
    {"CPU=", "CLoggerUsageMonitorConf::CLoggerUsageMonitorConf nSetFlag=0000"},
    {"MEMORY=", "CLoggerUsageMonitorConf::CLoggerUsageMonitorConf nSetFlag=0000"},
    {"FILESYSTEM=", "CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf nSetFlag=0008"},
};

// A file system without its line has the default threshold.
constexpr Needed kOfRequest[] = {
    {"FSNAME=\"/home\"",
     "CLoggerFsThresholdConf::Compare Threshold not same. Threshold1=90 Threshold2=80"},
    {"FSNAME=\"/data\"",
     "CLoggerFsThresholdConf::Compare Threshold not same. Threshold1=75 Threshold2=80"},
};

template <std::size_t count>
const Needed* FirstMissing(const Needed (&table)[count], const string& text) {
    for (const Needed& needed : table) {
        if (text.find(needed.m_pLine) == string::npos) {
            return &needed;
        }
    }
    return nullptr;
}

template <std::size_t count>
bool IsIn(const Needed (&table)[count], const TraceLine& line) {
    return std::any_of(std::begin(table), std::end(table), [&line](const Needed& needed) {
        return line == TraceLine{2, needed.m_pTraced};
    });
}

} // namespace

TraceLines SampleReading::FailureOf(const string& agent, const string& alert) {
    for (const Needed* missing : {FirstMissing(kOfAgent, agent), FirstMissing(kOfAlert, alert)}) {
        if (missing != nullptr) {
            return {{2, missing->m_pTraced}};
        }
    }
    return {};
}

TraceLines SampleReading::DifferenceOf(const string& alert) {
    const Needed* const missing = FirstMissing(kOfRequest, alert);
    if (missing == nullptr) {
        return {};
    }
    return {{2, missing->m_pTraced}, {2, "CLoggerConf::Compare FsUsageMonitorConf not same."}};
}

bool SampleReading::IsFailure(const TraceLine& line) {
    return IsIn(kOfAgent, line) || IsIn(kOfAlert, line);
}

bool SampleReading::IsDifference(const TraceLine& line) {
    return IsIn(kOfRequest, line);
}

CLoggerConf SampleReading::RecordOf(const string& agent, const string& alert) {
    const CLoggerConf changed = ChangedConf();
    CLoggerConf conf = SampleConf();
    if (agent.find("InformationAlert = True") != string::npos) {
        conf.m_SyslogOutputConf = changed.m_SyslogOutputConf;
    }
    if (alert.find("60, 5, 95") != string::npos) {
        conf.m_UsageMonitorConf[CLoggerConf::kCpu] = changed.m_UsageMonitorConf[CLoggerConf::kCpu];
    }
    for (CLoggerFsThresholdConf& row : conf.m_FsUsageMonitorConf.m_FsThresholdConfList) {
        if (alert.find("FSNAME=\"" + row.m_sVolumeName + "\"") == string::npos) {
            row = CLoggerFsThresholdConf(row.m_sVolumeName, LoggerDefinitions::kDefaultThreshold,
                                         false);
        }
    }
    return conf;
}
