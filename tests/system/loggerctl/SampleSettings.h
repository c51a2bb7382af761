#pragma once

#include "providerbase/IWbemClassObject.h"

#include <memory>
#include <string>
#include <vector>

// A "LoggerConf" object as the provider delivers it: syslog output on but information alerts off,
// CPU (on, 60, 5, 90), memory (off, 30, 3, 85), file systems (on, 300, 2). The file systems have
// the names given, are monitored in turn (the first is), and have the thresholds 80, 81, 82, ...
std::unique_ptr<IWbemClassObject> MakeLoggerConf(const std::vector<std::string>& volumes);

// The definition of one of its classes: "LoggerConf", "SyslogOutputConf", "UsageMonitorConf",
// "FsUsageMonitorConf" and "Volume". Null for an unknown name.
const IWbemClassObject* SampleDefinition(const std::string& className);
