#pragma once

#include "loggerctl/agent/CProviderCall.h"
#include "loggerctl/output/CExitCodes.h"

#include <string>
#include <vector>

struct CGetOptions {
    bool m_bJson = false;
    bool m_bNoUsage = false;
    std::vector<std::string> m_keys; // as they were written; not together with m_bJson
};

// "loggerctl get": shows the settings as tables, as JSON, or the values of single keys.
class CGetCommand {
public:
    // Runs the command to its end. Standard output gets the whole answer or, where it fails,
    // nothing; standard error the reasons.
    static ExitCode Run(const CProviderFiles& files, const CGetOptions& options);
};
