#pragma once

#include "settings/CLoggerConf.h"

#include <string>
#include <vector>

// Settings as the provider delivers them: syslog output on but information alerts off, CPU (on, 60,
// 5, 90), memory (off, 30, 3, 85), file systems (on, 300, 2). The file systems have the names
// given, are monitored in turn (the first is), and have the thresholds 80, 81, 82, ...
CLoggerConf MakeLoggerConf(const std::vector<std::string>& volumes);
