#pragma once

#include "history/History.h"
#include "tests/system/server/whole/CWholeServer.h"

#include <string>
#include <vector>

// What the server did, and what it left.
namespace changes {

using Texts = std::vector<std::string>;

// The vendor's commands of one change.
Texts CommandsOfOne();

// The copies in the history, the newest first; none when there is no history.
std::vector<history::CEntry> Kept();

// Both files as they were made, or as a change to ChangedConf() makes them.
void ExpectUntouchedFiles();
void ExpectChangedFiles();

// Neither the provider's lock nor the callers' is held.
void ExpectFreeLocks();

// Another client can call both methods. Afterwards the settings are ChangedConf().
void ExpectUsable(const CWholeServer& server);

} // namespace changes
