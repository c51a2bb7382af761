#include "history/CFileReplacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <utility>

namespace history {

namespace fs = std::filesystem;

namespace {

// Where the file itself stands. A link without a file at its end is an error: the end of a chain of
// such links is nobody's intention.
int FindFile(const std::string& path, fs::path* file) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        *file = path;
        return errno == ENOENT ? 0 : errno;
    }
    std::error_code error;
    *file = fs::canonical(path, error);
    return error.value();
}

int FindObstacle(const struct statx& status) {
    constexpr auto kUnchangeable = STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND;
    return (status.stx_attributes & kUnchangeable) != 0 ? EPERM : 0;
}

int CheckFolder(const fs::path& folder) {
    struct statx status {};
    if (faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0 ||
        statx(AT_FDCWD, folder.c_str(), 0, STATX_TYPE, &status) != 0) {
        return errno;
    }
    return FindObstacle(status);
}

int CheckFile(const fs::path& file) {
    struct statx status {};
    if (statx(AT_FDCWD, file.c_str(), AT_SYMLINK_NOFOLLOW, STATX_TYPE, &status) != 0) {
        return errno == ENOENT ? 0 : errno;
    }
    if (S_ISDIR(status.stx_mode)) {
        return EISDIR;
    }
    const int number = FindObstacle(status);
    const bool mounted = (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    return number == 0 && mounted ? EBUSY : number;
}

Expected<void> Answer(const std::string& path, const std::string& action, int number) {
    if (number != 0) {
        return tl::make_unexpected(Refused(path, action, number));
    }
    return {};
}

} // namespace

CFileReplacement::CFileReplacement(std::string path) : m_path(std::move(path)) {}

CFileReplacement::~CFileReplacement() {
    if (!m_waiting.empty()) {
        unlinkat(m_folder.Get(), m_waiting.c_str(), 0);
    }
}

Expected<void> CFileReplacement::Check(const std::string& path) {
    fs::path file;
    int number = FindFile(path, &file);
    number = number == 0 ? CheckFolder(file.parent_path()) : number;
    number = number == 0 ? CheckFile(file) : number;
    return Answer(path, "replaced", number);
}

Expected<void> CFileReplacement::Prepare(const CFileImage& image) {
    fs::path file;
    int number = FindFile(m_path, &file);
    if (number == 0) {
        m_folder =
            CDescriptor(open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        number = m_folder.IsOpen() ? 0 : errno;
    }
    if (number == 0) {
        m_name = file.filename().string();
        const std::string waiting = "." + m_name + ".loggerctl-new";
        number = WriteImage(m_folder.Get(), waiting, image);
        m_waiting = number == 0 ? waiting : "";
    }
    return Answer(m_path, "replaced", number);
}

Expected<void> CFileReplacement::Commit() {
    if (renameat(m_folder.Get(), m_waiting.c_str(), m_folder.Get(), m_name.c_str()) != 0) {
        return Answer(m_path, "replaced", errno);
    }
    m_waiting.clear();
    return Answer(m_path, "written to disk", SyncFolder(m_folder.Get()));
}

} // namespace history
