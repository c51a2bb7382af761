#include "history/DurableFile.h"

#include "history/CDescriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace history {

namespace {

constexpr mode_t kModeBits = 07777;

int ErrorOf(int result) {
    return result == 0 ? 0 : errno;
}

int ReadAll(int descriptor, std::string* text) {
    std::array<char, 4096> buffer{};
    while (true) {
        const ssize_t count = read(descriptor, buffer.data(), buffer.size());
        if (count == 0) {
            return 0;
        }
        if (count > 0) {
            text->append(buffer.data(), static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return errno;
        }
    }
}

// Only root may give a file away; nobody needs to when it is right already.
int SetOwner(int descriptor, const CFileImage& image) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        return errno;
    }
    if (status.st_uid == image.m_owner && status.st_gid == image.m_group) {
        return 0;
    }
    return ErrorOf(fchown(descriptor, image.m_owner, image.m_group));
}

// Everything about a new file, in an order in which nothing undoes what came before: a change of
// the owner clears bits of the mode.
int Fill(int descriptor, const CFileImage& image) {
    int error = CDescriptor::WriteAll(descriptor, image.m_text);
    if (error == 0) {
        error = SetOwner(descriptor, image);
    }
    if (error == 0) {
        error = ErrorOf(fchmod(descriptor, image.m_mode));
    }
    if (error == 0) {
        const std::array<std::timespec, 2> times{image.m_modified, image.m_modified};
        error = ErrorOf(futimens(descriptor, times.data()));
    }
    if (error == 0) {
        error = ErrorOf(fsync(descriptor));
    }
    return error;
}

} // namespace

bool CFileImage::IsSame(const CFileImage& other) const {
    if (m_missing || other.m_missing) {
        return m_missing == other.m_missing;
    }
    return m_text == other.m_text && m_owner == other.m_owner && m_group == other.m_group &&
           m_mode == other.m_mode;
}

int ReadImage(int folder, const std::string& name, Links links, CFileImage* image) {
    const int noFollow = links == Links::Refuse ? O_NOFOLLOW : 0;
    // Without O_NONBLOCK the opening of a named pipe would wait for a writer.
    const CDescriptor file(
        openat(folder, name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | noFollow));
    struct stat status {};
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0) {
        return errno;
    }
    if (!S_ISREG(status.st_mode)) {
        return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    }
    CFileImage found;
    const int error = ReadAll(file.Get(), &found.m_text);
    if (error != 0) {
        return error;
    }
    found.m_owner = status.st_uid;
    found.m_group = status.st_gid;
    found.m_mode = status.st_mode & kModeBits;
    found.m_modified = status.st_mtim;
    *image = found;
    return 0;
}

int WriteImage(int folder, const std::string& name, const CFileImage& image) {
    if (unlinkat(folder, name.c_str(), 0) != 0 && errno != ENOENT) {
        return errno;
    }
    CDescriptor file(
        openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file.IsOpen()) {
        return errno;
    }
    int error = Fill(file.Get(), image);
    const int closing = file.Close();
    error = error == 0 ? closing : error;
    if (error != 0) {
        unlinkat(folder, name.c_str(), 0);
    }
    return error;
}

int SyncFolder(int folder) {
    return ErrorOf(fsync(folder));
}

} // namespace history
