#pragma once

#include "tests/fault/CToolRun.h"

#include <string>

// Whether what a command says is so.
namespace ToolTruth {

// Expects, of a run in which a system call failed, in every one of these cases:
//   0           both files are what was asked for, byte for byte, and the service was restarted
//   otherwise   it says why; when it says that nothing was done, nothing was; each file is as it
//   was
//               or as it was asked for and the service runs, or it names the commands that bring
//               that about, and they do
// and that no lock is held, no process or descriptor is left, and history and restore go on.
void Expect(const CToolCommand& command, const CToolObservation& observation, const CTestRoot& root,
            bool isErrorStreamFaulty);

// The outcome in words, for the table.
std::string Describe(const CToolCommand& command, const CToolObservation& observation);

} // namespace ToolTruth
