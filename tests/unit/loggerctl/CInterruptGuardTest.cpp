#include "loggerctl/agent/CInterruptGuard.h"

#include "providerbase/CVendor.h"
#include "tests/support/CFailingCall.h"
#include "tests/support/CNoThreads.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPause{600}; // makes two interruptions of two signals

constexpr char kLine[] = "loggerctl: Interrupted: what has begun is finished first, so that the "
                         "agent does not stay stopped. Interrupt again to give up.\n";

// What a child process came to.
struct CEnd {
    int m_status = -1; // its exit status; 128 + n when signal n ended it
    std::string m_error;
};

// Runs a function in a process of its own. Nothing in it can fail the running test but its status.
CEnd RunInChild(int (*function)()) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const pid_t child = fork();
    if (child == 0) {
        for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
            std::signal(number, SIG_DFL);
        }
        dup2(ends[1], STDERR_FILENO);
        _exit(function());
    }
    close(ends[1]);
    CEnd end;
    char buffer[1000];
    for (ssize_t count = 0; (count = read(ends[0], buffer, sizeof buffer)) > 0;) {
        end.m_error.append(buffer, static_cast<std::size_t>(count));
    }
    close(ends[0]);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    end.m_status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    return end;
}

void EndByFive() {
    _exit(5);
}

// Waits until the guard has taken the signals sent so far, which it does on a thread of its own.
template <class Condition>
bool WaitFor(const Condition& condition) {
    const auto limit = Clock::now() + std::chrono::seconds(3);
    while (!condition()) {
        if (Clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

bool IsPending(int number) {
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, number) == 1;
}

// Sends a signal and waits until it is taken.
bool Send(int number) {
    kill(getpid(), number);
    return WaitFor([number] { return !IsPending(number); });
}

bool IsBlocked(int number) {
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    return sigismember(&blocked, number) == 1;
}

// ---- One signal ----

template <int number>
int FinishAfterOne() {
    bool isTaken = false;
    bool isGivenUp = true;
    {
        const agent::CInterruptGuard guard(EndByFive);
        isTaken = Send(number);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        isGivenUp = guard.IsGivenUp();
    }
    return isTaken && !isGivenUp ? 0 : 1;
}

TEST(CInterruptGuard, FinishesAfterTheFirstSignalAndSaysSo) {
    for (const auto function :
         {FinishAfterOne<SIGINT>, FinishAfterOne<SIGTERM>, FinishAfterOne<SIGHUP>}) {
        const CEnd end = RunInChild(function);
        EXPECT_EQ(end.m_status, 0);
        EXPECT_EQ(end.m_error, kLine);
    }
}

TEST(CInterruptGuard, SaysNothingWithoutASignal) {
    const CEnd end = RunInChild([] {
        const agent::CInterruptGuard guard(EndByFive);
        return guard.IsGivenUp() ? 1 : 0;
    });
    EXPECT_EQ(end.m_status, 0);
    EXPECT_EQ(end.m_error, "");
}

// ---- Giving up ----

int RunStop(const std::string& script) {
    CDeviceDescription description;
    description.m_commands["ServiceStop"] = {"/bin/sh", "-c", script};
    description.m_timeout = std::chrono::seconds(30);
    return CVendor("Logger", "Logger", description).ExecuteCommand("ServiceStop");
}

// Runs a service command and interrupts it as often as is said.
int RunCommand(const std::string& script, int signals) {
    const agent::CInterruptGuard guard(EndByFive);
    std::thread sender([signals] {
        for (int i = 0; i < signals; ++i) {
            std::this_thread::sleep_for(kPause);
            Send(SIGINT);
        }
    });
    const int answer = RunStop(script);
    sender.join();
    return guard.IsGivenUp() == (signals > 1) ? answer : 1;
}

TEST(CInterruptGuard, LeavesTheCommandAloneAfterTheFirstSignal) {
    const CEnd end = RunInChild([] { return RunCommand("sleep 2; exit 7", 1); });
    EXPECT_EQ(end.m_status, 7);
    EXPECT_EQ(end.m_error, kLine);
}

TEST(CInterruptGuard, EndsTheCommandAfterTheSecondSignal) {
    const auto begin = Clock::now();
    const CEnd end = RunInChild([] { return RunCommand("sleep 300", 2); });
    EXPECT_EQ(end.m_status, 128 + SIGTERM);
    EXPECT_EQ(end.m_error, kLine);
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(3)); // at once: the next step is later
}

// Not the process: it would give back the locks while the command runs on.
TEST(CInterruptGuard, KillsTheCommandAfterTheThirdSignal) {
    const CEnd end = RunInChild([] {
        return RunCommand("trap '' TERM; i=0; while [ $i -lt 300 ]; do sleep 0.1; i=$((i+1)); done",
                          3);
    });
    EXPECT_EQ(end.m_status, 128 + SIGKILL);
    EXPECT_EQ(end.m_error, kLine);
}

// As when the second signal comes between the question whether to begin it and its beginning.
TEST(CInterruptGuard, EndsACommandThatBeginsAfterGivingUp) {
    const CEnd end = RunInChild([] {
        const agent::CInterruptGuard guard(EndByFive);
        Send(SIGINT);
        std::this_thread::sleep_for(kPause);
        Send(SIGINT);
        std::this_thread::sleep_for(kPause);
        return RunStop("sleep 300");
    });
    EXPECT_EQ(end.m_status, 128 + SIGTERM);
}

TEST(CInterruptGuard, CountsADoubledSignalOnce) {
    const CEnd end = RunInChild([] {
        const agent::CInterruptGuard guard(EndByFive);
        Send(SIGTERM);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        Send(SIGTERM);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return guard.IsGivenUp() ? 1 : 0;
    });
    EXPECT_EQ(end.m_status, 0);
    EXPECT_EQ(end.m_error, kLine);
}

TEST(CInterruptGuard, DoesNotGiveUpBecauseOfHangingUp) {
    const CEnd end = RunInChild([] {
        const agent::CInterruptGuard guard(EndByFive);
        for (const int number : {SIGINT, SIGHUP, SIGHUP}) {
            Send(number);
            std::this_thread::sleep_for(kPause);
        }
        return guard.IsGivenUp() ? 1 : 0;
    });
    EXPECT_EQ(end.m_status, 0);
    EXPECT_EQ(end.m_error, kLine);
}

TEST(CInterruptGuard, EndsTheProcessWhenGivingUpTakesTooLong) {
    const auto begin = Clock::now();
    const CEnd end = RunInChild([] {
        const agent::CInterruptGuard guard(EndByFive);
        Send(SIGINT);
        std::this_thread::sleep_for(kPause);
        Send(SIGINT);
        std::this_thread::sleep_for(std::chrono::seconds(20));
        return 0;
    });
    EXPECT_EQ(end.m_status, 5);
    EXPECT_GT(Clock::now() - begin, std::chrono::milliseconds(3900));
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(10));
}

