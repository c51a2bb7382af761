// What the system refuses the queue.

#include "providerd/CCallQueue.h"

#include "tests/support/Descriptors.h"
#include "tests/unit/providerd/CFifo.h"

#include <gtest/gtest.h>

#include <malloc.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <atomic>
#include <cerrno>
#include <fstream>

using messages::CallResult;
using providerd::CCallQueue;
using providerd::CQueueLimits;

namespace {

std::atomic<bool> nobodyIsKilled{false};

// Threads take their memory from where the process takes it, so that its limit is theirs.
[[maybe_unused]] const int kOneArena = mallopt(M_ARENA_MAX, 1);

} // namespace

// Stands for a system that keeps a process from ending, such as behind a disk that does not answer.
extern "C" int __real_kill(pid_t process, int number);
extern "C" int __wrap_kill(pid_t process, int number);

int __wrap_kill(pid_t process, int number) {
    return nobodyIsKilled ? 0 : __real_kill(process, number);
}

namespace {

CQueueLimits DefaultLimits() {
    CQueueLimits limits;
    limits.m_workerProgram = FAKE_WORKER;
    return limits;
}

CallResult ResultOf(CCallQueue& queue, const std::string& text) {
    return queue.Run({"SetParameter", text, {}}).m_result;
}

// A lower limit of a resource for the time that the object lives.
class CLimit {
public:
    CLimit(__rlimit_resource resource, rlim_t limit) : m_resource(resource) {
        getrlimit(m_resource, &m_before);
        const rlimit lower{limit, m_before.rlim_max};
        setrlimit(m_resource, &lower);
    }
    ~CLimit() { setrlimit(m_resource, &m_before); }
    CLimit(const CLimit&) = delete;
    CLimit& operator=(const CLimit&) = delete;

private:
    __rlimit_resource m_resource;
    rlimit m_before{};
};

rlim_t FirstFreeDescriptor() {
    const int descriptor = dup(STDIN_FILENO);
    close(descriptor);
    return static_cast<rlim_t>(descriptor);
}

TEST(CCallQueueFault, DescriptorsThatAreMissingAreAnswered) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "the sanitizers need descriptors of their own";
#endif
    struct Row {
        rlim_t m_free; // descriptors
        const char* m_log;
    };
    const std::string program = FAKE_WORKER;
    const Row rows[] = {{0, "there is no connection to be had (Too many open files).\n"},
                        {1, "there is no connection to be had (Too many open files).\n"},
                        {2, ": cannot be started (Too many open files).\n"}};
    CCallQueue queue(DefaultLimits());
    for (const Row& row : rows) {
        SCOPED_TRACE(row.m_free);
        const auto before = Descriptors();
        testing::internal::CaptureStderr();
        {
            const CLimit limit(RLIMIT_NOFILE, FirstFreeDescriptor() + row.m_free);
            EXPECT_EQ(CallResult::Failed, ResultOf(queue, ""));
        }
        const std::string log = testing::internal::GetCapturedStderr();
        EXPECT_EQ(0U, log.find("No worker can be started: ")) << log;
        EXPECT_NE(std::string::npos, log.find(row.m_log)) << log;
        EXPECT_EQ(before, Descriptors());
        EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
        EXPECT_EQ(ECHILD, errno);
    }
    EXPECT_EQ(CallResult::Done, ResultOf(queue, ""));
}

TEST(CCallQueueFault, AnAnswerWithoutMemoryIsAnswered) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "the sanitizers have memory of their own";
#endif
    CCallQueue queue(DefaultLimits());
    ASSERT_EQ(CallResult::Done, ResultOf(queue, ""));
    testing::internal::CaptureStderr();
    {
        rlim_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        const rlim_t more = 8'000'000;
        const CLimit limit(RLIMIT_AS, pages * static_cast<rlim_t>(getpagesize()) + more);
        EXPECT_EQ(CallResult::Died, ResultOf(queue, "large"));
    }
    EXPECT_EQ("There is no memory for the answer of a method; the worker is replaced.\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(CallResult::Done, ResultOf(queue, ""));
}

TEST(CCallQueueFault, AWorkerThatCannotBeKilledIsLeftAlone) {
    CQueueLimits limits = DefaultLimits();
    limits.m_callTime = std::chrono::milliseconds(500);
    CCallQueue queue(limits);
    const CFifo fifo;
    testing::internal::CaptureStderr();
    nobodyIsKilled = true;
    EXPECT_EQ(CallResult::TimedOut, ResultOf(queue, "await " + fifo.Path()));
    nobodyIsKilled = false;
    EXPECT_EQ("SetParameter took longer than 500 ms and was ended with its worker (it cannot be "
              "ended yet).\n",
              testing::internal::GetCapturedStderr());
    const auto before = Descriptors();
    EXPECT_EQ(CallResult::Done, ResultOf(queue, ""));

    fifo.Release(); // it ends now, for nobody takes its answer
    siginfo_t end{};
    EXPECT_EQ(0, waitid(P_ALL, 0, &end, WEXITED | WNOWAIT));
    EXPECT_EQ(CallResult::Done, ResultOf(queue, ""));
    EXPECT_EQ(before.size(), Descriptors().size()); // the one worker's for the other's
    EXPECT_EQ(0, waitpid(-1, nullptr, WNOHANG));    // nobody but the worker of now
}

} // namespace
