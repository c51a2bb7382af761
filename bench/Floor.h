#pragma once

#include <string>

// The work that no implementation of the methods can avoid, written as plainly as it goes, to be
// measured beside them.
namespace Floor {

// Runs the mount command and reads its output to the end.
void RunMountCommand();

// Runs one command of the agent, /bin/true, to its end.
void RunAgentCommand();

// Reads a file to its end and returns its text.
std::string ReadWhole(const char* path);

// Writes a text into a file that exists, each line with a write of its own.
void WriteLines(const char* path, const std::string& text);

// GetParameter: one agent command, one run of the mount command, both files read once.
void GetParameter();

// SetParameter: three agent commands, one run of the mount command, both files read once and
// written once, line by line.
void SetParameter();

} // namespace Floor
