#pragma once

#include "history/History.h"

#include <string>
#include <vector>

namespace history {

// The texts of the history's own files. None of these functions fails: any text means something,
// and lines that are not known are passed over.

// An entry's file "reason": the reason, then lines "user=", "sudo=", "from=" of what is known, and
// "missing=" for each file that did not exist. Each value is made one line: control characters
// become blanks.
std::string EntryText(const std::string& reason, const COrigin& origin,
                      const std::vector<std::string>& missing);

// Sets the reason, the origin as far as the text has it, and the names that it calls missing, in
// its order. Of two lines with one origin the last counts.
void ReadEntryText(const std::string& text, CEntry* entry);

// An older format holds an empty file for one that was missing, and only the end of the reason
// names it: what is appended for each such file, and whether a reason ends so for this name, with
// nothing but the other names behind it.
std::string MissingText(const std::string& name);
bool SaysMissing(std::string reason, const std::string& wanted);

// The file that remembers a restore: both IDs, a line each. Read, they are what stands there,
// whether or not there are such entries.
std::string PendingText(const CPendingRestore& pending);
CPendingRestore ReadPendingText(const std::string& text);

} // namespace history
