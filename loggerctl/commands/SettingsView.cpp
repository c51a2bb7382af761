#include "loggerctl/commands/SettingsView.h"

#include "loggerctl/output/SafeText.h"
#include "settings/CLoggerConf.h"

#include <algorithm>
#include <cstdint>

namespace commands {

namespace {

using output::CTable;
using output::TextStyle;
using Align = CTable::Align;
using Cell = CTable::Cell;
using Texts = std::vector<std::string>;

constexpr char kUnknown[] = "-";

// ---- The bar ----

constexpr int kCells = 20;
constexpr int kFull = 100;
constexpr int kNear = 90; // percent of the threshold that are worth a warning
constexpr std::size_t kPercentWidth = 3;

struct CMarks {
    const char* m_used;
    const char* m_free;
    const char* m_threshold;
};
constexpr CMarks kUtf8Marks{"█", "░", "│"};
constexpr CMarks kAsciiMarks{"#", ".", "|"};

bool IsThreshold(int threshold) {
    return threshold > 0 && threshold <= kFull;
}

std::string Bar(int percent, int threshold, const CMarks& marks) {
    const int used = std::min(kCells, (percent * kCells + kFull / 2) / kFull);
    const int marked =
        IsThreshold(threshold) ? std::min(kCells - 1, threshold * kCells / kFull) : kCells;
    std::string bar;
    for (int cell = 0; cell < kCells; ++cell) {
        const char* plain = cell < used ? marks.m_used : marks.m_free;
        bar += cell == marked ? marks.m_threshold : plain;
    }
    return bar;
}

TextStyle Style(int percent, int threshold, bool monitored) {
    if (!monitored) {
        return TextStyle::Dim;
    }
    if (percent >= threshold) {
        return TextStyle::Bad;
    }
    const bool near = std::int64_t{percent} * kFull >= std::int64_t{threshold} * kNear;
    return near ? TextStyle::Warning : TextStyle::Good;
}

// ---- The tables ----

bool IsShown(const char* group, const Texts& groups) {
    return groups.empty() || std::find(groups.begin(), groups.end(), group) != groups.end();
}

Cell OnOff(bool on) {
    return {on ? "on" : "off", on ? TextStyle::Plain : TextStyle::Dim};
}

Cell Percent(int value) {
    return {std::to_string(value) + " %"};
}

CTable SyslogTable(const CLoggerSyslogOutputConf& conf) {
    CTable table({{"Syslog output"}, {""}});
    table.AddRow({{"Write alerts to syslog"}, OnOff(conf.m_bSyslogOutput)});
    table.AddRow({{"Information alerts"}, OnOff(conf.m_bInformationAlert)});
    table.AddRow({{"Warning alerts"}, OnOff(conf.m_bWarningAlert)});
    table.AddRow({{"Obstacle alerts"}, OnOff(conf.m_bObstacleAlert)});
    return table;
}

template <class Monitor>
CTable::Row MonitorRow(const char* name, const Monitor& monitor) {
    return {{name},
            OnOff(monitor.m_bMonitoringEnable),
            {std::to_string(monitor.m_uiSamplingInterval)},
            {std::to_string(monitor.m_uiSamplingCount)}};
}

CTable MonitorTable(const CLoggerConf& conf, const Texts& groups) {
    CTable table({{"Usage monitors"},
                  {"State"},
                  {"Interval", Align::Right},
                  {"Samples", Align::Right},
                  {"Threshold", Align::Right}});
    const auto add = [&](const char* group, const char* name, int index) {
        const CLoggerUsageMonitorConf& monitor = conf.m_UsageMonitorConf[index];
        CTable::Row row = MonitorRow(name, monitor);
        row.push_back(Percent(monitor.m_iThreshold));
        if (IsShown(group, groups)) {
            table.AddRow(row);
        }
    };
    add("cpu", "CPU", CLoggerConf::kCpu);
    add("memory", "Memory", CLoggerConf::kMemory);
    if (IsShown("fs", groups)) {
        table.AddRow(MonitorRow("File systems", conf.m_FsUsageMonitorConf));
    }
    return table;
}

CTable VolumeTable(const std::list<CLoggerFsThresholdConf>& volumes,
                   const std::optional<record::CUsages>& usages, bool utf8) {
    std::vector<CTable::Column> columns = {
        {"File systems"}, {"Monitored"}, {"Threshold", Align::Right}};
    if (usages) {
        columns.push_back({"In use"});
    }
    CTable table(columns);
    std::size_t index = 0;
    for (const CLoggerFsThresholdConf& volume : volumes) {
        const bool monitored = volume.m_bVolMonitoringEnable;
        CTable::Row row = {
            {output::Escape(volume.m_sVolumeName)},
            {monitored ? "yes" : "no", monitored ? TextStyle::Plain : TextStyle::Dim},
            Percent(volume.m_iThreshold)};
        if (usages) {
            const std::optional<int> usage = usages->at(index++);
            row.push_back(usage ? UsageCell(*usage, volume.m_iThreshold, monitored, utf8)
                                : Cell{kUnknown, TextStyle::Dim});
        }
        table.AddRow(std::move(row));
    }
    return table;
}

} // namespace

std::string SettingsText(const CLoggerConf& conf, const Texts& groups,
                         const std::optional<record::CUsages>& usages,
                         const output::CTerminal& terminal) {
    Texts tables;
    if (IsShown("syslog", groups)) {
        tables.push_back(SyslogTable(conf.m_SyslogOutputConf).Text(terminal));
    }
    if (IsShown("cpu", groups) || IsShown("memory", groups) || IsShown("fs", groups)) {
        tables.push_back(MonitorTable(conf, groups).Text(terminal));
    }
    if (IsShown("fs", groups)) {
        const auto& volumes = conf.m_FsUsageMonitorConf.m_FsThresholdConfList;
        tables.push_back(volumes.empty()
                             ? "No file system is mounted.\n"
                             : VolumeTable(volumes, usages, terminal.m_utf8).Text(terminal));
    }
    std::string text;
    for (const std::string& table : tables) {
        text += (text.empty() ? "" : "\n") + table;
    }
    return text;
}

Cell UsageCell(int percent, int threshold, bool monitored, bool utf8) {
    std::string number = std::to_string(percent);
    number.insert(0, kPercentWidth - std::min(kPercentWidth, number.size()), ' ');
    std::string text =
        Bar(percent, threshold, utf8 ? kUtf8Marks : kAsciiMarks) + " " + number + " %";
    if (monitored && percent >= threshold) {
        text += " over";
    }
    return {text, Style(percent, threshold, monitored)};
}

} // namespace commands
