#pragma once

#include "loggerctl/output/CTerminal.h"

#include <string>

namespace output {

// The difference of two texts as people and patch(1) read it.
// A unified diff with three lines of context around each change, under the given names; empty when
// the texts are equal. The texts' bytes stand in it as they are.
//
// It is as short as possible for up to 1000 lines that differ in texts of up to 40,000, and beyond
// that as long as finding it does not take too much time and memory. Otherwise everything between
// the first difference and the last counts as different.
std::string UnifiedDiff(const std::string& oldText, const std::string& newText,
                        const std::string& oldName, const std::string& newName);

// One or more unified diffs as an output may take them: off a terminal byte for byte, so that they
// can be piped to patch; on one made safe line by line, tabs apart, and coloured where colour is
// allowed: names bold, places of hunks cyan, removed lines red, added ones green.
std::string ForOutput(const std::string& diff, const CTerminal& terminal);

} // namespace output
