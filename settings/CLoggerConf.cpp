#include "settings/CLoggerConf.h"

#include "providerbase/IWbemClassObject.h"
#include "settings/CPropertyReader.h"
#include "settings/CPropertyWriter.h"
#include "settings/LoggerDefinitions.h"
#include "settings/LoggerTrace.h"

#include <fstream>
#include <utility>

using namespace LoggerDefinitions;
using std::string;

namespace {

void TraceFlow(const char* text) {
    CTraceUtility::WriteDebug(LoggerTrace::kModule, LoggerTrace::kFlow, "%s", text);
}

void TraceFailure(const char* text) {
    CTraceUtility::WriteDebug(LoggerTrace::kModule, LoggerTrace::kFailure, "%s", text);
}

// Takes a part over when it was built without fault.
template <class Part>
bool Accept(Part built, Part* part) {
    if (built.m_iStatus != kRecordValid) {
        return false;
    }
    *part = std::move(built);
    return true;
}

template <class Part>
bool ReadPart(const CPropertyReader& reader, const char* name, Part* part) {
    IWbemClassObject* object = nullptr;
    return reader.GetObject(name, &object) && Accept(Part(object), part);
}

template <class Part>
bool WritePart(const CPropertyWriter& writer, const char* name, const Part& part) {
    IWbemClassObject object;
    return part.ConvertToIWbemClassObject(&object) && writer.SetObject(name, &object);
}

template <class Part>
bool ComparePart(const char* name, const Part& left, const Part& right) {
    if (left.Compare(&right)) {
        return true;
    }
    CTraceUtility::WriteDebug(LoggerTrace::kModule, LoggerTrace::kFailure,
                              "CLoggerConf::Compare %s not same.", name);
    return false;
}

} // namespace

CLoggerConf::CLoggerConf() {
    TraceFlow("CLoggerConf::CLoggerConf() [START]");
    InitMember();
    TraceFlow("CLoggerConf::CLoggerConf() [END]");
}

CLoggerConf::CLoggerConf(IWbemClassObject* inParams) {
    TraceFlow("CLoggerConf::CLoggerConf() [START]");
    InitMember();
    Finish(ReadParameters(inParams));
    TraceFlow("CLoggerConf::CLoggerConf() [END]");
}

CLoggerConf::CLoggerConf(string agentPath, string alertPath) {
    TraceFlow("CLoggerConf::CLoggerConf() [START]");
    InitMember();
    Finish(ReadFiles(agentPath, alertPath));
    TraceFlow("CLoggerConf::CLoggerConf() [END]");
}

bool CLoggerConf::ReadParameters(IWbemClassObject* inParams) {
    constexpr char kOperation[] = "CLoggerConf::CLoggerConf";
    IWbemClassObject* conf = nullptr;
    if (!CPropertyReader(inParams, kOperation).GetObject(kLoggerConf, &conf)) {
        return false;
    }
    const CPropertyReader reader(conf, kOperation);
    return ReadPart(reader, kSyslogOutputConf, &m_SyslogOutputConf) &&
           ReadPart(reader, kUsageMonitorConfCpu, &m_UsageMonitorConf[kCpu]) &&
           ReadPart(reader, kUsageMonitorConfMemory, &m_UsageMonitorConf[kMemory]) &&
           ReadPart(reader, kFsUsageMonitorConf, &m_FsUsageMonitorConf);
}

bool CLoggerConf::ReadFiles(const string& agentPath, const string& alertPath) {
    std::ifstream agent(agentPath);
    if (!agent) {
        TraceFailure("CLoggerConf::CLoggerConf agent.cfg open error");
        return false;
    }
    std::ifstream alert(alertPath);
    if (!alert) {
        TraceFailure("CLoggerConf::CLoggerConf alert.cfg open error");
        return false;
    }
    return Accept(CLoggerSyslogOutputConf(&agent), &m_SyslogOutputConf) &&
           Accept(CLoggerUsageMonitorConf(&alert, kCpuKey), &m_UsageMonitorConf[kCpu]) &&
           Accept(CLoggerUsageMonitorConf(&alert, kMemoryKey), &m_UsageMonitorConf[kMemory]) &&
           Accept(CLoggerFsUsageMonitorConf(&alert, kFileSystemKey), &m_FsUsageMonitorConf);
}

void CLoggerConf::Finish(bool isRead) {
    if (!isRead) {
        InitMember(); // nothing of a half-read record stays
        m_iStatus = kRecordFailed;
    }
}

void CLoggerConf::InitMember() {
    m_SyslogOutputConf.InitMember();
    for (CLoggerUsageMonitorConf& monitor : m_UsageMonitorConf) {
        monitor.InitMember();
    }
    m_FsUsageMonitorConf.InitMember();
    m_iStatus = kRecordValid;
}

bool CLoggerConf::Compare(const CLoggerConf* other) const {
    return ComparePart(kSyslogOutputConf, m_SyslogOutputConf, other->m_SyslogOutputConf) &&
           ComparePart(kUsageMonitorConfCpu, m_UsageMonitorConf[kCpu],
                       other->m_UsageMonitorConf[kCpu]) &&
           ComparePart(kUsageMonitorConfMemory, m_UsageMonitorConf[kMemory],
                       other->m_UsageMonitorConf[kMemory]) &&
           ComparePart(kFsUsageMonitorConf, m_FsUsageMonitorConf, other->m_FsUsageMonitorConf);
}

bool CLoggerConf::ConvertToIWbemClassObject(IWbemClassObject* outParams) const {
    constexpr char kOperation[] = "CLoggerConf::ConvertToIWbemClassObject";
    IWbemClassObject conf;
    const CPropertyWriter writer(&conf, kOperation);
    return WritePart(writer, kSyslogOutputConf, m_SyslogOutputConf) &&
           WritePart(writer, kUsageMonitorConfCpu, m_UsageMonitorConf[kCpu]) &&
           WritePart(writer, kUsageMonitorConfMemory, m_UsageMonitorConf[kMemory]) &&
           WritePart(writer, kFsUsageMonitorConf, m_FsUsageMonitorConf) &&
           CPropertyWriter(outParams, kOperation).SetObject(kLoggerConf, &conf);
}

void CLoggerConf::OutPutMemberToDebugLog() const {
    TraceFlow("CLoggerConf::OutPutMemberToDebugLog[START]");
    m_SyslogOutputConf.OutPutMemberToDebugLog();
    for (const CLoggerUsageMonitorConf& monitor : m_UsageMonitorConf) {
        monitor.OutPutMemberToDebugLog();
    }
    m_FsUsageMonitorConf.OutPutMemberToDebugLog();
    TraceFlow("CLoggerConf::OutPutMemberToDebugLog[END]");
}
