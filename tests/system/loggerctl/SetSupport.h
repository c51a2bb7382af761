#pragma once

#include "tests/support/CProgram.h"
#include "tests/support/CTestRoot.h"

#include <map>
#include <string>

// What the tests of "loggerctl set" share.

// Runs "loggerctl set" with these words behind it.
CProgram::Result RunSet(const CProgram::Words& arguments);

// The result with ID in place of the IDs of kept copies.
CProgram::Result WithoutIds(CProgram::Result result);

// Compares the result, without IDs, with golden/set-<name>.txt, in which "_" is "-".
void ExpectGolden(std::string name, const CProgram::Result& result);

// What is below the test root, with kind, size and time of each; without the lock file and the
// record of the vendor's commands, which reading the settings changes, too.
std::map<std::string, std::string> Tree();

// Gives the device description's command another command line.
void SetVendorCommand(const std::string& name, const std::string& commandLine);

// Runs the program as somebody whom permission bits hold back, although the tests may run as root.
void ObeyPermissions(CProgram* program);