// ---- Around it ----

TEST(CInterruptGuard, LeavesIgnoredSignalsIgnored) {
    const CEnd end = RunInChild([] {
        std::signal(SIGHUP, SIG_IGN);
        {
            const agent::CInterruptGuard guard(EndByFive);
            for (int i = 0; i < 5; ++i) {
                kill(getpid(), SIGHUP);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            if (guard.IsGivenUp() || IsBlocked(SIGHUP)) {
                return 1;
            }
        }
        kill(getpid(), SIGHUP);
        return std::signal(SIGHUP, SIG_DFL) == SIG_IGN ? 0 : 2;
    });
    EXPECT_EQ(end.m_status, 0);
    EXPECT_EQ(end.m_error, "");
}

TEST(CInterruptGuard, LetsSignalsEndTheProcessAfterwards) {
    const CEnd end = RunInChild([] {
        { const agent::CInterruptGuard guard(EndByFive); }
        if (IsBlocked(SIGINT) || IsBlocked(SIGTERM) || IsBlocked(SIGHUP)) {
            return 1;
        }
        kill(getpid(), SIGTERM);
        return 2;
    });
    EXPECT_EQ(end.m_status, 128 + SIGTERM);
}

TEST(CInterruptGuard, TakesWhatCameMeanwhile) {
    const CEnd end = RunInChild([] {
        for (int i = 0; i < 100; ++i) {
            const agent::CInterruptGuard guard(EndByFive);
            kill(getpid(), SIGINT);
        }
        return 0;
    });
    EXPECT_EQ(end.m_status, 0);
}

// What has begun is finished all the same: a signal waits until the guard goes.
int InterruptWithoutADescriptor() {
    const CFailingCall failing("signalfd", EMFILE);
    const agent::CInterruptGuard guard(EndByFive);
    kill(getpid(), SIGINT);
    _exit(IsPending(SIGINT) && !guard.IsGivenUp() ? 0 : 1);
}

int InterruptWithoutAThread() {
    const CNoThreads none;
    const agent::CInterruptGuard guard(EndByFive);
    kill(getpid(), SIGINT);
    _exit(IsPending(SIGINT) && !guard.IsGivenUp() ? 0 : 1);
}

TEST(CInterruptGuard, HoldsTheSignalsBackWhereItCannotWatchThem) {
    for (const auto function : {InterruptWithoutADescriptor, InterruptWithoutAThread}) {
        const CEnd end = RunInChild(function);
        EXPECT_EQ(end.m_status, 0);
        EXPECT_EQ(end.m_error, "");
    }
}

} // namespace
