#include "loggerctl/agent/Locks.h"

#include "tests/support/CChildProcess.h"
#include "tests/support/CTempFile.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

namespace {

const char kList[] = "1: FLOCK  ADVISORY  READ 11 fe:00:100 0 EOF\n"
                     "2: POSIX  ADVISORY  WRITE 12 fe:00:100 0 EOF\n"
                     "3: FLOCK  ADVISORY  WRITE 13 fe:01:100 0 EOF\n"
                     "4: FLOCK  ADVISORY  WRITE 14 fe:00:1000 0 EOF\n"
                     "5: FLOCK  ADVISORY  WRITE 15 fe:00:100 0 EOF\n"
                     "5: -> FLOCK  ADVISORY  WRITE 16 fe:00:100 0 EOF\n"
                     "6: FLOCK  ADVISORY  WRITE 17 fe:00:200 0 EOF\n"
                     "nonsense\n"
                     "\n"
                     "7: -> FLOCK  ADVISORY  WRITE 18 fe:00:300 0 EOF\n"
                     "8: FLOCK  ADVISORY  WRITE 0 fe:00:400 0 EOF\n"
                     "9: FLOCK  ADVISORY  WRITE -1 fe:00:500 0 EOF\n"
                     "10: FLOCK  ADVISORY  WRITE 19 08:11:600 0 EOF\n"
                     "11: FLOCK  ADVISORY  WRITE 20";

TEST(FindInLockList, ReadsTheKernelsList) {
    const dev_t device = makedev(0xFE, 0);
    EXPECT_EQ(agent::FindInLockList(kList, device, 100), 15);
    EXPECT_EQ(agent::FindInLockList(kList, device, 200), 17);
    EXPECT_EQ(agent::FindInLockList(kList, device, 300), 0); // waits only
    EXPECT_EQ(agent::FindInLockList(kList, device, 400), 0); // a process elsewhere
    EXPECT_EQ(agent::FindInLockList(kList, device, 500), 0);
    EXPECT_EQ(agent::FindInLockList(kList, device, 10), 0);
    EXPECT_EQ(agent::FindInLockList(kList, makedev(8, 0x11), 600), 19);
    EXPECT_EQ(agent::FindInLockList("", device, 100), 0);
}

TEST(FindInLockList, FindsThisProcess) {
    const CTempFile file("");
    struct stat status {};
    ASSERT_EQ(stat(file.Path().c_str(), &status), 0);
    const auto find = [&status] {
        std::ostringstream list;
        list << std::ifstream("/proc/locks").rdbuf();
        return agent::FindInLockList(list.str(), status.st_dev, status.st_ino);
    };
    EXPECT_EQ(find(), 0);
    const int descriptor = open(file.Path().c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(descriptor, LOCK_EX), 0);
    EXPECT_EQ(find(), getpid());
    close(descriptor);
    EXPECT_EQ(find(), 0);
}

// Takes the lock of a file and says so with a byte; then waits for its end.
int HoldLock(const std::string& path, int ready) {
    prctl(PR_SET_NAME, "hold\x1B"
                       "x");
    const int descriptor = open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (flock(descriptor, LOCK_EX) != 0 || write(ready, "", 1) != 1) {
        return 1;
    }
    pause();
    return 0;
}

TEST(DescribeWait, NamesTheOtherHolder) {
    const CTempFile file("");
    EXPECT_EQ(agent::DescribeWait("the lock", file.Path()), "");
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    pid_t holder = 0;
    {
        const CChildProcess child([&] { return HoldLock(file.Path(), ready[1]); });
        char byte = 0;
        ASSERT_EQ(read(ready[0], &byte, 1), 1);
        const std::string text = agent::DescribeWait("the lock", file.Path());
        EXPECT_EQ(text.rfind("Waiting for the lock, held by process ", 0), 0U) << text;
        std::istringstream(text.substr(text.rfind("process ") + 8)) >> holder;
    }
    EXPECT_GT(holder, 0);
    EXPECT_NE(holder, getpid());
    EXPECT_EQ(agent::DescribeWait("the lock", file.Path()), "");
    close(ready[0]);
    close(ready[1]);
}

TEST(DescribeWait, SaysNothingOfThisProcessOrOfAMissingFile) {
    const CTempFile file("");
    const int descriptor = open(file.Path().c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(descriptor, LOCK_EX), 0);
    EXPECT_EQ(agent::DescribeWait("the lock", file.Path()), "");
    close(descriptor);
    EXPECT_EQ(agent::DescribeWait("the lock", "/no/such/file"), "");
}

} // namespace
