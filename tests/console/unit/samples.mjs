// Samples of what the tool says.

export function volume(VolumeName, Threshold, VolMonitoringEnable, InUse) {
    return { VolumeName, Threshold, VolMonitoringEnable, InUse };
}

export function record(volumes) {
    return {
        SyslogOutputConf: { SyslogOutput: true, InformationAlert: false, WarningAlert: true, ObstacleAlert: true },
        UsageMonitorConfCpu: { MonitoringEnable: true, SamplingInterval: 60, SamplingCount: 5, Threshold: 90 },
        UsageMonitorConfMemory: { MonitoringEnable: false, SamplingInterval: 30, SamplingCount: 3, Threshold: 85 },
        FsUsageMonitorConf: { MonitoringEnable: true, SamplingInterval: 300, SamplingCount: 2, FsThresholdConfList: volumes },
    };
}

export function entry(Id, Reason, Differs = ["alert.cfg"], more = {}) {
    return { Id, Time: "2026-11-21T08:30:00Z", Reason, Differs, User: "root", SudoUser: "", From: "", Missing: [], ...more };
}
