#pragma once

#include "comlib/KzmApi.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

// What a device description file says: which command line answers each command name, and how long a
// command may take. The file has one setting a line, blank lines and lines that begin with '#'
// apart:
//
//     CheckInstall=/usr/bin/test ! -d /opt/agent
//     ServiceStop="/opt/my agent/control" stop
//     ServiceStart="/opt/my agent/control" start
//     ServiceStatus="/opt/my agent/control" is-running
//     TimeoutSeconds=60
//
// ServiceStatus is optional and asked for by tools alone: 0 says that the service runs, another
// status (3 by custom) that it is stopped.
//
// A name consists of letters, digits, '_' and '-', and stands first on its line. A command line is
// split into words at blanks; double quotes group, and nothing else is special.
struct KZM_API CDeviceDescription {
    using Words = std::vector<std::string>;

    std::map<std::string, Words> m_commands;
    std::chrono::seconds m_timeout{60};

    // Reads a file. Nothing comes back, and the reason is traced at level 2, when the file is not a
    // regular file, cannot be read, is larger than 64 KiB, can be written by others than its owner,
    // is owned by neither root nor the running user, or holds a line that is none of the above
    // (unknown forms, control characters, an unclosed quote, an empty command, a time-out that is
    // not a whole number from 1 to 86400, a name given twice). A file that does not exist is no
    // description: nothing comes back, without a line.
    static std::optional<CDeviceDescription> Read(const std::string& path);
};
