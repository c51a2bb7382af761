#pragma once

#include <array>
#include <cstdint>
#include <fstream>
#include <string>

class IWbemClassObject;

// The agent's syslog output switches: whether its alerts go to syslog at all, and of which
// severity.
class CLoggerSyslogOutputConf {
public:
    // All switches off.
    CLoggerSyslogOutputConf();

    // From the embedded object "SyslogOutputConf". All four properties or none: m_iStatus is 1 and
    // the switches are off when one cannot be read (traced) or the object is null (not traced).
    explicit CLoggerSyslogOutputConf(IWbemClassObject* object);

    // From agent.cfg, read from its first line whatever was read of the stream before. m_iStatus is
    // 1
    // - with the switches off when a key has no valid value, which is traced with the keys' bits;
    // - with the switches read so far when an invalid value follows after every key had a valid
    // one;
    // - with the switches off when the stream is null; that is not traced.
    explicit CLoggerSyslogOutputConf(std::ifstream* file);

    virtual ~CLoggerSyslogOutputConf() = default;

    void InitMember();

    // True when all switches are equal. The first difference is traced.
    bool Compare(const CLoggerSyslogOutputConf* other) const;

    // Sets the four properties. False at the first that cannot be set (traced; those before it stay
    // set), and for a null object (not traced).
    bool ConvertToIWbemClassObject(IWbemClassObject* object) const;

    void OutPutMemberToDebugLog() const;

    // The first word behind the "=" of the key found at keyPos. Empty when the line gives the key
    // no value. Blanks are spaces alone: a tab or a carriage return is part of a word.
    static std::string GetValueFromString(const std::string& line, unsigned int keyPos);

    bool m_bSyslogOutput;
    bool m_bInformationAlert;
    bool m_bWarningAlert;
    bool m_bObstacleAlert;
    std::int32_t m_iStatus;

private:
    void ClearSwitches();
    // False when the line holds an invalid value.
    bool ReadLine(const std::string& line, std::uint16_t* setFlag);
};

// One switch: its name (the key in agent.cfg and the WBEM property alike), where it is kept, and
// its bit in the set of keys seen. Readers and editors walk this table in its order.
struct LoggerSyslogSwitch {
    const char* m_pName;
    bool CLoggerSyslogOutputConf::*m_pMember;
    std::uint16_t m_bit;
};

inline constexpr std::array<LoggerSyslogSwitch, 4> kLoggerSyslogSwitches{{
    {"SyslogOutput", &CLoggerSyslogOutputConf::m_bSyslogOutput, 0x1},
    {"InformationAlert", &CLoggerSyslogOutputConf::m_bInformationAlert, 0x2},
    {"WarningAlert", &CLoggerSyslogOutputConf::m_bWarningAlert, 0x4},
    {"ObstacleAlert", &CLoggerSyslogOutputConf::m_bObstacleAlert, 0x8},
}};
inline constexpr std::uint16_t kLoggerSyslogAllSwitches = 0xF;
