#pragma once

#include "loggerctl/agent/CProviderCall.h"
#include "loggerctl/output/CExitCodes.h"

#include <string>
#include <vector>

struct CSetOptions {
    std::vector<std::string> m_assignments; // "KEY=VALUE", as they were written
    std::string m_sRecordFile;              // or "-"; in place of assignments
    bool m_bDryRun = false;
    bool m_bForce = false;
};

// "loggerctl set": changes settings, or replaces all of them by a record.
class CSetCommand {
public:
    // Runs the command to its end. Everything that can be found wrong beforehand is, by doing the
    // same on copies in memory: then nothing is changed, the agent's service runs on, and standard
    // error has the reasons. Standard output gets what was changed or, for a dry run, what would
    // be.
    static ExitCode Run(const CProviderFiles& files, const CSetOptions& options);
};
