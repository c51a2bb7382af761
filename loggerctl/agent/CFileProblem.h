#pragma once

#include <string>

// Finds out why files cannot be used, in words that say what to do.
class CFileProblem {
public:
    // Why the file cannot be read, as a sentence that begins with its path; empty when it can.
    static std::string Reading(const std::string& path);

    // Why the file, which can be read, cannot be written; empty when it can.
    static std::string Writing(const std::string& path);

    // Why the lock file cannot be opened, or made in its folder; empty when it can.
    static std::string Locking(const std::string& path);

    // The sentence for an operation ("read", "written", "replaced") that failed with this error
    // number. It begins with the path.
    static std::string Refused(const std::string& path, const std::string& action, int error);
};
