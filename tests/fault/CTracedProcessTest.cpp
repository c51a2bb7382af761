// The tracer itself: that it counts what it should, and that each fault is a real one.

#include "tests/fault/CTracedProcess.h"
#include "tests/hosts/ProcessState.h"
#include "tests/support/CTempFile.h"
#include "tests/support/CTestRoot.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>

using Kind = CSystemCallFault::Kind;

namespace {

class TracedProcess : public testing::Test {
protected:
    void SetUp() override {
        if (!CTracedProcess::IsPermitted()) {
            GTEST_SKIP() << "nobody may trace here";
        }
    }

    // Opens the file for writing, which empties it, writes 8 bytes, and closes it; all in the
    // window. Returns the number of the first step that failed, and 4 for an errno other than EIO.
    [[nodiscard]] int OpenWriteClose() const {
        CTracedProcess::OpenWindow();
        const int descriptor = open(m_file.Path().c_str(), O_WRONLY | O_TRUNC);
        int failed = descriptor == -1 ? 1 : 0;
        if (failed == 0 && write(descriptor, "12345678", 8) == -1) {
            failed = 2;
        }
        if (failed == 0 && close(descriptor) == -1) {
            failed = fcntl(descriptor, F_GETFD) == -1 ? 3 : 5;
        }
        const bool isOther = failed == 1 && errno != EIO;
        CTracedProcess::CloseWindow();
        return isOther ? 4 : failed;
    }

    CTracedProcess::End Run(long number, Kind kind) const {
        return CTracedProcess::Run([this] { return OpenWriteClose(); }, {{number}, kind, EIO, 1});
    }

    const CTempFile m_file{"old text"};
};

TEST_F(TracedProcess, CountsTheCallsInTheWindowAlone) {
    const CTracedProcess::End end = CTracedProcess::Run(
        [] {
            getppid();
            CTracedProcess::OpenWindow();
            const pid_t child = fork();
            if (child == 0) {
                getppid(); // another process's
                _exit(0);
            }
            getppid();
            getppid();
            waitpid(child, nullptr, 0);
            CTracedProcess::CloseWindow();
            getppid();
            return 7;
        },
        {{SYS_getppid}});
    EXPECT_EQ(2, end.Counted());
    EXPECT_EQ(2, std::count(end.m_calls.begin(), end.m_calls.end(), SYS_getppid));
    EXPECT_EQ(1, std::count(end.m_calls.begin(), end.m_calls.end(), SYS_wait4));
    for (const std::size_t position : end.m_counted) {
        EXPECT_EQ(SYS_getppid, end.m_calls.at(position));
    }
    EXPECT_FALSE(end.m_bMet);
    EXPECT_EQ(7, end.m_iStatus);
}

// Whether the process sleeps in a system call.
bool IsAsleep(pid_t process) {
    const std::string state = ReadFile("/proc/" + std::to_string(process) + "/stat");
    return state.find(") S ") != std::string::npos;
}

TEST_F(TracedProcess, GoesOnWhenSomebodyElseStopsIt) {
    const CTracedProcess::End end = CTracedProcess::Run(
        [] {
            CTracedProcess::OpenWindow();
            const pid_t child = fork();
            if (child == 0) {
                const bool isAsleep = WaitUntil([] { return IsAsleep(getppid()); });
                kill(getppid(), SIGSTOP);
                _exit(isAsleep ? 7 : 8);
            }
            int status = 0;
            waitpid(child, &status, 0);
            getppid();
            CTracedProcess::CloseWindow();
            return WEXITSTATUS(status);
        },
        {{SYS_getppid, SYS_wait4}});
    EXPECT_EQ(2, end.Counted());
    EXPECT_EQ(1, std::count(end.m_calls.begin(), end.m_calls.end(), SYS_wait4));
    EXPECT_EQ(7, end.m_iStatus);
}

TEST_F(TracedProcess, FailsTheCallWithoutMakingIt) {
    EXPECT_EQ(1, Run(SYS_openat, Kind::kError).m_iStatus);
    EXPECT_EQ("old text", ReadFile(m_file.Path()));
}

TEST_F(TracedProcess, FailsTheCallOnceOrForGood) {
    for (const bool isForGood : {false, true}) {
        const CTracedProcess::End end = CTracedProcess::Run(
            [] {
                CTracedProcess::OpenWindow();
                int failures = 0;
                for (int call = 0; call < 5; ++call) {
                    failures += syscall(SYS_getppid) == -1 && errno == EPERM ? 1 : 0;
                }
                CTracedProcess::CloseWindow();
                return failures;
            },
            {{SYS_getppid}, Kind::kError, EPERM, 3, isForGood});
        EXPECT_EQ(isForGood ? 3 : 1, end.m_iStatus);
        EXPECT_EQ(5, end.Counted());
        EXPECT_TRUE(end.m_bMet);
    }
}

TEST_F(TracedProcess, FailsTheCallThatWasMade) {
    EXPECT_EQ(3, Run(SYS_close, Kind::kErrorAfterwards).m_iStatus);
    EXPECT_EQ("12345678", ReadFile(m_file.Path()));
}

TEST_F(TracedProcess, WritesHalf) {
    EXPECT_EQ(0, Run(SYS_write, Kind::kShort).m_iStatus);
    EXPECT_EQ("1234", ReadFile(m_file.Path()));
}

TEST_F(TracedProcess, DiesBeforeTheCall) {
    EXPECT_EQ(CTracedProcess::kKilled, Run(SYS_openat, Kind::kKill).m_iStatus);
    EXPECT_EQ("old text", ReadFile(m_file.Path()));
}

TEST_F(TracedProcess, DiesBehindTheCall) {
    EXPECT_EQ(CTracedProcess::kKilled, Run(SYS_openat, Kind::kKillAfterwards).m_iStatus);
    EXPECT_EQ("", ReadFile(m_file.Path()));
}

} // namespace
