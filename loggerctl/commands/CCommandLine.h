#pragma once

#include "loggerctl/output/CExitCodes.h"

// The command line: what can be asked for, and the help about it.
class CCommandLine {
public:
    // Runs what the arguments ask for, to its end. Arguments as main gets them.
    static ExitCode Run(int argumentCount, const char* const* arguments);
};
