#pragma once

#include "loggerctl/output/CExitCodes.h"

#include <string>

// "loggerctl history": lists the kept copies of the settings files.
class CHistoryCommand {
public:
    // Runs the command to its end: a table, or JSON.
    static ExitCode Run(bool json);
};
