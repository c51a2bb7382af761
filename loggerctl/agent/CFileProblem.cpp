#include "loggerctl/agent/CFileProblem.h"

#include "loggerctl/output/CSafeText.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace {

// Asks with the rights that opening would be judged by. Returns 0 or an error number.
int Access(const std::string& path, int mode) {
    return faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0 ? 0 : errno;
}

bool IsDirectory(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::string Sentence(const std::string& path, const std::string& what) {
    return CSafeText::Escape(path) + ": " + what;
}

} // namespace

std::string CFileProblem::Reading(const std::string& path) {
    const int error = Access(path, R_OK);
    if (error == ENOENT) {
        return Sentence(path, "does not exist. Install the agent, or put the file back.");
    }
    if (error != 0) {
        return Refused(path, "read", error);
    }
    if (IsDirectory(path)) {
        return Sentence(path, "is a directory. Put the agent's file in its place.");
    }
    return "";
}

std::string CFileProblem::Writing(const std::string& path) {
    const int error = Access(path, W_OK);
    return error == 0 ? "" : Refused(path, "written", error);
}

std::string CFileProblem::Locking(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    if (IsDirectory(path)) {
        return Sentence(path, "is a directory. Remove it: the lock file belongs there.");
    }
    int error = Access(folder, X_OK);
    if (error == ENOENT) {
        return Sentence(folder, "does not exist. Create the lock file's folder with mode 0700.");
    }
    if (error != 0) {
        return Refused(folder, "entered", error);
    }
    error = Access(path, W_OK);
    if (error == ENOENT) {
        error = Access(folder, W_OK);
        return error == 0 ? "" : Refused(path, "created", error);
    }
    return error == 0 ? "" : Refused(path, "written", error);
}

std::string CFileProblem::Refused(const std::string& path, const std::string& action, int error) {
    std::string what = "cannot be " + action + " (" + std::strerror(error) + ").";
    if ((error == EACCES || error == EPERM) && geteuid() != 0) {
        what += " Run the command as root.";
    }
    return Sentence(path, what);
}
