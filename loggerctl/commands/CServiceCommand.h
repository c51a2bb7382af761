#pragma once

#include "loggerctl/output/CExitCodes.h"

#include <string>

// "loggerctl service": starts or stops the agent's service, or says whether it runs.
class CServiceCommand {
public:
    // Runs the command to its end. The action is "start", "stop" or "status"; another one is wrong
    // usage. Starting and stopping hold the settings lock.
    static ExitCode Run(const std::string& action);
};
