#pragma once

#include "settings/CLoggerFsUsageMonitorConf.h"
#include "settings/CLoggerSyslogOutputConf.h"
#include "settings/CLoggerUsageMonitorConf.h"

#include <cstdint>
#include <list>
#include <string>
#include <unordered_set>

class IWbemClassObject;

// The agent's settings as a whole. A record is built, tested through m_iStatus, used and destroyed
// within one method call.
class CLoggerConf {
public:
    // Everything off, all numbers 0, no file systems.
    CLoggerConf();

    // From the embedded object "LoggerConf" of a method's input parameters. All or nothing:
    // m_iStatus is 1 and the rest at its defaults when a part cannot be read; the reason is traced.
    explicit CLoggerConf(IWbemClassObject* inParams);

    // From the agent's two files, which are only read, and the mount table. All or nothing:
    // m_iStatus is 1 and the rest at its defaults when a file cannot be opened or a part cannot be
    // read; the reason is traced.
    CLoggerConf(std::string agentPath, std::string alertPath);

    CLoggerConf(const CLoggerConf&) = default;
    CLoggerConf& operator=(const CLoggerConf&) = default;
    CLoggerConf(CLoggerConf&&) = default;
    CLoggerConf& operator=(CLoggerConf&&) = default;
    virtual ~CLoggerConf() = default;

    void InitMember();

    // True when all parts are equal. The first difference is traced: the field by its part, then
    // the part.
    bool Compare(const CLoggerConf* other) const;

    // Sets the embedded object "LoggerConf" of a method's output parameters, as a whole or, when
    // false comes back, not at all. Failures are traced.
    bool ConvertToIWbemClassObject(IWbemClassObject* outParams) const;

    // Traces all values.
    void OutPutMemberToDebugLog() const;

    // ---- Editing the files (configfile/) ----

    // Rewrites both files in place, agent.cfg first, so that they hold this record; every line and
    // character that is not a setting stays as it was, and every line ends with "\n". Each file is
    // read, edited in memory, and written only when its edit succeeded. False when a file cannot be
    // opened or edited, which is traced; agent.cfg then keeps what was written to it before. A
    // write or a close that fails is not noticed: read the files back.
    bool EditConfigFile(std::string agentPath, std::string alertPath) const;

    // Edits the lines of agent.cfg: the value word of every line that gives one of the four keys a
    // value. False when a value is neither "True" nor "False" or a key has none; lines may then be
    // edited in part.
    bool EditAgent(std::list<std::string>& lines) const;

    // Edits the lines of alert.cfg: the value lists of CPU, MEMORY and FILESYSTEM, and the FSNAME
    // lines, which come out as one block behind each FILESYSTEM line. A file system that is not
    // monitored, has the default threshold and had no FSNAME line before gets none. False when a
    // list has another number of fields or one of the three lines is missing; lines may then be
    // edited in part.
    bool EditAlert(std::list<std::string>& lines) const;

    // True when an element of the list equals the item. Walks the list.
    static bool FindItem(std::list<std::string>* list, const std::string& item);

    static constexpr int kCpu = 0;
    static constexpr int kMemory = 1;

    CLoggerSyslogOutputConf m_SyslogOutputConf;
    CLoggerUsageMonitorConf m_UsageMonitorConf[2]; // kCpu, kMemory
    CLoggerFsUsageMonitorConf m_FsUsageMonitorConf;
    std::int32_t m_iStatus; // 0 valid, 1 building the record failed

private:
    // Both: false when a part cannot be read; the parts before it are then filled.
    bool ReadParameters(IWbemClassObject* inParams);
    bool ReadFiles(const std::string& agentPath, const std::string& alertPath);
    void Finish(bool isRead);

    using Editor = bool (CLoggerConf::*)(std::list<std::string>&) const;
    bool EditFile(const std::string& path, const char* fileName, Editor editor,
                  const char* editorName) const;
    // Returns the last line inserted, or the line itself when there was nothing to insert.
    std::list<std::string>::iterator
    InsertVolumeLines(std::list<std::string>::iterator behind,
                      const std::unordered_set<std::string>& oldNames,
                      std::list<std::string>* lines) const;
};
