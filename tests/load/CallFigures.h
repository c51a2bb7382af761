#pragma once

#include "tests/load/CSharedCalls.h"

#include <string>

// What calls under contention cost, as a small table: how many there were and how many gave up, the
// throughput, how long a call took, and when the callers were done with all of theirs (all in
// seconds since the first call began).
std::string CallFigures(const CSharedCalls& calls, int callers, int processes);
