#include "settings/CLoggerConf.h"

#include "settings/CLoggerConfCommon.h"
#include "settings/LoggerDefinitions.h"

using LoggerDefinitions::kFalse;
using LoggerDefinitions::kTrue;
using std::string;

bool CLoggerConf::EditAgent(std::list<string>& lines) const {
    std::uint16_t editedFlag = 0;
    for (string& line : lines) {
        for (const LoggerSyslogSwitch& entry : kLoggerSyslogSwitches) {
            const string::size_type keyPos = line.find(entry.m_pName);
            if (keyPos == string::npos) {
                continue;
            }
            const string value = CLoggerSyslogOutputConf::GetValueFromString(
                line, static_cast<unsigned int>(keyPos));
            if (value.empty()) {
                continue;
            }
            if (value != kTrue && value != kFalse) {
                return false;
            }
            // The word's first occurrence in the whole line, which may stand before the key.
            line.replace(line.find(value), value.size(),
                         CLoggerConfCommon::GetSwitchWord(m_SyslogOutputConf.*entry.m_pMember));
            editedFlag |= entry.m_bit;
        }
    }
    return editedFlag == kLoggerSyslogAllSwitches;
}
