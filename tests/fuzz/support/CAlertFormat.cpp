#include "tests/fuzz/support/CAlertFormat.h"

#include "tests/fuzz/support/CAlertLine.h"

#include <algorithm>
#include <set>
#include <utility>

using std::string;
using Kind = CAlertLine::Kind;
using Rows = std::list<CLoggerFsThresholdConf>;

namespace {

constexpr int kDefaultThreshold = 80;

// The names of the entries that an edit takes out.
std::set<string> Names(const Lines& lines) {
    std::set<string> names;
    for (const string& line : lines) {
        const CAlertLine::Entry entry = CAlertLine(line).FileSystem();
        if (entry.m_kind == Kind::kEntry) {
            names.insert(entry.m_sName);
        }
    }
    return names;
}

bool IsWritten(const CLoggerFsThresholdConf& row, const std::set<string>& oldNames) {
    return row.m_bVolMonitoringEnable || row.m_iThreshold != kDefaultThreshold ||
           oldNames.count(row.m_sVolumeName) != 0;
}

EditedLines Block(const Rows& rows, const std::set<string>& oldNames) {
    EditedLines block;
    for (const CLoggerFsThresholdConf& row : rows) {
        if (IsWritten(row, oldNames)) {
            block.push_back({string(row.m_bVolMonitoringEnable ? "" : "#KZM# \t") + "FSNAME=\"" +
                                 row.m_sVolumeName + "\"   (" + std::to_string(row.m_iThreshold) +
                                 ")",
                             true});
        }
    }
    return block;
}

template <class Monitor>
string ListText(const Monitor& monitor) {
    return string(CFileFormat::Word(monitor.m_bMonitoringEnable)) + ", " +
           std::to_string(static_cast<std::int32_t>(monitor.m_uiSamplingInterval)) + ", " +
           std::to_string(static_cast<std::int32_t>(monitor.m_uiSamplingCount));
}

// What stands in the line's first parentheses, exchanged; where they stand the wrong way round,
// everything behind the opening one.
string Exchanged(const string& line, const string& text) {
    const string::size_type open = line.find('(');
    const string::size_type close = line.find(')');
    return line.substr(0, open + 1) + text + (close > open ? line.substr(close) : "");
}

struct Change {
    const char* m_pKey;
    std::size_t m_fields;
    string m_sText;
};

// The changes that the line takes, in their order, each on what the one before it left. False when
// a value list has another number of fields.
bool Apply(const std::vector<Change>& changes, CEditedLine* line, std::set<string>* done) {
    for (const Change& change : changes) {
        const string list = CAlertLine(line->m_sText).List(change.m_pKey);
        if (list.empty()) {
            continue;
        }
        if (CAlertLine::Fields(list).size() != change.m_fields) {
            return false;
        }
        *line = {Exchanged(line->m_sText, change.m_sText), true};
        done->insert(change.m_pKey);
    }
    return true;
}

bool CanBeRead(const CLoggerFsThresholdConf& row) {
    const string& name = row.m_sVolumeName;
    return !name.empty() && name.find_first_of("\"\n") == string::npos && row.m_iThreshold != 0;
}

bool IsPlain(const Lines& lines) {
    return std::all_of(lines.begin(), lines.end(), [](const string& text) {
        const CAlertLine line(text);
        const Kind kind = line.FileSystem().m_kind;
        return kind == Kind::kEntry || (kind == Kind::kNone && line.HasListInFirstParentheses());
    });
}

// Reads what the three kinds of value list begin with.
template <class Monitor>
bool ReadSampling(std::list<string>* fields, Monitor* monitor) {
    const bool hasSwitch = CAlertLine::HasSwitch(fields->front());
    monitor->m_bMonitoringEnable =
        CAlertLine::Switch(fields->front(), monitor->m_bMonitoringEnable);
    fields->pop_front();
    monitor->m_uiSamplingInterval = CAlertLine::Number(fields->front());
    fields->pop_front();
    monitor->m_uiSamplingCount = CAlertLine::Number(fields->front());
    fields->pop_front();
    return hasSwitch;
}

} // namespace

std::optional<CLoggerUsageMonitorConf> CAlertFormat::ReadMonitor(const Lines& lines,
                                                                 const char* key) {
    for (const string& line : lines) {
        const string list = CAlertLine(line).List(key);
        if (list.empty()) {
            continue;
        }
        std::list<string> fields = CAlertLine::Fields(list);
        CLoggerUsageMonitorConf monitor;
        if (fields.size() != 4 || !ReadSampling(&fields, &monitor)) {
            return std::nullopt;
        }
        monitor.m_iThreshold = static_cast<std::int32_t>(CAlertLine::Number(fields.front()));
        return monitor;
    }
    return std::nullopt;
}

