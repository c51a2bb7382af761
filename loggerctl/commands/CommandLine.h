#pragma once

#include "loggerctl/output/Failure.h"

namespace commands {

// Runs what the arguments ask for, to its end, and says what it came to. Arguments as main gets
// them.
output::ExitCode Run(int argumentCount, const char* const* arguments);

} // namespace commands
