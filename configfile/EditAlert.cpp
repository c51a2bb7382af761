#include "settings/CLoggerConf.h"

#include "comlib/CStringUtil.h"
#include "settings/CLoggerConfCommon.h"
#include "settings/LoggerDefinitions.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

using namespace LoggerDefinitions;
using std::string;
using Lines = std::list<string>;

namespace {

// The lines that were edited, as bits.
constexpr unsigned int kCpuEdited = 0x1;
constexpr unsigned int kMemoryEdited = 0x2;
constexpr unsigned int kFileSystemEdited = 0x4 | 0x8;
constexpr unsigned int kAllEdited = 0xF;

enum class Edit { kNotThisLine, kDone, kInvalid };

// The fields are written signed, as the agent reads them: a number above 2147483647 comes out
// negative.
string Number(std::uint32_t value) {
    return std::to_string(static_cast<std::int32_t>(value));
}

template <class Monitor>
string SamplingFieldsText(const Monitor& monitor) {
    return string(CLoggerConfCommon::GetSwitchWord(monitor.m_bMonitoringEnable)) + ", " +
           Number(monitor.m_uiSamplingInterval) + ", " + Number(monitor.m_uiSamplingCount);
}

string ValueListText(const CLoggerUsageMonitorConf& monitor) {
    return SamplingFieldsText(monitor) + ", " + std::to_string(monitor.m_iThreshold);
}

string ValueListText(const CLoggerFsUsageMonitorConf& monitor) {
    return SamplingFieldsText(monitor);
}

// Replaces the value list of a line that gives the key one. kInvalid: the list has another number
// of fields; the line is then left as it was.
template <class Monitor>
Edit EditValueList(const char* key, unsigned int fieldCount, const Monitor& monitor, string* line) {
    const string::size_type keyPos = line->find(string(key) + "=");
    if (keyPos == string::npos) {
        return Edit::kNotThisLine;
    }
    string list = Monitor::GetValueListFromString(*line, static_cast<unsigned int>(keyPos));
    if (list.empty()) {
        return Edit::kNotThisLine;
    }
    if (CStringUtil::Split(list, kFieldSeparator).size() != fieldCount) {
        return Edit::kInvalid;
    }
    // The line's first parentheses, which may stand before the key.
    const string::size_type open = line->find('(');
    const string::size_type close = line->find(')');
    line->replace(open + 1, close - open - 1, ValueListText(monitor));
    return Edit::kDone;
}

// Removes the FSNAME lines that parse, monitored or not, and returns their names.
std::unordered_set<string> TakeVolumeLines(Lines* lines) {
    std::unordered_set<string> names;
    for (auto line = lines->begin(); line != lines->end();) {
        const string::size_type keyPos = line->find(kFsNameKey);
        string name;
        int threshold = 0;
        bool enable = false;
        const bool isEntry =
            keyPos != string::npos && CLoggerFsUsageMonitorConf::GetVolumeThresholdFromString(
                                          *line, static_cast<unsigned int>(keyPos), &name,
                                          &threshold, &enable) == CLoggerFsUsageMonitorConf::kEntry;
        if (isEntry) {
            names.insert(std::move(name));
            line = lines->erase(line);
        } else {
            ++line;
        }
    }
    return names;
}

string VolumeLine(const CLoggerFsThresholdConf& row) {
    const string marker = row.m_bVolMonitoringEnable ? "" : kDisabledMarker + string("\t");
    return marker + kFsNameKey + "\"" + row.m_sVolumeName + "\"   (" +
           std::to_string(row.m_iThreshold) + ")";
}

} // namespace

bool CLoggerConf::EditAlert(Lines& lines) const {
    const std::unordered_set<string> oldNames = TakeVolumeLines(&lines);
    unsigned int editedFlag = 0;
    for (auto line = lines.begin(); line != lines.end(); ++line) {
        const Edit cpu =
            EditValueList(kCpuKey, kUsageMonitorFields, m_UsageMonitorConf[kCpu], &*line);
        if (cpu == Edit::kInvalid) {
            return false;
        }
        const Edit memory =
            EditValueList(kMemoryKey, kUsageMonitorFields, m_UsageMonitorConf[kMemory], &*line);
        if (memory == Edit::kInvalid) {
            return false;
        }
        const Edit fileSystem =
            EditValueList(kFileSystemKey, kFsUsageMonitorFields, m_FsUsageMonitorConf, &*line);
        if (fileSystem == Edit::kInvalid) {
            return false;
        }
        editedFlag |= cpu == Edit::kDone ? kCpuEdited : 0;
        editedFlag |= memory == Edit::kDone ? kMemoryEdited : 0;
        if (fileSystem == Edit::kDone) {
            editedFlag |= kFileSystemEdited;
            line = InsertVolumeLines(line, oldNames, &lines);
        }
    }
    return editedFlag == kAllEdited;
}

Lines::iterator CLoggerConf::InsertVolumeLines(Lines::iterator behind,
                                               const std::unordered_set<string>& oldNames,
                                               Lines* lines) const {
    for (const CLoggerFsThresholdConf& row : m_FsUsageMonitorConf.m_FsThresholdConfList) {
        const bool isDefault = !row.m_bVolMonitoringEnable && row.m_iThreshold == kDefaultThreshold;
        if (isDefault && oldNames.count(row.m_sVolumeName) == 0) {
            continue; // nobody ever set it
        }
        behind = lines->insert(std::next(behind), VolumeLine(row));
    }
    return behind;
}

bool CLoggerConf::FindItem(Lines* list, const string& item) {
    return std::find(list->begin(), list->end(), item) != list->end();
}
