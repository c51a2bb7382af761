#pragma once

#include <cstdint>
#include <string>

class IWbemClassObject;

// One row of the file-system monitor: a mounted file system, the usage that raises an alert for it,
// and whether it is monitored at all. Values are not checked.
class CLoggerFsThresholdConf {
public:
    // No name, threshold 0, not monitored.
    CLoggerFsThresholdConf();

    // A valid row of these values.
    CLoggerFsThresholdConf(const std::string& name, int threshold, bool enable);

    // From an element of "FsThresholdConfList". All three properties or none: m_iStatus is 1 and
    // the rest at its defaults when one cannot be read (traced) or the object is null (not traced).
    explicit CLoggerFsThresholdConf(IWbemClassObject* object);

    CLoggerFsThresholdConf(const CLoggerFsThresholdConf&) = default;
    CLoggerFsThresholdConf& operator=(const CLoggerFsThresholdConf&) = default;
    CLoggerFsThresholdConf(CLoggerFsThresholdConf&&) = default;
    CLoggerFsThresholdConf& operator=(CLoggerFsThresholdConf&&) = default;
    virtual ~CLoggerFsThresholdConf() = default;

    void InitMember();

    // True when name (byte by byte), threshold and switch are equal. The first difference is
    // traced.
    bool Compare(const CLoggerFsThresholdConf& other) const;

    // Sets the three properties. False at the first that cannot be set (traced; those before it
    // stay set), and for a null object (not traced).
    bool ConvertToIWbemClassObject(IWbemClassObject* object) const;

    void OutPutMemberToDebugLog() const;

    std::string m_sVolumeName;   // mount point, as the mount command prints it
    std::int32_t m_iThreshold;   // percent
    bool m_bVolMonitoringEnable; // this file system is monitored
    std::int32_t m_iStatus;
};
