#pragma once

// The WBEM names that the tool asks for.
namespace LoggerObjects {

inline constexpr char kClass[] = "VELTARO_ToolServiceLogger";
inline constexpr char kGetMethod[] = "GetParameter";
inline constexpr char kSetMethod[] = "SetParameter";

inline constexpr char kLoggerConf[] = "LoggerConf";
inline constexpr char kLoggerConfClass[] = "VELTARO_LoggerConf";
inline constexpr char kSyslog[] = "SyslogOutputConf";
inline constexpr char kCpu[] = "UsageMonitorConfCpu";
inline constexpr char kMemory[] = "UsageMonitorConfMemory";
inline constexpr char kFileSystems[] = "FsUsageMonitorConf";
inline constexpr char kVolumeList[] = "FsThresholdConfList";
inline constexpr char kVolumeName[] = "VolumeName";

} // namespace LoggerObjects
