#include "settings/CLoggerFsThresholdConf.h"

#include "settings/CPropertyReader.h"
#include "settings/CPropertyWriter.h"
#include "settings/LoggerDefinitions.h"
#include "settings/LoggerTrace.h"

#include <utility>

using namespace LoggerDefinitions;

CLoggerFsThresholdConf::CLoggerFsThresholdConf() {
    InitMember();
}

CLoggerFsThresholdConf::CLoggerFsThresholdConf(const std::string& name, int threshold,
                                               bool enable) {
    InitMember();
    m_sVolumeName = name;
    m_iThreshold = threshold;
    m_bVolMonitoringEnable = enable;
}

CLoggerFsThresholdConf::CLoggerFsThresholdConf(IWbemClassObject* object) {
    InitMember();
    if (object == nullptr) {
        m_iStatus = kRecordFailed;
        return;
    }
    const CPropertyReader reader(object, "CLoggerFsThresholdConf::CLoggerFsThresholdConf");
    CLoggerFsThresholdConf read;
    if (!reader.GetString(kVolumeName, &read.m_sVolumeName) ||
        !reader.GetInt(kThreshold, &read.m_iThreshold) ||
        !reader.GetBool(kVolMonitoringEnable, &read.m_bVolMonitoringEnable)) {
        m_iStatus = kRecordFailed;
        return;
    }
    *this = std::move(read);
}

void CLoggerFsThresholdConf::InitMember() {
    m_sVolumeName.clear();
    m_iThreshold = 0;
    m_bVolMonitoringEnable = false;
    m_iStatus = kRecordValid;
}

bool CLoggerFsThresholdConf::Compare(const CLoggerFsThresholdConf& other) const {
    constexpr char kName[] = "CLoggerFsThresholdConf";
    if (m_sVolumeName != other.m_sVolumeName) {
        CTraceUtility::WriteDebug(
            LoggerTrace::kModule, LoggerTrace::kFailure,
            "CLoggerFsThresholdConf::Compare VolumeName not same. VolumeName1=%s VolumeName2=%s",
            m_sVolumeName.c_str(), other.m_sVolumeName.c_str());
        return false;
    }
    return LoggerTrace::IsSame(kName, kThreshold, m_iThreshold, other.m_iThreshold) &&
           LoggerTrace::IsSame(kName, kVolMonitoringEnable,
                               static_cast<int>(m_bVolMonitoringEnable),
                               static_cast<int>(other.m_bVolMonitoringEnable));
}

bool CLoggerFsThresholdConf::ConvertToIWbemClassObject(IWbemClassObject* object) const {
    if (object == nullptr) {
        return false;
    }
    const CPropertyWriter writer(object, "CLoggerFsThresholdConf::ConvertToIWbemClassObject");
    return writer.SetString(kVolumeName, m_sVolumeName) &&
           writer.SetInt(kThreshold, m_iThreshold) &&
           writer.SetBool(kVolMonitoringEnable, m_bVolMonitoringEnable);
}

void CLoggerFsThresholdConf::OutPutMemberToDebugLog() const {
    using LoggerTrace::kModule;
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow,
                              "CLoggerFsThresholdConf::OutPutMemberToDebugLog[START]");
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kValue, "m_sVolumeName=%s",
                              m_sVolumeName.c_str());
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kValue, "m_iThreshold=%d", m_iThreshold);
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kValue, "m_bVolMonitoringEnable=%d",
                              static_cast<int>(m_bVolMonitoringEnable));
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow,
                              "CLoggerFsThresholdConf::OutPutMemberToDebugLog[END]");
}
