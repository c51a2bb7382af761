// The records, their readers, the mount probe and the editors, each by itself.

#include "bench/RecordsBench.h"

#include "KzmPaths.h"
#include "bench/Measuring.h"
#include "providerbase/IWbemClassObject.h"
#include "settings/CLoggerConf.h"
#include "settings/LoggerDefinitions.h"

#include <cstdlib>
#include <fstream>
#include <list>
#include <memory>
#include <string>

using namespace LoggerDefinitions;
using Measuring::Operation;

namespace {

void Require(bool good) {
    if (!good) {
        std::abort(); // a failing operation must not be taken for a fast one
    }
}

std::shared_ptr<CLoggerConf> Load() {
    auto conf = std::make_shared<CLoggerConf>(KzmPaths::kAgentConfig, KzmPaths::kAlertConfig);
    Require(conf->m_iStatus == kRecordValid);
    return conf;
}

Operation ReadAgent() {
    auto file = std::make_shared<std::ifstream>(KzmPaths::kAgentConfig);
    return [file] { Require(CLoggerSyslogOutputConf(file.get()).m_iStatus == kRecordValid); };
}

Operation ReadMonitor(const char* key) {
    auto file = std::make_shared<std::ifstream>(KzmPaths::kAlertConfig);
    return [file, key] {
        Require(CLoggerUsageMonitorConf(file.get(), key).m_iStatus == kRecordValid);
    };
}

Operation ReadFileSystems() {
    auto file = std::make_shared<std::ifstream>(KzmPaths::kAlertConfig);
    return [file] {
        Require(CLoggerFsUsageMonitorConf(file.get(), kFileSystemKey).m_iStatus == kRecordValid);
    };
}

Operation ProbeMounts() {
    return [] {
        CLoggerFsUsageMonitorConf conf;
        Require(conf.GetMountPointList(conf.m_FsThresholdConfList));
    };
}

std::shared_ptr<std::list<std::string>> LinesOf(const char* path) {
    auto lines = std::make_shared<std::list<std::string>>();
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        lines->push_back(line);
    }
    return lines;
}

// Editing again gives the same lines, so every run does the same work.
Operation EditAgent() {
    return [conf = Load(), lines = LinesOf(KzmPaths::kAgentConfig)] {
        Require(conf->EditAgent(*lines));
    };
}

Operation EditAlert() {
    return [conf = Load(), lines = LinesOf(KzmPaths::kAlertConfig)] {
        Require(conf->EditAlert(*lines));
    };
}

Operation ConvertToObject() {
    return [conf = Load()] {
        IWbemClassObject object;
        Require(conf->ConvertToIWbemClassObject(&object));
    };
}

Operation ConvertFromObject() {
    auto object = std::make_shared<IWbemClassObject>();
    Require(Load()->ConvertToIWbemClassObject(object.get()));
    return [object] { Require(CLoggerConf(object.get()).m_iStatus == kRecordValid); };
}

Operation Compare() {
    return [left = Load(), right = Load()] { Require(left->Compare(right.get())); };
}

} // namespace

void RegisterRecords() {
    Measuring::Register("SyslogOutputConf from agent.cfg", ReadAgent);
    Measuring::Register("UsageMonitorConf CPU from alert.cfg", [] { return ReadMonitor(kCpuKey); });
    Measuring::Register("UsageMonitorConf MEMORY from alert.cfg",
                        [] { return ReadMonitor(kMemoryKey); });
    Measuring::Register("FsUsageMonitorConf from alert.cfg", ReadFileSystems);
    Measuring::Register("Mount probe", ProbeMounts);
    Measuring::Register("EditAgent", EditAgent);
    Measuring::Register("EditAlert", EditAlert);
    Measuring::Register("Record to WBEM object", ConvertToObject);
    Measuring::Register("Record from WBEM object", ConvertFromObject);
    Measuring::Register("Compare", Compare);
}
