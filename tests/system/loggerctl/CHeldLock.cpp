#include "tests/system/loggerctl/CHeldLock.h"

#include "KzmPaths.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

CHeldLock::CHeldLock() : m_iFile(open(KzmPaths::kLockFile, O_WRONLY | O_CREAT | O_CLOEXEC, 0600)) {
    EXPECT_EQ(flock(m_iFile, LOCK_EX | LOCK_NB), 0);
}

CHeldLock::~CHeldLock() {
    close(m_iFile);
}

void CHeldLock::Release() const {
    flock(m_iFile, LOCK_UN);
}
