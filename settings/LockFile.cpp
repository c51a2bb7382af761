#include "settings/LockFile.h"

#include "settings/CCancellationBlock.h"

#include "KzmPaths.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <utility>

namespace {

constexpr int kLockTries = 30;
constexpr unsigned int kSecondsBetweenTries = 1;
constexpr mode_t kLockFileMode = 0600;

bool LockFileExists() {
    FILE* file = std::fopen(KzmPaths::kLockFile, "r");
    if (file == nullptr) {
        return false;
    }
    std::fclose(file);
    return true;
}

// Gives closed standard streams to /dev/null. A file that is opened takes the lowest number that is
// free: a settings file with the number of standard error would be written to by whoever prints
// there. False when it cannot be done.
bool OccupyStandardStreams() {
    const auto isOpen = [](int stream) { return fcntl(stream, F_GETFD) != -1; };
    if (isOpen(STDIN_FILENO) && isOpen(STDOUT_FILENO) && isOpen(STDERR_FILENO)) {
        return true;
    }
    int descriptor = -1;
    do {
        descriptor = open("/dev/null", O_RDWR);
        if (descriptor == -1) {
            return false;
        }
    } while (descriptor <= STDERR_FILENO);
    close(descriptor); // one more than is needed
    return true;
}

// Closes the lock file of a caller who did not get the lock, or who is cancelled while he waits.
class CUnlockedFile {
public:
    explicit CUnlockedFile(int descriptor) : m_iDescriptor(descriptor) {}
    ~CUnlockedFile() {
        if (m_iDescriptor != -1) {
            const CCancellationBlock block;
            close(m_iDescriptor);
        }
    }
    CUnlockedFile(const CUnlockedFile&) = delete;
    CUnlockedFile& operator=(const CUnlockedFile&) = delete;

    int Keep() { return std::exchange(m_iDescriptor, -1); }

private:
    int m_iDescriptor;
};

// The descriptor of the lock file, not locked yet; -1 when there is none to be had.
int OpenLockFile() {
    const CCancellationBlock block;
    if (!OccupyStandardStreams()) {
        return -1;
    }
    const bool exists = LockFileExists();
    const int descriptor = exists ? open(KzmPaths::kLockFile, O_WRONLY)
                                  : open(KzmPaths::kLockFile, O_WRONLY | O_CREAT, kLockFileMode);
    if (descriptor == -1) {
        return -1;
    }
    // A command that outlives this process, such as the mount command, shall not keep the lock.
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    // The umask may have taken bits from a new file's mode.
    CUnlockedFile file(descriptor);
    const bool isReady = exists || fchmod(descriptor, kLockFileMode) == 0;
    return isReady ? file.Keep() : -1;
}

// The sleep follows the last failed try, too. The caller can be cancelled in it.
bool TryToLock(int descriptor) {
    for (int tries = 0; tries < kLockTries; ++tries) {
        if (flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
            return true;
        }
        sleep(kSecondsBetweenTries);
    }
    return false;
}

} // namespace

int LockFile::Take() {
    const int descriptor = OpenLockFile();
    if (descriptor == -1) {
        return -1;
    }
    CUnlockedFile file(descriptor);
    return TryToLock(descriptor) ? file.Keep() : -1;
}

void LockFile::Give(int descriptor) {
    const CCancellationBlock block;
    flock(descriptor, LOCK_UN);
    close(descriptor);
}
