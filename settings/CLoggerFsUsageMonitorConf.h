#pragma once

#include "settings/CLoggerFsThresholdConf.h"
#include "settings/CVolumeIndex.h"

#include <cstdint>
#include <fstream>
#include <list>
#include <string>

class IWbemClassObject;

// The settings of the agent's file-system monitor: one switch for the whole, how often and how many
// times it samples, and one row per file system.
class CLoggerFsUsageMonitorConf {
public:
    // Off, numbers 0, no rows.
    CLoggerFsUsageMonitorConf();

    // From the embedded object "FsUsageMonitorConf", rows in array order. All or nothing: m_iStatus
    // is 1 and the rest at its defaults when a property or a row cannot be read (traced) or the
    // object is null (not traced). The objects stay the caller's.
    explicit CLoggerFsUsageMonitorConf(IWbemClassObject* object);

    // From alert.cfg, read from its first line whatever was read of the stream before, and the
    // mount table: one row per mounted file system, in the mount command's order, with threshold 80
    // and not monitored unless the file says otherwise. Lines for file systems that are not mounted
    // change nothing. The key must be "FILESYSTEM". m_iStatus is 1 and the rest at its defaults
    // when the mount table cannot be read, when there is no good FILESYSTEM line, or when a FSNAME
    // line is malformed (traced); and when the key is another one or the stream is null (not
    // traced).
    CLoggerFsUsageMonitorConf(std::ifstream* file, const std::string& key);

    CLoggerFsUsageMonitorConf(const CLoggerFsUsageMonitorConf&) = default;
    CLoggerFsUsageMonitorConf& operator=(const CLoggerFsUsageMonitorConf&) = default;
    CLoggerFsUsageMonitorConf(CLoggerFsUsageMonitorConf&&) = default;
    CLoggerFsUsageMonitorConf& operator=(CLoggerFsUsageMonitorConf&&) = default;
    virtual ~CLoggerFsUsageMonitorConf() = default;

    void InitMember();

    // True when the values are equal and both lists hold equal rows, in whatever order: rows are
    // matched by name, first in list order. The first difference is traced.
    bool Compare(const CLoggerFsUsageMonitorConf* other) const;

    // Sets the four properties, the array also when there are no rows. False at the first that
    // cannot be set (traced; those before it stay set).
    bool ConvertToIWbemClassObject(IWbemClassObject* object) const;

    void OutPutMemberToDebugLog() const;

    // The text between the parentheses of a line whose key stands at keyPos, untouched; empty when
    // the line gives the key no value list.
    static std::string GetValueListFromString(const std::string& line, unsigned int keyPos);

    // Reads a line in which "FSNAME=" was found at keyPos: a volume name in double quotes, then a
    // threshold in parentheses. A line with the marker of a file system that is not monitored is an
    // entry with *enable false, although it begins with '#'.
    // Returns kEntry, kMalformedEntry (no quotes or parentheses, no name, or threshold 0) or
    // kNoEntry (a comment). Out-arguments that were not read are empty, 0 and false.
    static int GetVolumeThresholdFromString(const std::string& line, unsigned int keyPos,
                                            std::string* name, int* threshold, bool* enable);
    static constexpr int kEntry = 0;
    static constexpr int kMalformedEntry = 1;
    static constexpr int kNoEntry = 255;

    // Appends one row per mount point that the list does not hold yet, in the mount command's
    // order, with threshold 80 and not monitored. False when the command cannot be run, which
    // leaves the list as it was, or prints an empty mount point, which empties it. A command that
    // prints nothing, or that fails, is not an error.
    bool GetMountPointList(std::list<CLoggerFsThresholdConf>& list);

    // True when the list holds a row of exactly this name. Walks the list.
    bool CheckMountPointName(std::string name, std::list<CLoggerFsThresholdConf>& list);

    bool m_bMonitoringEnable;
    std::uint32_t m_uiSamplingInterval; // as written in alert.cfg
    std::uint32_t m_uiSamplingCount;    // as written in alert.cfg
    std::list<CLoggerFsThresholdConf> m_FsThresholdConfList;
    std::int32_t m_iStatus;

private:
    using RowIndex = CVolumeIndex<CLoggerFsThresholdConf>;

    bool ReadProperties(IWbemClassObject* object);
    // The same with an index of the list, which it keeps up.
    static bool GetMountPointList(std::list<CLoggerFsThresholdConf>& list, RowIndex* rows);
    void ReadAlertConfig(std::ifstream* file, RowIndex* rows, std::uint16_t* setFlag);
    // Both: false when the rest of the file must not be read.
    bool ReadFileSystemLine(const std::string& line, std::uint16_t* setFlag);
    bool ReadVolumeLine(const std::string& line, RowIndex* rows, std::uint16_t* setFlag);
};
