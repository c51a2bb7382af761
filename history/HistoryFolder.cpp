#include "history/HistoryFolder.h"

#include "history/DurableFile.h"
#include "history/History.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace history {

namespace fs = std::filesystem;

namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t kFolderMode = 0700;
constexpr mode_t kParentMode = 0755;
constexpr char kBeingMade[] = ".new-"; // before an ID
constexpr char kBeingRemoved[] = ".old-";
constexpr char kTimeFormat[] = "%Y%m%d-%H%M%S"; // of an ID; then a number within the second
constexpr std::size_t kTimeLength = 15;
constexpr std::size_t kIdLength = 19;
constexpr int kLastNumber = 999;

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

int MakeWithParents(const fs::path& path, mode_t mode) {
    fs::path parent;
    for (const fs::path& part : path.parent_path()) {
        parent /= part;
        const int error = MakeFolder(parent, kParentMode);
        if (error != 0) {
            return error;
        }
    }
    return MakeFolder(path, mode);
}

CProblem OpenProblem(const std::string& path, int number) {
    if (number == ENOTDIR || number == ELOOP) {
        return {path + ": is not a folder. Move it away: the history's folder belongs there.",
                number};
    }
    return Refused(path, "opened", number);
}

// What makes the folder unsafe, and what to do.
Expected<void> CheckSafety(int folder, const std::string& path, mode_t mode) {
    struct stat status {};
    if (fstat(folder, &status) != 0) {
        return tl::make_unexpected(Refused(path, "read", errno));
    }
    std::string danger;
    if (status.st_uid != 0 && status.st_uid != geteuid()) {
        danger = "is owned by neither root nor the running user. Check what it holds, then run "
                 "chown root on it.";
    } else if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        danger = "can be written by others than its owner. Check what it holds, then run chmod " +
                 std::string(mode == kParentMode ? "0755" : "0700") + " on it.";
    } else {
        return {};
    }
    return tl::make_unexpected(CProblem{path + ": " + danger, 0});
}

// A folder that holds other files than an entry does stays.
void RemoveFolder(int folder, const std::string& name) {
    const CDescriptor entry = OpenEntry(folder, name);
    if (!entry.IsOpen()) {
        return;
    }
    unlinkat(entry.Get(), kReasonFile, 0);
    for (std::size_t i = 0; i < CSettingsCopy::kPaths.size(); ++i) {
        unlinkat(entry.Get(), CSettingsCopy::Name(i).c_str(), 0);
    }
    unlinkat(folder, name.c_str(), AT_REMOVEDIR);
}

std::string FormatId(std::time_t time, int number) {
    std::tm parts{};
    std::array<char, 64> text{};
    gmtime_r(&time, &parts);
    const std::size_t length = std::strftime(text.data(), text.size(), kTimeFormat, &parts);
    std::snprintf(text.data() + length, text.size() - length, "-%03d", number);
    return text.data();
}

int NumberOf(const std::string& id) {
    return static_cast<int>(std::strtol(id.c_str() + kTimeLength + 1, nullptr, 10));
}

} // namespace

Expected<CDescriptor> OpenSafeFolder(const std::string& path, Absent absent, mode_t mode) {
    const int making = absent == Absent::Make ? MakeWithParents(path, mode) : 0;
    if (making != 0) {
        return tl::make_unexpected(Refused(path, "made", making));
    }
    CDescriptor folder(open(path.c_str(), kFolderFlags));
    if (!folder.IsOpen()) {
        if (errno == ENOENT && absent == Absent::Allow) {
            return CDescriptor();
        }
        return tl::make_unexpected(OpenProblem(path, errno));
    }
    return CheckSafety(folder.Get(), path, mode).map([&] { return std::move(folder); });
}

Expected<CDescriptor> OpenHistory(Absent absent) {
    Expected<CDescriptor> folder = OpenSafeFolder(KzmPaths::kHistoryFolder, absent, kFolderMode);
    if (!folder || !folder->IsOpen()) {
        return folder;
    }
    int error = 0;
    do {
        error = flock(folder->Get(), LOCK_EX) == 0 ? 0 : errno;
    } while (error == EINTR);
    if (error != 0) {
        return tl::make_unexpected(Refused(KzmPaths::kHistoryFolder, "locked", error));
    }
    return folder;
}

int ListNames(int folder, std::vector<std::string>* names) {
    names->clear();
    if (folder < 0) {
        return 0;
    }
    // A descriptor of its own: closing the stream closes it, too.
    const int copy = openat(folder, ".", kFolderFlags);
    DIR* const stream = copy >= 0 ? fdopendir(copy) : nullptr;
    if (stream == nullptr) {
        const int error = errno;
        CDescriptor(copy).Close();
        return error;
    }
    errno = 0; // at the end it stays so
    while (const dirent* entry = readdir(stream)) {
        names->emplace_back(entry->d_name);
    }
    const int error = errno;
    closedir(stream);
    std::sort(names->begin(), names->end());
    return error;
}

CDescriptor OpenEntry(int folder, const std::string& name) {
    return CDescriptor(openat(folder, name.c_str(), kFolderFlags));
}

int AddEntry(int folder, const std::string& id, const std::function<int(int)>& fill) {
    const std::string temporary = kBeingMade + id;
    if (mkdirat(folder, temporary.c_str(), kFolderMode) != 0) {
        return errno;
    }
    const CDescriptor entry = OpenEntry(folder, temporary);
    int error = entry.IsOpen() ? fill(entry.Get()) : errno;
    if (error == 0 && renameat(folder, temporary.c_str(), folder, id.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        RemoveFolder(folder, temporary);
        return error;
    }
    error = SyncFolder(folder);
    if (error != 0) {
        RemoveEntry(folder, id);
    }
    return error;
}

void RemoveEntry(int folder, const std::string& id) {
    const std::string removed = kBeingRemoved + id;
    if (renameat(folder, id.c_str(), folder, removed.c_str()) == 0) {
        RemoveFolder(folder, removed);
    }
}

void RemoveRemains(int folder) {
    std::vector<std::string> names;
    ListNames(folder, &names);
    for (const std::string& name : names) {
        for (const std::string prefix : {kBeingMade, kBeingRemoved}) {
            if (name.rfind(prefix, 0) == 0 && IsId(name.substr(prefix.size()))) {
                RemoveFolder(folder, name);
            }
        }
    }
}

bool IsId(const std::string& text) {
    if (text.size() != kIdLength ||
        text.find_first_not_of("0123456789", kTimeLength + 1) != std::string::npos) {
        return false;
    }
    // A date that does not exist comes out as another one.
    return FormatId(TimeOf(text), NumberOf(text)) == text;
}

std::time_t TimeOf(const std::string& id) {
    std::tm parts{};
    strptime(id.c_str(), kTimeFormat, &parts);
    return timegm(&parts);
}

std::string NextId(std::time_t now, const std::string& newest) {
    std::string id = FormatId(now, 1);
    if (id > newest) {
        return id;
    }
    const int number = NumberOf(newest) + 1;
    return number <= kLastNumber ? FormatId(TimeOf(newest), number)
                                 : FormatId(TimeOf(newest) + 1, 1);
}

} // namespace history
