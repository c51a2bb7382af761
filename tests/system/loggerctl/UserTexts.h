#pragma once

#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

// What the help says, for comparison with the texts that are kept apart from it.
namespace UserTexts {

using Names = std::set<std::string>;
using CommandOptions = std::map<std::string, Names>; // "": the program's own

Names AllMatches(const std::string& text, const std::regex& pattern);
std::vector<std::string> Lines(const std::string& text);

// The text as one word of a shell.
std::string Quoted(const std::string& text);

// What a shell command prints to both of its outputs.
std::string OutputOf(const std::string& command);

// The help of a command, or the program's own.
std::string Help(const std::string& command);

// The long options of each command, --help left out but for the program's own.
CommandOptions OptionsInHelp();

} // namespace UserTexts
