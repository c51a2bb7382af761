#include "tests/support/ProviderLockFile.h"

#include "KzmPaths.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

bool IsLockFree() {
    const int descriptor = open(KzmPaths::kLockFile, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_NE(-1, descriptor) << KzmPaths::kLockFile;
    const bool isFree = flock(descriptor, LOCK_EX | LOCK_NB) == 0;
    close(descriptor);
    return isFree;
}
