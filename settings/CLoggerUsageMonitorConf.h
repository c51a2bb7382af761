#pragma once

#include <cstdint>
#include <fstream>
#include <string>

class IWbemClassObject;

// The settings of one usage monitor of the agent, for the CPU or for memory: whether it is on, how
// often and how many times it samples, and the usage that raises an alert. Values are not checked.
class CLoggerUsageMonitorConf {
public:
    // Off, all numbers 0.
    CLoggerUsageMonitorConf();

    // From an embedded object. All four properties or none: m_iStatus is 1 and the rest at its
    // defaults when one cannot be read (traced) or the object is null (not traced).
    explicit CLoggerUsageMonitorConf(IWbemClassObject* object);

    // From alert.cfg, read from its first line whatever was read of the stream before: the first
    // line of this key ("CPU" or "MEMORY") that has a value list. m_iStatus is 1 and the rest at
    // its defaults when there is none, when it has not four fields, or when the first says neither
    // "True" nor "False" (traced, with the bits of the fields seen); and when the key is empty or
    // the stream null (not traced).
    CLoggerUsageMonitorConf(std::ifstream* file, const std::string& key);

    virtual ~CLoggerUsageMonitorConf() = default;

    void InitMember();

    // True when all values are equal. The first difference is traced.
    bool Compare(const CLoggerUsageMonitorConf* other) const;

    // Sets the four properties. False at the first that cannot be set (traced; those before it stay
    // set), and for a null object (not traced).
    bool ConvertToIWbemClassObject(IWbemClassObject* object) const;

    void OutPutMemberToDebugLog() const;

    // The text between the parentheses of a line whose key stands at keyPos, untouched; empty when
    // the line gives the key no value list.
    static std::string GetValueListFromString(const std::string& line, unsigned int keyPos);

    bool m_bMonitoringEnable;
    std::uint32_t m_uiSamplingInterval; // as written in alert.cfg
    std::uint32_t m_uiSamplingCount;    // as written in alert.cfg
    std::int32_t m_iThreshold;          // percent
    std::int32_t m_iStatus;

private:
    // The bits of the fields seen.
    std::uint16_t ReadValueList(std::string list);
};
