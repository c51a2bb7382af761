#include "settings/CLoggerUsageMonitorConf.h"

#include "comlib/CStringUtil.h"
#include "settings/SamplingFields.h"

using namespace LoggerDefinitions;
using std::string;

namespace {

constexpr std::uint16_t kThresholdBit = 0x8;
constexpr std::uint16_t kAllBits = 0xF;

// The value list of the first line that gives the key one; empty when there is none.
string FindValueList(std::ifstream* file, const string& key) {
    const string assignment = key + "=";
    CLoggerConfCommon::Rewind(file);
    string line;
    while (std::getline(*file, line)) {
        const string::size_type keyPos = line.find(assignment);
        if (keyPos == string::npos) {
            continue;
        }
        string list = CLoggerUsageMonitorConf::GetValueListFromString(
            line, static_cast<unsigned int>(keyPos));
        if (!list.empty()) {
            return list;
        }
    }
    return {};
}

} // namespace

CLoggerUsageMonitorConf::CLoggerUsageMonitorConf() {
    InitMember();
}

CLoggerUsageMonitorConf::CLoggerUsageMonitorConf(IWbemClassObject* object) {
    InitMember();
    if (object == nullptr) {
        m_iStatus = kRecordFailed;
        return;
    }
    const CPropertyReader reader(object, "CLoggerUsageMonitorConf::CLoggerUsageMonitorConf");
    CLoggerUsageMonitorConf read;
    if (!SamplingFields::ReadProperties(reader, &read) ||
        !reader.GetInt(kThreshold, &read.m_iThreshold)) {
        m_iStatus = kRecordFailed;
        return;
    }
    *this = read;
}

CLoggerUsageMonitorConf::CLoggerUsageMonitorConf(std::ifstream* file, const string& key) {
    InitMember();
    if (key.empty() || file == nullptr) {
        m_iStatus = kRecordFailed;
        return;
    }
    const std::uint16_t setFlag = ReadValueList(FindValueList(file, key));
    if (setFlag != kAllBits) {
        CTraceUtility::WriteDebug(LoggerTrace::kModule, LoggerTrace::kFailure,
                                  "CLoggerUsageMonitorConf::CLoggerUsageMonitorConf nSetFlag=%04X",
                                  setFlag);
        InitMember();
        m_iStatus = kRecordFailed;
    }
}

std::uint16_t CLoggerUsageMonitorConf::ReadValueList(string list) {
    const std::list<string> fields = CStringUtil::Split(list, kFieldSeparator);
    if (fields.size() != kUsageMonitorFields) {
        return 0;
    }
    auto field = fields.begin();
    std::uint16_t setFlag = SamplingFields::ReadFields(&field, this);
    m_iThreshold = static_cast<std::int32_t>(CLoggerConfCommon::GetNumber(*field));
    setFlag |= kThresholdBit;
    return setFlag;
}

string CLoggerUsageMonitorConf::GetValueListFromString(const string& line, unsigned int keyPos) {
    return CLoggerConfCommon::GetTextInParentheses(line, keyPos);
}

void CLoggerUsageMonitorConf::InitMember() {
    m_bMonitoringEnable = false;
    m_uiSamplingInterval = 0;
    m_uiSamplingCount = 0;
    m_iThreshold = 0;
    m_iStatus = kRecordValid;
}

bool CLoggerUsageMonitorConf::Compare(const CLoggerUsageMonitorConf* other) const {
    constexpr char kName[] = "CLoggerUsageMonitorConf";
    return SamplingFields::Compare(kName, *this, *other) &&
           LoggerTrace::IsSame(kName, kThreshold, m_iThreshold, other->m_iThreshold);
}

bool CLoggerUsageMonitorConf::ConvertToIWbemClassObject(IWbemClassObject* object) const {
    if (object == nullptr) {
        return false;
    }
    const CPropertyWriter writer(object, "CLoggerUsageMonitorConf::ConvertToIWbemClassObject");
    return SamplingFields::WriteProperties(writer, *this) &&
           writer.SetInt(kThreshold, m_iThreshold);
}

void CLoggerUsageMonitorConf::OutPutMemberToDebugLog() const {
    using LoggerTrace::kModule;
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow,
                              "CLoggerUsageMonitorConf::OutPutMemberToDebugLog[START]");
    SamplingFields::Dump(*this);
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kValue, "m_iThreshold=%d", m_iThreshold);
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow,
                              "CLoggerUsageMonitorConf::OutPutMemberToDebugLog[END]");
}
