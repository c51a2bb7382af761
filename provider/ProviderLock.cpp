#include "provider/CVELTARO_ToolServiceLogger.h"

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

bool CVELTARO_ToolServiceLogger::GetMutex() {
    const bool exists = LockFileExists();
    m_iLockFd = exists ? open(KzmPaths::kLockFile, O_WRONLY)
                       : open(KzmPaths::kLockFile, O_WRONLY | O_CREAT, kLockFileMode);
    if (m_iLockFd == -1) {
        return false;
    }
    // The umask may have taken bits from a new file's mode.
    const bool isReady = exists || fchmod(m_iLockFd, kLockFileMode) == 0;
    if (!isReady || !TryToLock(m_iLockFd)) {
        close(m_iLockFd);
        m_iLockFd = -1;
        return false;
    }
    return true;
}

bool CVELTARO_ToolServiceLogger::DelMutex() {
    if (m_iLockFd != -1) {
        flock(m_iLockFd, LOCK_UN);
        close(m_iLockFd);
        m_iLockFd = -1;
    }
    return true;
}