std::optional<CLoggerFsUsageMonitorConf>
CAlertFormat::ReadFileSystems(const Lines& lines, const std::vector<string>& mounted) {
    CLoggerFsUsageMonitorConf read;
    Rows& rows = read.m_FsThresholdConfList;
    for (const string& name : mounted) {
        rows.emplace_back(name, kDefaultThreshold, false);
    }
    bool hasSwitch = false;
    for (const string& text : lines) {
        const CAlertLine line(text);
        const string list = line.List("FILESYSTEM=");
        std::list<string> fields = CAlertLine::Fields(list);
        if (!list.empty() && fields.size() != 3) {
            break;
        }
        hasSwitch = (!list.empty() && ReadSampling(&fields, &read)) || hasSwitch;
        const CAlertLine::Entry entry = line.FileSystem();
        if (entry.m_kind == Kind::kMalformed) {
            return std::nullopt;
        }
        for (CLoggerFsThresholdConf& row : rows) {
            if (entry.m_kind == Kind::kEntry && row.m_sVolumeName == entry.m_sName) {
                row = CLoggerFsThresholdConf(entry.m_sName, entry.m_iThreshold, entry.m_bEnable);
            }
        }
    }
    return hasSwitch ? std::optional(read) : std::nullopt;
}

std::optional<EditedLines> CAlertFormat::Edit(const Lines& lines, const CLoggerConf& conf) {
    const auto monitorText = [&conf](int index) {
        const CLoggerUsageMonitorConf& monitor = conf.m_UsageMonitorConf[index];
        return ListText(monitor) + ", " + std::to_string(monitor.m_iThreshold);
    };
    const std::vector<Change> changes{{"CPU=", 4, monitorText(CLoggerConf::kCpu)},
                                      {"MEMORY=", 4, monitorText(CLoggerConf::kMemory)},
                                      {"FILESYSTEM=", 3, ListText(conf.m_FsUsageMonitorConf)}};
    const EditedLines block = Block(conf.m_FsUsageMonitorConf.m_FsThresholdConfList, Names(lines));
    EditedLines edited;
    edited.reserve(lines.size());
    std::set<string> done;
    for (const string& text : lines) {
        if (CAlertLine(text).FileSystem().m_kind == Kind::kEntry) {
            continue;
        }
        CEditedLine line{text, false};
        std::set<string> doneHere;
        if (!Apply(changes, &line, &doneHere)) {
            return std::nullopt;
        }
        edited.push_back(std::move(line));
        if (doneHere.count("FILESYSTEM=") != 0) {
            edited.insert(edited.end(), block.begin(), block.end());
        }
        done.insert(doneHere.begin(), doneHere.end());
    }
    return done.size() == changes.size() ? std::optional(edited) : std::nullopt;
}

bool CAlertFormat::IsKept(const Lines& lines, const CLoggerConf& conf,
                          const std::vector<string>& mounted) {
    const Rows& rows = conf.m_FsUsageMonitorConf.m_FsThresholdConfList;
    std::set<string> names;
    for (const CLoggerFsThresholdConf& row : rows) {
        names.insert(row.m_sVolumeName);
    }
    if (names.size() != rows.size() || names != std::set<string>(mounted.begin(), mounted.end())) {
        return false;
    }
    const std::set<string> oldNames = Names(lines);
    const bool canBeHeld = std::all_of(rows.begin(), rows.end(), [&](const auto& row) {
        const bool wouldBeMarked =
            row.m_bVolMonitoringEnable && row.m_sVolumeName.find("#KZM# ") != string::npos;
        return !IsWritten(row, oldNames) || (CanBeRead(row) && !wouldBeMarked);
    });
    return canBeHeld && IsPlain(lines);
}

bool CAlertFormat::IsStable(const Lines& lines, const CLoggerConf& conf) {
    const Rows& rows = conf.m_FsUsageMonitorConf.m_FsThresholdConfList;
    const std::set<string> oldNames = Names(lines);
    std::set<string> names;
    for (const CLoggerFsThresholdConf& row : rows) {
        if (!names.insert(row.m_sVolumeName).second ||
            (IsWritten(row, oldNames) && !CanBeRead(row))) {
            return false;
        }
    }
    return IsPlain(lines);
}

bool CAlertFormat::IsSame(const CLoggerUsageMonitorConf& left,
                          const CLoggerUsageMonitorConf& right) {
    return left.m_bMonitoringEnable == right.m_bMonitoringEnable &&
           left.m_uiSamplingInterval == right.m_uiSamplingInterval &&
           left.m_uiSamplingCount == right.m_uiSamplingCount &&
           left.m_iThreshold == right.m_iThreshold;
}

bool CAlertFormat::IsSame(const CLoggerFsUsageMonitorConf& left,
                          const CLoggerFsUsageMonitorConf& right) {
    const auto isSameRow = [](const auto& one, const auto& other) {
        return one.m_sVolumeName == other.m_sVolumeName && one.m_iThreshold == other.m_iThreshold &&
               one.m_bVolMonitoringEnable == other.m_bVolMonitoringEnable;
    };
    const Rows& rows = left.m_FsThresholdConfList;
    const Rows& others = right.m_FsThresholdConfList;
    return left.m_bMonitoringEnable == right.m_bMonitoringEnable &&
           left.m_uiSamplingInterval == right.m_uiSamplingInterval &&
           left.m_uiSamplingCount == right.m_uiSamplingCount &&
           std::equal(rows.begin(), rows.end(), others.begin(), others.end(), isSameRow);
}
