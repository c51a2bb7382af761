#pragma once

#include "history/CHistory.h"
#include "loggerctl/output/CExitCodes.h"

#include <optional>
#include <string>

// Finds the history entry that a command line means.
class CHistoryChoice {
public:
    // The entry of this ID, or the newest one for an empty ID. Nothing comes back when there is no
    // such entry, no entry at all, or the history cannot be read; standard error has then been told
    // why, and *exitCode is Usage in the first case and Failure in the others.
    static std::optional<CHistoryEntry> Find(const std::string& id, ExitCode* exitCode);
};
