// The provider lock.

#include "settings/LockFile.h"
#include "tests/support/CPthread.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/CWithoutFilePrivileges.h"
#include "tests/unit/provider/ScriptedCall.h"

#include "KzmPaths.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::function<void(unsigned int seconds)> atSleep; // in place of sleeping, when there is one

} // namespace

// The linker lets the provider's sources call these in place of sleep.
extern "C" unsigned int __real_sleep(unsigned int seconds);
extern "C" unsigned int __wrap_sleep(unsigned int seconds) {
    if (!atSleep) {
        return __real_sleep(seconds);
    }
    atSleep(seconds);
    return 0;
}

namespace {

class Lock : public testing::Test {
protected:
    Lock() { CScript::Reset(); }
    ~Lock() override { atSleep = nullptr; }

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

// Closes the standard streams of this set, by bits, and brings all three back at its end.
class CClosedStreams {
public:
    explicit CClosedStreams(unsigned int set) {
        for (const int stream : {0, 1, 2}) {
            m_kept[stream] = fcntl(stream, F_DUPFD_CLOEXEC, 3);
            if ((set >> stream & 1U) != 0) {
                close(stream);
            }
        }
    }
    ~CClosedStreams() {
        for (const int stream : {0, 1, 2}) {
            dup2(m_kept[stream], stream);
            close(m_kept[stream]);
        }
    }
    CClosedStreams(const CClosedStreams&) = delete;
    CClosedStreams& operator=(const CClosedStreams&) = delete;

private:
    int m_kept[3];
};

TEST_F(Lock, FileNeverHasTheNumberOfAStandardStream) {
    for (unsigned int set = 0; set < 8; ++set) {
        SCOPED_TRACE(set);
        const CClosedStreams closed(set);
        const int descriptor = LockFile::Take();
        EXPECT_LT(2, descriptor);
        for (const int stream : {0, 1, 2}) {
            EXPECT_NE(-1, fcntl(stream, F_GETFL));
        }
        LockFile::Give(descriptor);
    }
}

// Puts a file that cannot be opened in the place of the null device, for this thread alone. False
// where that is not allowed.
bool HideNullDevice(const std::string& file) {
    return chmod(file.c_str(), 0) == 0 && unshare(CLONE_NEWNS) == 0 &&
           mount("none", "/", "", MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount(file.c_str(), "/dev/null", "", MS_BIND, nullptr) == 0;
}

TEST_F(Lock, IsNotTakenWithAClosedStreamAndWithoutANullDevice) {
    const std::string file = CTestRoot::Path("/null");
    WriteFile(file, "");
    bool isHidden = false;
    CPthread thread([&] {
        isHidden = HideNullDevice(file);
        if (!isHidden) {
            return;
        }
        const CWithoutFilePrivileges obeying;
        const int taken = LockFile::Take();
        EXPECT_LT(2, taken);
        LockFile::Give(taken);
        const CClosedStreams closed(1);
        EXPECT_EQ(-1, LockFile::Take());
    });
    EXPECT_FALSE(thread.WasCancelled());
    if (!isHidden) {
        GTEST_SKIP() << "this user cannot hide the null device";
    }
}

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

TEST_F(Lock, IsTriedOnceASecondUntilItsHolderGivesIt) {
    CVELTARO_ToolServiceLogger other;
    ASSERT_TRUE(other.GetMutex());
    std::vector<unsigned int> sleeps;
    atSleep = [&sleeps, &other](unsigned int seconds) {
        sleeps.push_back(seconds);
        if (sleeps.size() == 2) {
            other.DelMutex();
        }
    };
    EXPECT_TRUE(m_provider.GetMutex());
    EXPECT_EQ((std::vector<unsigned int>{1, 1}), sleeps);
    m_provider.DelMutex();
}

TEST_F(Lock, IsGivenUpAfterThirtyTries) {
    CVELTARO_ToolServiceLogger other;
    ASSERT_TRUE(other.GetMutex());
    const std::size_t descriptors = OpenDescriptors();
    std::vector<unsigned int> sleeps;
    atSleep = [&sleeps](unsigned int seconds) { sleeps.push_back(seconds); };
    EXPECT_FALSE(m_provider.GetMutex());
    EXPECT_EQ(std::vector<unsigned int>(30, 1), sleeps);
    EXPECT_EQ(-1, m_provider.m_iLockFd);
    EXPECT_EQ(descriptors, OpenDescriptors());
    other.DelMutex();
}

} // namespace
