#pragma once

#include "history/History.h"

#include <optional>
#include <string>
#include <vector>

namespace history {

// How the entries are read. A folder is given by its descriptor; in -1 nothing is found. What is
// not there is told from what cannot be read.
using Names = std::vector<std::string>;

// The path of something in the history folder, and the problem that it cannot be read.
std::string PathOf(const std::string& name);
CProblem NotRead(const std::string& name, int error);

// Reads a small file. Returns 0 or an error number; sets no text where there is no regular file of
// that name.
int ReadText(int folder, const std::string& name, std::optional<std::string>* text);

// Nothing when there is no such entry, or not the whole of it.
Expected<std::optional<CEntry>> ReadEntry(int folder, const std::string& id);

// In ascending order.
Expected<std::vector<CEntry>> ReadEntries(int folder);

// The files of an entry.
Expected<CSettingsCopy> LoadFrom(int folder, const std::string& id);

} // namespace history
