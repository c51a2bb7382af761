#include "loggerctl/agent/CLockHolder.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cstdlib>

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
                     "8: FLOCK  ADVISORY  WRITE 0 fe:00:400 0 EOF\n";

TEST(CLockHolder, ReadsTheKernelsList) {
    const dev_t device = makedev(0xFE, 0);
    EXPECT_EQ(CLockHolder::FindInList(kList, device, 100), 15);
    EXPECT_EQ(CLockHolder::FindInList(kList, device, 200), 17);
    EXPECT_EQ(CLockHolder::FindInList(kList, device, 300), std::nullopt); // waits only
    EXPECT_EQ(CLockHolder::FindInList(kList, device, 400), std::nullopt); // a process elsewhere
    EXPECT_EQ(CLockHolder::FindInList(kList, device, 10), std::nullopt);
    EXPECT_EQ(CLockHolder::FindInList("", device, 100), std::nullopt);
}

TEST(CLockHolder, FindsTheProcessThatHoldsAFile) {
    char name[] = "/tmp/lock-holder-XXXXXX";
    const int file = mkstemp(name);
    ASSERT_GE(file, 0);
    EXPECT_EQ(CLockHolder::Find(name), std::nullopt);
    ASSERT_EQ(flock(file, LOCK_EX), 0);
    EXPECT_EQ(CLockHolder::Find(name), getpid());
    close(file);
    EXPECT_EQ(CLockHolder::Find(name), std::nullopt);
    unlink(name);
    EXPECT_EQ(CLockHolder::Find(name), std::nullopt);
}

TEST(CLockHolder, DescribesAProcess) {
    EXPECT_EQ(CLockHolder::Describe(getpid()).find("process " + std::to_string(getpid()) + " ("),
              0U);
    EXPECT_EQ(CLockHolder::Describe(0), "process 0");
}

} // namespace
