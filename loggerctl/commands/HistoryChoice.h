#pragma once

#include "history/History.h"
#include "loggerctl/output/Failure.h"

#include <optional>
#include <string>

namespace commands {

// The kept copy that a command line means: of this ID, or of this number in the list of copies, of
// which the newest is 1; the newest one when nothing is given. Wrong usage when there is no such
// copy; a failure when there is none at all, or the history cannot be read.
output::Expected<history::CEntry> FindEntry(const std::optional<std::string>& id);

} // namespace commands
