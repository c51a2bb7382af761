#pragma once

#include <string>

// Looks into the agent's two files for the reason why a reader refused them. What comes back is a
// sentence that names the file, the line, the key and its value, and says what to do; it is safe to
// print, and empty when nothing is wrong. Lines are taken apart by the readers' own functions.
namespace agent {

// The switches of agent.cfg.
std::string FindAgentProblem(const std::string& path);

// The CPU line, then the MEMORY line of alert.cfg.
std::string FindMonitorProblem(const std::string& path);

// The FILESYSTEM and FSNAME lines of alert.cfg.
std::string FindFileSystemProblem(const std::string& path);

} // namespace agent
