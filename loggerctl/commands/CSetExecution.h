#pragma once

#include "loggerctl/agent/CProviderCall.h"
#include "loggerctl/agent/CSettingsTexts.h"
#include "loggerctl/record/CSettingsChange.h"

#include <string>
#include <vector>

// The change itself, when nothing speaks against it any more.
class CSetExecution {
public:
    // Keeps copies of both files, calls SetParameter, and says what was changed. Refuses, before
    // the agent's service is stopped, when the files cannot be written or kept, or no longer hold
    // the texts that `expected` has. After a failure of the call, standard error also has the
    // state that the host is in.
    static ExitCode Run(const CProviderFiles& files, IWbemClassObject* inParams,
                        const CSettingsTexts& expected, const std::vector<CSettingsChange>& changes,
                        const std::string& reason);
};
