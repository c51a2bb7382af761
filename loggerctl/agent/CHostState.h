#pragma once

#include "loggerctl/agent/CSettingsTexts.h"

#include <string>

struct CProviderAnswer;

// What a failed SetParameter leaves the host with.
class CHostState {
public:
    // Tells standard error whether the files have changed since they held `before`, and how, what
    // the agent's service does, and the commands that mend both. `id` names the copies kept of the
    // files before. Asks the service for its status when the call had come as far as stopping it.
    static void Write(const CProviderAnswer& answer, const CSettingsTexts& before,
                      const std::string& id);

    // How far the call had come, from what it traced.
    enum class Stage {
        NotBegun,    // the service was not touched
        StopFailed,  // nothing was written
        Stopped,     // the service was stopped, and not started again
        StartFailed, // the files were written and verified
        Unknown,     // an exception ended it somewhere
    };
    static Stage StageOf(const CProviderAnswer& answer);
};
