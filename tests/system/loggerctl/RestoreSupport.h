#pragma once

#include "tests/support/CProgram.h"

#include <string>

// What the tests of "loggerctl restore" share.

// Runs "loggerctl restore" with these words behind it.
CProgram::Result Restore(CProgram::Words arguments = {});

// Compares the result, without the IDs of new copies, with golden/restore-<name>.txt.
void ExpectGolden(const std::string& name, CProgram::Result result);
