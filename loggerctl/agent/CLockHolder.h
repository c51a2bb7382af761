#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

// Who holds the lock on a file. Looks it up in the kernel's list; never takes the lock to find out.
class CLockHolder {
public:
    // The process that took the exclusive flock on the file. Nothing comes back when nobody holds
    // it, the file does not exist, the list cannot be read, or the holder is outside of this PID
    // namespace. Works on any thread.
    static std::optional<pid_t> Find(const std::string& lockFile);

    // The same from the text of /proc/locks, for a file given by device and inode.
    static std::optional<pid_t> FindInList(const std::string& list, dev_t device, ino_t inode);

    // "process 1234 (name)", or "process 1234" when the name cannot be read; safe to print.
    static std::string Describe(pid_t process);
};
