#include "settings/CLoggerSyslogOutputConf.h"

#include "settings/CLoggerConfCommon.h"
#include "settings/CPropertyReader.h"
#include "settings/CPropertyWriter.h"
#include "settings/LoggerDefinitions.h"
#include "settings/LoggerTrace.h"

using namespace LoggerDefinitions;
using std::string;

CLoggerSyslogOutputConf::CLoggerSyslogOutputConf() {
    InitMember();
}

CLoggerSyslogOutputConf::CLoggerSyslogOutputConf(IWbemClassObject* object) {
    InitMember();
    if (object == nullptr) {
        m_iStatus = kRecordFailed;
        return;
    }
    const CPropertyReader reader(object, "CLoggerSyslogOutputConf::CLoggerSyslogOutputConf");
    CLoggerSyslogOutputConf read;
    for (const LoggerSyslogSwitch& entry : kLoggerSyslogSwitches) {
        if (!reader.GetBool(entry.m_pName, &(read.*entry.m_pMember))) {
            m_iStatus = kRecordFailed;
            return;
        }
    }
    *this = read;
}

CLoggerSyslogOutputConf::CLoggerSyslogOutputConf(std::ifstream* file) {
    InitMember();
    if (file == nullptr) {
        m_iStatus = kRecordFailed;
        return;
    }
    std::uint16_t setFlag = 0;
    CLoggerConfCommon::Rewind(file);
    string line;
    while (std::getline(*file, line)) {
        if (!ReadLine(line, &setFlag)) {
            m_iStatus = kRecordFailed;
            break;
        }
    }
    if (setFlag != kLoggerSyslogAllSwitches) {
        CTraceUtility::WriteDebug(LoggerTrace::kModule, LoggerTrace::kFailure,
                                  "CLoggerSyslogOutputConf::CLoggerSyslogOutputConf nSetFlag=%04X",
                                  setFlag);
        ClearSwitches();
        m_iStatus = kRecordFailed;
    }
}

bool CLoggerSyslogOutputConf::ReadLine(const string& line, std::uint16_t* setFlag) {
    for (const LoggerSyslogSwitch& entry : kLoggerSyslogSwitches) {
        const string::size_type keyPos = line.find(entry.m_pName);
        if (keyPos == string::npos) {
            continue;
        }
        const string value = GetValueFromString(line, static_cast<unsigned int>(keyPos));
        if (value.empty()) {
            continue;
        }
        if (value != kTrue && value != kFalse) {
            return false;
        }
        this->*entry.m_pMember = (value == kTrue);
        *setFlag = static_cast<std::uint16_t>(*setFlag | entry.m_bit);
        return true;
    }
    return true;
}

string CLoggerSyslogOutputConf::GetValueFromString(const string& line, unsigned int keyPos) {
    const string::size_type equals = CLoggerConfCommon::CheckCommentLine(line, keyPos);
    if (equals == string::npos) {
        return {};
    }
    const string::size_type begin = line.find_first_not_of(' ', equals + 1);
    if (begin == string::npos) {
        return {};
    }
    const string::size_type end = line.find(' ', begin);
    return line.substr(begin, end == string::npos ? string::npos : end - begin);
}

void CLoggerSyslogOutputConf::InitMember() {
    ClearSwitches();
    m_iStatus = kRecordValid;
}

void CLoggerSyslogOutputConf::ClearSwitches() {
    for (const LoggerSyslogSwitch& entry : kLoggerSyslogSwitches) {
        this->*entry.m_pMember = false;
    }
}

bool CLoggerSyslogOutputConf::Compare(const CLoggerSyslogOutputConf* other) const {
    for (const LoggerSyslogSwitch& entry : kLoggerSyslogSwitches) {
        if (!LoggerTrace::IsSame("CLoggerSyslogOutputConf", entry.m_pName,
                                 static_cast<int>(this->*entry.m_pMember),
                                 static_cast<int>(other->*entry.m_pMember))) {
            return false;
        }
    }
    return true;
}

bool CLoggerSyslogOutputConf::ConvertToIWbemClassObject(IWbemClassObject* object) const {
    if (object == nullptr) {
        return false;
    }
    const CPropertyWriter writer(object, "CLoggerSyslogOutputConf::ConvertToIWbemClassObject");
    for (const LoggerSyslogSwitch& entry : kLoggerSyslogSwitches) {
        if (!writer.SetBool(entry.m_pName, this->*entry.m_pMember)) {
            return false;
        }
    }
    return true;
}

void CLoggerSyslogOutputConf::OutPutMemberToDebugLog() const {
    using LoggerTrace::kModule;
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow,
                              "CLoggerSyslogOutputConf::OutPutMemberToDebugLog[START]");
    for (const LoggerSyslogSwitch& entry : kLoggerSyslogSwitches) {
        CTraceUtility::WriteDebug(kModule, LoggerTrace::kValue, "m_b%s=%d", entry.m_pName,
                                  static_cast<int>(this->*entry.m_pMember));
    }
    CTraceUtility::WriteDebug(kModule, LoggerTrace::kFlow,
                              "CLoggerSyslogOutputConf::OutPutMemberToDebugLog[END]");
}
