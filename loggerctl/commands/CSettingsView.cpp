#include "loggerctl/commands/CSettingsView.h"

#include "loggerctl/output/CSafeText.h"
#include "loggerctl/output/CTable.h"
#include "loggerctl/output/CUsageBar.h"
#include "settings/CLoggerConf.h"

namespace {

using Align = CTable::Align;
using Cell = CTable::Cell;

constexpr char kUnknown[] = "-";

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

CTable MonitorTable(const CLoggerConf& conf) {
    CTable table({{"Usage monitors"},
                  {"State"},
                  {"Interval", Align::Right},
                  {"Samples", Align::Right},
                  {"Threshold", Align::Right}});
    const char* const names[] = {"CPU", "Memory"};
    for (std::size_t i = 0; i < std::size(names); ++i) {
        const CLoggerUsageMonitorConf& monitor = conf.m_UsageMonitorConf[i];
        CTable::Row row = MonitorRow(names[i], monitor);
        row.push_back(Percent(monitor.m_iThreshold));
        table.AddRow(row);
    }
    table.AddRow(MonitorRow("File systems", conf.m_FsUsageMonitorConf));
    return table;
}

Cell UsageCell(const CLoggerFsThresholdConf& volume, std::optional<int> usage, bool utf8) {
    if (!usage) {
        return {kUnknown, TextStyle::Dim};
    }
    return CUsageBar::Cell(*usage, volume.m_iThreshold, volume.m_bVolMonitoringEnable, utf8);
}

CTable VolumeTable(const std::list<CLoggerFsThresholdConf>& volumes,
                   const std::optional<CSettingsView::Usages>& usages, bool utf8) {
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
            {CSafeText::Escape(volume.m_sVolumeName)},
            {monitored ? "yes" : "no", monitored ? TextStyle::Plain : TextStyle::Dim},
            Percent(volume.m_iThreshold)};
        if (usages) {
            row.push_back(UsageCell(volume, usages->at(index++), utf8));
        }
        table.AddRow(row);
    }
    return table;
}

} // namespace

std::string CSettingsView::Text(const CLoggerConf& conf, const std::optional<Usages>& usages,
                                const CTerminal& terminal) {
    const std::list<CLoggerFsThresholdConf>& volumes =
        conf.m_FsUsageMonitorConf.m_FsThresholdConfList;
    std::string text = SyslogTable(conf.m_SyslogOutputConf).Text(terminal) + '\n' +
                       MonitorTable(conf).Text(terminal) + '\n';
    if (volumes.empty()) {
        return text + "No file system is mounted.\n";
    }
    return text + VolumeTable(volumes, usages, terminal.m_bUtf8).Text(terminal);
}
