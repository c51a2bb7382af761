#pragma once

#include "settings/CLoggerConf.h"

#include <string>
#include <vector>

// Names of file systems as somebody with bad intentions would choose them.
struct HostileName {
    std::string name; // of the test
    std::string m_sBytes;
    bool m_bHeld = true; // alert.cfg can hold it
};
std::ostream& operator<<(std::ostream& out, const HostileName& row);

// Those that can be a mount point in one line of the mount command's output.
std::vector<HostileName> MountableNames();
// Those, and others that only a request can hold.
std::vector<HostileName> RequestableNames();

// Output of the mount command with one file system of this name.
std::string MountOutput(const std::string& name);

// The sample's settings with this file system, monitored at 90, in place of the sample's own.
CLoggerConf ConfWith(const std::string& name);
