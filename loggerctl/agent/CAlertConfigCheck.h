#pragma once

#include <string>

// Looks into alert.cfg for the reason why a reader refused it. What comes back is a sentence that
// names the file, the line and the key, and says what to do; it is empty when nothing is wrong.
class CAlertConfigCheck {
public:
    // The CPU line, then the MEMORY line.
    static std::string FindMonitorProblem(const std::string& path);

    // The FILESYSTEM and FSNAME lines.
    static std::string FindFileSystemProblem(const std::string& path);
};
