// The tool's record of all settings, as the page uses it: values by their keys, and the file systems
// in the order that needs attention first. Pure.

import { _, format } from "../text.js";
import { nameOf, printable, spelled, volumeKey } from "./names.js";

// ---- The settings that are not a file system's ----

const MONITOR_SETTINGS = {
    enable: { property: "MonitoringEnable", label: () => _("monitored"), isSwitch: true },
    interval: { property: "SamplingInterval", label: () => _("sampling interval") },
    count: { property: "SamplingCount", label: () => _("sampling count") },
    threshold: { property: "Threshold", label: () => _("threshold in percent") },
};

export const SYSLOG = [
    { key: "syslog.output", property: "SyslogOutput", label: () => _("Alerts go to syslog") },
    { key: "syslog.information", property: "InformationAlert", label: () => _("Information") },
    { key: "syslog.warning", property: "WarningAlert", label: () => _("Warning") },
    { key: "syslog.obstacle", property: "ObstacleAlert", label: () => _("Obstacle") },
].map(setting => ({ ...setting, part: "SyslogOutputConf", isSwitch: true }));

export const MONITORS = [
    monitor("cpu", "UsageMonitorConfCpu", () => _("CPU"), ["enable", "interval", "count", "threshold"]),
    monitor("memory", "UsageMonitorConfMemory", () => _("Memory"), ["enable", "interval", "count", "threshold"]),
    monitor("fs", "FsUsageMonitorConf", () => _("File systems"), ["enable", "interval", "count"]),
];

function monitor(group, part, title, names) {
    const settings = names.map(name => ({
        key: `${group}.${name}`,
        name,
        part,
        property: MONITOR_SETTINGS[name].property,
        isSwitch: Boolean(MONITOR_SETTINGS[name].isSwitch),
        label: () => format(_("$0: $1"), title(), MONITOR_SETTINGS[name].label()),
    }));
    return { group, title, settings };
}

const GENERAL = [...SYSLOG, ...MONITORS.flatMap(each => each.settings)];

// ---- File systems ----

export const ABOVE = "above";
export const NEAR = "near";
export const BELOW = "below";
export const UNKNOWN = "unknown";
export const NOT_MONITORED = "not-monitored";

const ORDER = [ABOVE, NEAR, BELOW, UNKNOWN, NOT_MONITORED];
const NEAR_PERCENT = 90; // of the threshold, as in the tool's tables

// How much a file system needs attention.
export function attention(monitored, inUse, threshold) {
    if (!monitored)
        return NOT_MONITORED;
    if (inUse === null)
        return UNKNOWN;
    if (inUse >= threshold)
        return ABOVE;
    return inUse * 100 >= threshold * NEAR_PERCENT ? NEAR : BELOW;
}

function rowOf(volume, allMonitored) {
    const name = nameOf(volume);
    const inUse = volume.InUse === undefined ? null : volume.InUse;
    const monitored = volume.VolMonitoringEnable;
    return {
        name: name.text,
        shown: name.isText ? printable(name.text) : name.text,
        spelled: spelled(name),
        enableKey: volumeKey(name.text, "enable"),
        thresholdKey: volumeKey(name.text, "threshold"),
        monitored,
        threshold: volume.Threshold,
        inUse,
        attention: attention(monitored && allMonitored, inUse, volume.Threshold),
    };
}

// First by attention, then the fuller one, then by name.
function compare(one, other) {
    return ORDER.indexOf(one.attention) - ORDER.indexOf(other.attention) ||
        (other.inUse ?? -1) - (one.inUse ?? -1) ||
        (one.name < other.name ? -1 : 1);
}

// ---- All of it ----

// values: what each key has; labels: what it is called; spelling: how a command line spells it, where
// that is another way; rows: the file systems, in order.
export function readRecord(record) {
    const values = new Map();
    const labels = new Map();
    const spelling = new Map();
    for (const setting of GENERAL) {
        values.set(setting.key, record[setting.part][setting.property]);
        labels.set(setting.key, setting.label());
    }
    const allMonitored = record.FsUsageMonitorConf.MonitoringEnable;
    const rows = record.FsUsageMonitorConf.FsThresholdConfList.map(volume => rowOf(volume, allMonitored));
    for (const row of rows) {
        values.set(row.enableKey, row.monitored);
        values.set(row.thresholdKey, row.threshold);
        labels.set(row.enableKey, enableLabel(row));
        labels.set(row.thresholdKey, thresholdLabel(row));
        if (row.spelled !== row.name) {
            spelling.set(row.enableKey, volumeKey(row.spelled, "enable"));
            spelling.set(row.thresholdKey, volumeKey(row.spelled, "threshold"));
        }
    }
    return { values, labels, spelling, rows: rows.sort(compare) };
}

export function enableLabel(row) {
    return format(_("$0: monitored"), row.shown);
}

export function thresholdLabel(row) {
    return format(_("$0: threshold in percent"), row.shown);
}

// Which rows a filter leaves: those whose name has every word of it, in any case.
export function matches(row, filter) {
    const name = row.shown.toLowerCase();
    return filter.toLowerCase().split(/\s+/).every(word => name.includes(word));
}
