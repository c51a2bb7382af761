#pragma once

#include "loggerctl/output/Failure.h"
#include "settings/CLoggerConf.h"
#include "settings/CVolumeIndex.h"

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

// The settings by their names: the table of all keys, and the ways from a key to a value.
namespace record {

using CValue = std::variant<bool, std::uint32_t, std::int32_t>;
using CMember = std::variant<bool*, std::uint32_t*, std::int32_t*>; // in the order of CValue

// A setting that a record has once.
struct CKey {
    const char* m_name;                     // on the command line
    const char* m_part;                     // of the record, under its WBEM name
    const char* m_property;                 // of that part
    CMember (*m_member)(CLoggerConf& conf); // where it stands
};
const std::vector<CKey>& Keys();

// A setting that every file system has; its name stands behind the file system's.
struct CVolumeKey {
    const char* m_name;
    const char* m_property; // of the file system's entry in its list
    CMember (*m_member)(CLoggerFsThresholdConf& row);
};
const std::vector<CVolumeKey>& VolumeKeys();

// A key as it was asked for: an entry of one of the two tables.
struct CAddress {
    std::string m_text; // as it was written
    const CKey* m_key = nullptr;
    const CVolumeKey* m_volumeKey = nullptr;
    std::string m_name = {}; // the file system's, as it was written
};

// Reads "cpu.threshold" or a file system's key: "fs:/home.threshold", where the last dot ends the
// name, or "fs[/home].threshold", where the last bracket does. Another text is wrong usage.
output::Expected<CAddress> ParseKey(const std::string& text);

// Reads keys of which each may be the name of a group, "syslog", "cpu", "memory" or "fs", that
// stands for all keys of the group; "fs" with those of every file system.
output::Expected<std::vector<CAddress>> ParseKeys(const std::vector<std::string>& texts);
bool IsGroup(const std::string& text);

// The names of all keys, in the table's order, with fs:NAME standing for every file system.
std::vector<std::string> KeyNames();

// "fs:/home.threshold".
std::string VolumeKeyText(const std::string& name, const CVolumeKey& key);

// A setting of a record. The members belong to the record and are valid as long as it.
struct CSetting {
    std::string m_text; // its key, with a file system's name as it is
    CMember m_member;
};

// Finds the settings of a record, which must keep its file systems as long as this object is used.
class CSettings {
public:
    explicit CSettings(CLoggerConf* conf);

    // What an address means, in the record's order; never empty. A file system is looked up under
    // its name as written, then under the name that its escapes (\xHH and \\) stand for; then, if
    // the name has one of * ? [, it is a pattern for the names of any number of file systems, in
    // which * stands for slashes, too. It is wrong usage when none of them is mounted.
    output::Expected<std::vector<CSetting>> Find(const CAddress& address);

    // Whether the address names one setting, not a pattern that may name many.
    bool IsExact(const CAddress& address);

    // Null when there is no such file system.
    CLoggerFsThresholdConf* FindVolume(const std::string& name);

private:
    CLoggerFsThresholdConf* FindWritten(const std::string& name);
    output::Expected<std::vector<CSetting>> FindMatching(const CAddress& address);

    CLoggerConf* m_conf;
    CVolumeIndex<CLoggerFsThresholdConf> m_volumes;
};

// The value of a member, and giving it one, which must be of its type.
CValue ValueOf(const CMember& member);
void Assign(const CValue& value, const CMember& member);

// A value as scripts read it: true, false or a decimal number.
std::string TextOf(const CValue& value);

// One setting that differs between two records.
struct CChange {
    std::string m_text; // its key
    CValue m_old;
    CValue m_new;
};
// All of them in the table's order, then those of file systems in the second record's. A file
// system that the first one lacks counts as one with the defaults.
std::vector<CChange> FindChanges(const CLoggerConf& from, const CLoggerConf& to);

} // namespace record
