#pragma once

#include "history/CDescriptor.h"
#include "history/Expected.h"

#include <sys/types.h>

#include <ctime>
#include <functional>
#include <string>
#include <vector>

namespace history {

// The folder of the history and the names in it. A folder is given by its descriptor; -1 stands for
// one that does not exist, in which nothing is found. Functions that return an int return 0 or an
// error number.
inline constexpr char kReasonFile[] = "reason"; // beside the settings files in an entry

enum class Absent { Make, Allow };

// Opens a folder that only root or the running user can change; never through a symbolic link at
// the path's end. A missing one is made with this mode, its missing parents with mode 0755, or,
// with Allow, comes back as a descriptor that is not open. A problem says why it cannot be made or
// opened, or why it is not safe: no folder, owned by neither root nor the running user, or writable
// by others.
Expected<CDescriptor> OpenSafeFolder(const std::string& path, Absent absent, mode_t mode);

// The history folder, locked against other users of the history as long as it is open. A problem
// comes back also when it cannot be locked.
Expected<CDescriptor> OpenHistory(Absent absent);

// Lists what is in the folder, in ascending order.
int ListNames(int folder, std::vector<std::string>* names);

// Not open, with errno set, when there is no folder of this name, or a link to one.
CDescriptor OpenEntry(int folder, const std::string& name);

// Makes an entry that is there as a whole or not at all; `fill` is given its descriptor, and makes
// it durable or returns an error number.
int AddEntry(int folder, const std::string& id, const std::function<int(int)>& fill);

// Removes an entry; it is gone in one step.
void RemoveEntry(int folder, const std::string& id);

// Removes what was left where AddEntry or RemoveEntry did not come to their end, but no folder that
// holds files of others.
void RemoveRemains(int folder);

// The time in an ID.
std::time_t TimeOf(const std::string& id);

// An ID for a new entry. It sorts behind the newest one so far (empty: none), also when the clock
// has been set back meanwhile.
std::string NextId(std::time_t now, const std::string& newest);

} // namespace history
