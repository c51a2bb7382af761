#pragma once

#include "settings/LoggerDefinitions.h"

// The WBEM names that the tool asks for.
namespace LoggerObjects {

inline constexpr char kClass[] = "VELTARO_ToolServiceLogger";
inline constexpr char kGetMethod[] = "GetParameter";
inline constexpr char kSetMethod[] = "SetParameter";
inline constexpr char kLoggerConfClass[] = "VELTARO_LoggerConf";

using LoggerDefinitions::kLoggerConf;
using LoggerDefinitions::kVolumeName;
inline constexpr const auto& kSyslog = LoggerDefinitions::kSyslogOutputConf;
inline constexpr const auto& kCpu = LoggerDefinitions::kUsageMonitorConfCpu;
inline constexpr const auto& kMemory = LoggerDefinitions::kUsageMonitorConfMemory;
inline constexpr const auto& kFileSystems = LoggerDefinitions::kFsUsageMonitorConf;
inline constexpr const auto& kVolumeList = LoggerDefinitions::kFsThresholdConfList;

} // namespace LoggerObjects
