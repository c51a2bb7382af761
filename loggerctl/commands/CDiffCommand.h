#pragma once

#include "loggerctl/output/CExitCodes.h"

#include <string>

// "loggerctl diff": shows what has changed in the settings files since a copy was kept.
class CDiffCommand {
public:
    // Runs the command to its end, for the newest copy when the ID is empty. A file that does not
    // exist now is shown as an empty one.
    static ExitCode Run(const std::string& id);
};
