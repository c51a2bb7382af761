#pragma once

// The words of the agent's files and of the WBEM objects that more than one place uses.
namespace LoggerDefinitions {

// alert.cfg: keys that are read together with their "=", and the marker in front of a file system
// that is not monitored.
inline constexpr char kCpuKey[] = "CPU";
inline constexpr char kMemoryKey[] = "MEMORY";
inline constexpr char kFileSystemKey[] = "FILESYSTEM";
inline constexpr char kFsNameKey[] = "FSNAME=";
inline constexpr char kDisabledMarker[] = "#KZM# ";
inline constexpr char kFieldSeparator[] = ",";
inline constexpr unsigned int kUsageMonitorFields = 4;
inline constexpr unsigned int kFsUsageMonitorFields = 3;

// Switch values in both files.
inline constexpr char kTrue[] = "True";
inline constexpr char kFalse[] = "False";

// WBEM properties: the whole record and its parts ...
inline constexpr char kLoggerConf[] = "LoggerConf";
inline constexpr char kSyslogOutputConf[] = "SyslogOutputConf";
inline constexpr char kUsageMonitorConfCpu[] = "UsageMonitorConfCpu";
inline constexpr char kUsageMonitorConfMemory[] = "UsageMonitorConfMemory";
inline constexpr char kFsUsageMonitorConf[] = "FsUsageMonitorConf";

// ... and those of the usage monitors.
inline constexpr char kMonitoringEnable[] = "MonitoringEnable";
inline constexpr char kSamplingInterval[] = "SamplingInterval";
inline constexpr char kSamplingCount[] = "SamplingCount";
inline constexpr char kThreshold[] = "Threshold";
inline constexpr char kFsThresholdConfList[] = "FsThresholdConfList";
inline constexpr char kVolumeName[] = "VolumeName";
inline constexpr char kVolMonitoringEnable[] = "VolMonitoringEnable";

// Percent; the threshold of a file system that nobody has given one.
inline constexpr int kDefaultThreshold = 80;

// The device whose description tells how the agent is controlled.
inline constexpr char kDevice[] = "Logger";

// The status member of every record.
inline constexpr int kRecordValid = 0;
inline constexpr int kRecordFailed = 1;

} // namespace LoggerDefinitions
