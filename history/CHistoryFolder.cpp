#include "history/CHistoryFolder.h"

#include "KzmPaths.h"
#include "loggerctl/agent/CFileProblem.h"
#include "loggerctl/output/CSafeText.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t kFolderMode = 0700;
constexpr mode_t kParentMode = 0755;

// Makes the folder where it is missing, and after it is there writes that to disk.
int MakeFolder(const fs::path& path, mode_t mode) {
    if (mkdir(path.c_str(), mode) != 0) {
        return errno == EEXIST ? 0 : errno;
    }
    const CDescriptor parent(open(path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // The umask may have taken bits away.
    return parent.IsOpen() && chmod(path.c_str(), mode) == 0 && fsync(parent.Get()) == 0 ? 0
                                                                                         : errno;
}

int MakeWithParents(const fs::path& path) {
    fs::path parent;
    for (const fs::path& part : path.parent_path()) {
        parent /= part;
        const int error = MakeFolder(parent, kParentMode);
        if (error != 0) {
            return error;
        }
    }
    return MakeFolder(path, kFolderMode);
}

// What makes the folder unsafe, and what to do; empty when nothing does.
std::string FindDanger(int folder) {
    struct stat status {};
    if (fstat(folder, &status) != 0) {
        return CFileProblem::Refused(KzmPaths::kHistoryFolder, "read", errno);
    }
    const std::string path = CSafeText::Escape(KzmPaths::kHistoryFolder);
    if (status.st_uid != 0 && status.st_uid != geteuid()) {
        return path + ": is owned by neither root nor the running user. Check what it holds, then "
                      "run chown root on it.";
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return path + ": can be written by others than its owner. Check what it holds, then run "
                      "chmod 0700 on it.";
    }
    return "";
}

std::string OpenProblem(int error) {
    if (error == ENOTDIR || error == ELOOP) {
        return CSafeText::Escape(KzmPaths::kHistoryFolder) +
               ": is not a folder. Move it away: the history's folder belongs there.";
    }
    return CFileProblem::Refused(KzmPaths::kHistoryFolder, "opened", error);
}

} // namespace

CHistoryFolder::CHistoryFolder(CDescriptor folder) : m_folder(std::move(folder)) {}

std::optional<CHistoryFolder> CHistoryFolder::Open(Absent absent, std::string* error) {
    const int making = absent == Absent::Make ? MakeWithParents(KzmPaths::kHistoryFolder) : 0;
    if (making != 0) {
        *error = CFileProblem::Refused(KzmPaths::kHistoryFolder, "made", making);
        return std::nullopt;
    }
    CDescriptor folder(open(KzmPaths::kHistoryFolder, kFolderFlags));
    if (!folder.IsOpen()) {
        if (errno == ENOENT && absent == Absent::Allow) {
            return CHistoryFolder(CDescriptor());
        }
        *error = OpenProblem(errno);
        return std::nullopt;
    }
    *error = FindDanger(folder.Get());
    if (!error->empty()) {
        return std::nullopt;
    }
    while (flock(folder.Get(), LOCK_EX) != 0 && errno == EINTR) {
    }
    return CHistoryFolder(std::move(folder));
}

std::vector<std::string> CHistoryFolder::Names() const {
    std::vector<std::string> names;
    // A descriptor of its own: closing the stream closes it, too.
    const int copy = Exists() ? openat(m_folder.Get(), ".", kFolderFlags) : -1;
    DIR* stream = copy >= 0 ? fdopendir(copy) : nullptr;
    if (stream == nullptr) {
        return names;
    }
    while (const dirent* entry = readdir(stream)) {
        names.emplace_back(entry->d_name);
    }
    closedir(stream);
    std::sort(names.begin(), names.end());
    return names;
}

CDescriptor CHistoryFolder::OpenEntry(const std::string& name) const {
    return CDescriptor(openat(m_folder.Get(), name.c_str(), kFolderFlags));
}

void CHistoryFolder::RemoveEntry(const std::string& name,
                                 const std::vector<std::string>& files) const {
    const CDescriptor entry = OpenEntry(name);
    if (!entry.IsOpen()) {
        return;
    }
    for (const std::string& file : files) {
        unlinkat(entry.Get(), file.c_str(), 0);
    }
    unlinkat(m_folder.Get(), name.c_str(), AT_REMOVEDIR);
}
