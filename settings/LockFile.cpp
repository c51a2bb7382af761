#include "settings/LockFile.h"

#include "KzmPaths.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

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

// The sleep follows the last failed try, too.
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
    const bool exists = LockFileExists();
    const int descriptor = exists ? open(KzmPaths::kLockFile, O_WRONLY)
                                  : open(KzmPaths::kLockFile, O_WRONLY | O_CREAT, kLockFileMode);
    if (descriptor == -1) {
        return -1;
    }
    // A command that outlives this process, such as the mount command, shall not keep the lock.
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    // The umask may have taken bits from a new file's mode.
    const bool isReady = exists || fchmod(descriptor, kLockFileMode) == 0;
    if (!isReady || !TryToLock(descriptor)) {
        close(descriptor);
        return -1;
    }
    return descriptor;
}

void LockFile::Give(int descriptor) {
    flock(descriptor, LOCK_UN);
    close(descriptor);
}
