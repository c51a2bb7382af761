#pragma once

class CLoggerConf;

// What is put right in requested settings before they are written. Nothing is refused and nothing
// is reported; rows are neither added, nor removed, nor reordered.
class CRequestRules {
public:
    // When the file-system monitor is off as a whole, no file system is monitored on its own.
    static void DisableVolumesOfDisabledMonitor(CLoggerConf* conf);

    // A file system that arrives without a threshold (0) gets the default.
    static void GiveDefaultThresholds(CLoggerConf* conf);
};
