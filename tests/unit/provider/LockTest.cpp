// The provider lock, without its slow case.

#include "tests/support/CTestRoot.h"
#include "tests/support/CWithoutFilePrivileges.h"
#include "tests/unit/provider/ScriptedCall.h"

#include "KzmPaths.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

namespace fs = std::filesystem;

namespace {

class Lock : public testing::Test {
protected:
    Lock() { CScript::Reset(); }

    static bool IsHeldBySomebody() {
        const int descriptor = open(KzmPaths::kLockFile, O_RDONLY | O_CLOEXEC);
        const bool isHeld = flock(descriptor, LOCK_EX | LOCK_NB) == -1;
        close(descriptor);
        return isHeld;
    }

    static mode_t Mode() {
        struct stat status {};
        EXPECT_EQ(0, stat(KzmPaths::kLockFile, &status));
        return status.st_mode & 07777;
    }

    static std::size_t OpenDescriptors() {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
    }

    CTestRoot m_root;
    CVELTARO_ToolServiceLogger m_provider;
};

TEST_F(Lock, FileIsMadeForItsOwnerAlone) {
    for (const mode_t mask : {0U, 022U, 0777U}) {
        fs::remove(KzmPaths::kLockFile);
        const mode_t before = umask(mask);
        EXPECT_TRUE(m_provider.GetMutex());
        umask(before);
        EXPECT_EQ(0600U, Mode());
        EXPECT_TRUE(IsHeldBySomebody());
        EXPECT_TRUE(m_provider.DelMutex());
    }
}

TEST_F(Lock, FileThatIsThereKeepsItsModeAndContents) {
    WriteFile(KzmPaths::kLockFile, "left by an operator\n");
    ASSERT_EQ(0, chmod(KzmPaths::kLockFile, 0640));
    EXPECT_TRUE(m_provider.GetMutex());
    EXPECT_NE(-1, m_provider.m_iLockFd);
    EXPECT_TRUE(m_provider.DelMutex());
    EXPECT_EQ(0640U, Mode());
    EXPECT_EQ("left by an operator\n", ReadFile(KzmPaths::kLockFile));
}

TEST_F(Lock, IsFreedAndCanBeTakenAgain) {
    const std::size_t descriptors = OpenDescriptors();
    for (int round = 0; round < 3; ++round) {
        EXPECT_TRUE(m_provider.GetMutex());
        EXPECT_TRUE(IsHeldBySomebody());
        EXPECT_TRUE(m_provider.DelMutex());
        EXPECT_FALSE(IsHeldBySomebody());
        EXPECT_EQ(-1, m_provider.m_iLockFd);
    }
    EXPECT_EQ(descriptors, OpenDescriptors());
}

TEST_F(Lock, IsNotHandedToProgramsThatAreStarted) {
    for (const bool exists : {false, true}) {
        EXPECT_EQ(exists, fs::exists(KzmPaths::kLockFile));
        EXPECT_TRUE(m_provider.GetMutex());
        EXPECT_EQ(FD_CLOEXEC, fcntl(m_provider.m_iLockFd, F_GETFD));
        EXPECT_TRUE(m_provider.DelMutex());
    }
}

TEST_F(Lock, FreeingWithoutHoldingDoesNothing) {
    EXPECT_TRUE(m_provider.DelMutex());
    EXPECT_EQ(-1, m_provider.m_iLockFd);
    EXPECT_FALSE(fs::exists(KzmPaths::kLockFile));
}

TEST_F(Lock, FileThatCannotBeOpenedFailsAtOnce) {
    struct Row {
        const char* name;
        void (*prepare)();
    };
    const Row rows[] = {
        {"present, not writable", [] { chmod(KzmPaths::kLockFile, 0400); }},
        {"neither readable nor writable", [] { chmod(KzmPaths::kLockFile, 0); }},
        {"a folder",
         [] {
             fs::remove(KzmPaths::kLockFile);
             fs::create_directory(KzmPaths::kLockFile);
         }},
        {"no folder to make it in",
         [] { fs::remove_all(fs::path(KzmPaths::kLockFile).parent_path()); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        fs::create_directories(fs::path(KzmPaths::kLockFile).parent_path());
        fs::remove(KzmPaths::kLockFile);
        WriteFile(KzmPaths::kLockFile, "");
        row.prepare();
        const std::size_t descriptors = OpenDescriptors();
        const auto start = std::chrono::steady_clock::now();
        {
            const CWithoutFilePrivileges privileges;
            EXPECT_FALSE(m_provider.GetMutex());
        }
        EXPECT_GT(std::chrono::milliseconds(900), std::chrono::steady_clock::now() - start);
        EXPECT_EQ(-1, m_provider.m_iLockFd);
        EXPECT_EQ(descriptors, OpenDescriptors());
    }
}

TEST_F(Lock, WaitsForAHolderInTheSameProcess) {
    CVELTARO_ToolServiceLogger other;
    ASSERT_TRUE(other.GetMutex());
    std::thread holder([&other] {
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        other.DelMutex();
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(m_provider.GetMutex());
    const auto waited = std::chrono::steady_clock::now() - start;
    holder.join();
    // Tries at 0, 1 and 2 seconds; the third finds it free.
    EXPECT_LE(std::chrono::milliseconds(1900), waited);
    EXPECT_GT(std::chrono::milliseconds(2900), waited);
    m_provider.DelMutex();
}

} // namespace
