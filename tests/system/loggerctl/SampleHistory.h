#pragma once

#include <string>
#include <vector>

// Makes and looks at entries of the history by hand. All of it stands below the root of CTestRoot.
namespace SampleHistory {

inline constexpr char kOlder[] = "20260102-030405-001";
inline constexpr char kNewer[] = "20260203-040506-007";

// Good settings files, two of each.
inline constexpr char kAgentConfig[] = "SyslogOutput=False\nInformationAlert=False\n"
                                       "WarningAlert=False\nObstacleAlert=False\n";
inline constexpr char kAlertConfig[] =
    "CPU=(False, 1, 2, 3)\nMEMORY=(False, 1, 2, 3)\nFILESYSTEM=(False, 1, 2)\n";
inline constexpr char kNewerAgentConfig[] = "SyslogOutput=True\nInformationAlert=True\n"
                                            "WarningAlert=True\nObstacleAlert=True\n";
inline constexpr char kNewerAlertConfig[] =
    "CPU=(True, 4, 5, 6)\nMEMORY=(True, 4, 5, 6)\nFILESYSTEM=(True, 4, 5)\n";

// The path of something in the history folder.
std::string Path(const std::string& name);

// Makes the history folder, mode 0700.
void MakeFolder();

// Makes a complete entry, the files of mode 0644 and owned by the running user.
void Add(const std::string& id, const std::string& reason, const std::string& agentConfig,
         const std::string& alertConfig);

// The names in the history folder, in ascending order; none when there is no such folder.
std::vector<std::string> Names();

// The text with every ID that is neither of the two above as NEWID.
std::string WithoutNewIds(std::string text);

} // namespace SampleHistory
