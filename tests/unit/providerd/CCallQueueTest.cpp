// The queue with a worker that does as it is told (fake_worker.cpp).

#include "providerd/CCallQueue.h"

#include "tests/support/Descriptors.h"
#include "tests/support/OutputOf.h"
#include "tests/unit/providerd/CFifo.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <set>
#include <sstream>

using messages::CallResult;
using providerd::CCallQueue;
using providerd::CFinishedCall;
using providerd::CMethodCall;
using providerd::CQueueLimits;

namespace {

using Future = std::future<CFinishedCall>;

constexpr char kGet[] = "GetParameter";
constexpr char kSet[] = "SetParameter";

CQueueLimits Limits() {
    CQueueLimits limits;
    limits.m_workerProgram = FAKE_WORKER;
    limits.m_callTime = std::chrono::seconds(20);
    return limits;
}

CMethodCall Call(const std::string& method, const std::string& text) {
    return {method, text, {"user", "", "peer"}};
}

// "RESULT RETURNVALUE OUTPARAMETERS HISTORYID".
std::string Text(const CFinishedCall& finished) {
    return std::to_string(static_cast<int>(finished.m_result)) + " " +
           std::to_string(finished.m_uiReturnValue) + " [" + OutputOf(finished) + "] " +
           finished.m_historyId;
}

std::string Failure(CallResult result) {
    return std::to_string(static_cast<int>(result)) + " 0 [] ";
}

std::string Success(int count, const std::string& method, const std::string& text) {
    return "0 0 [" + std::to_string(count) + " " + method + " " + text + " user peer] ";
}

std::string AnswerOf(CCallQueue& queue, const std::string& method, const std::string& text) {
    return Text(queue.Run(Call(method, text)));
}

// A call on a thread of its own; it has come into the queue when this returns.
Future Begin(CCallQueue& queue, const std::string& method, const std::string& text) {
    const std::size_t callers = queue.Counts().m_callers;
    Future future = std::async(std::launch::async,
                               [&queue, method, text] { return queue.Run(Call(method, text)); });
    while (queue.Counts().m_callers == callers) {
        std::this_thread::yield();
    }
    return future;
}

// A call that runs until it is released.
class CRunningCall {
public:
    explicit CRunningCall(CCallQueue& queue, const std::string& method = kSet)
        : m_future(Begin(queue, method, "await " + m_fifo.Path())) {
        while (queue.Counts().m_waiting != 0) {
            std::this_thread::yield();
        }
    }
    std::string End() {
        m_fifo.Release();
        return Text(m_future.get());
    }
    [[nodiscard]] std::string Answer(const std::string& method = kSet) const {
        return Success(1, method, "await " + m_fifo.Path());
    }

private:
    CFifo m_fifo;
    Future m_future;
};

// ---- Order and sharing ----

TEST(CCallQueue, MakesCallsInTheirOrder) {
    CCallQueue queue(Limits());
    CRunningCall first(queue);
    std::vector<Future> others;
    for (const char* text : {"a", "b", "c"}) {
        others.push_back(Begin(queue, kSet, text));
    }
    EXPECT_EQ(3U, queue.Counts().m_waiting);
    EXPECT_EQ(4U, queue.Counts().m_callers);

    EXPECT_EQ(first.Answer(), first.End());
    EXPECT_EQ(Success(2, kSet, "a"), Text(others[0].get()));
    EXPECT_EQ(Success(3, kSet, "b"), Text(others[1].get()));
    EXPECT_EQ(Success(4, kSet, "c"), Text(others[2].get()));
    EXPECT_EQ(0U, queue.Counts().m_callers);
}

TEST(CCallQueue, SharesAReadThatHasNotBegun) {
    CCallQueue queue(Limits());
    CRunningCall running(queue, kGet);
    std::vector<Future> calls;
    calls.push_back(Begin(queue, kGet, "")); // the running one is too old for it
    calls.push_back(Begin(queue, kSet, ""));
    calls.push_back(Begin(queue, kGet, ""));
    calls.push_back(Begin(queue, kSet, "")); // changes are never shared
    calls.push_back(Begin(queue, kGet, "other"));
    calls.push_back(Begin(queue, kGet, ""));
    EXPECT_EQ(4U, queue.Counts().m_waiting);
    EXPECT_EQ(7U, queue.Counts().m_callers);

    EXPECT_EQ(running.Answer(kGet), running.End());
    const std::string read = Success(2, kGet, "");
    const std::string expected[] = {
        read, Success(3, kSet, ""), read, Success(4, kSet, ""), Success(5, kGet, "other"), read};
    std::vector<CFinishedCall> finished;
    for (Future& call : calls) {
        finished.push_back(call.get());
    }
    for (std::size_t i = 0; i < finished.size(); ++i) {
        EXPECT_EQ(expected[i], Text(finished[i])) << i;
    }
    EXPECT_EQ(finished[0].m_frame, finished[5].m_frame) << "it is in memory once";
}

TEST(CCallQueue, RefusesCallsWhenItIsFull) {
    CQueueLimits limits = Limits();
    limits.m_waiting = 2;
    CCallQueue queue(limits);
    CRunningCall running(queue);
    Future read = Begin(queue, kGet, "");
    Future change = Begin(queue, kSet, "");
    EXPECT_EQ(Failure(CallResult::QueueFull), AnswerOf(queue, kSet, ""));
    EXPECT_EQ(Failure(CallResult::QueueFull), AnswerOf(queue, kGet, "other"));
    Future shared = Begin(queue, kGet, ""); // who shares needs no room

    EXPECT_EQ(running.Answer(), running.End());
    EXPECT_EQ(Success(2, kGet, ""), Text(read.get()));
    EXPECT_EQ(Success(2, kGet, ""), Text(shared.get()));
    EXPECT_EQ(Success(3, kSet, ""), Text(change.get()));
    EXPECT_EQ(Success(4, kSet, ""), AnswerOf(queue, kSet, ""));
}

// ---- The worker and its ends ----

TEST(CCallQueue, StartsAWorkerThatFindsNothingOfItsParents) {
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    signal(SIGUSR2, SIG_IGN);
    const int inherited = fcntl(STDIN_FILENO, F_DUPFD, 100); // not closed on exec
    CCallQueue queue(Limits());
    EXPECT_EQ("0 0 [0 1 2 3 leader] ", AnswerOf(queue, kGet, "process"));
    close(inherited);
    signal(SIGUSR2, SIG_DFL);
    pthread_sigmask(SIG_UNBLOCK, &blocked, nullptr);
}

TEST(CCallQueue, StartsAWorkerWithAnEnvironmentOfItsOwn) {
    for (const char* name : {"LD_LIBRARY_PATH", "NOTIFY_SOCKET", "PATH", "IFS", "BASH_ENV"}) {
        setenv(name, "/hostile", 1);
    }
    setenv("KZM_TRACE_FILE", "/trace", 1);
    setenv("JOURNAL_STREAM", "1:2", 1);
    CCallQueue queue(Limits());
    const std::string found = OutputOf(queue.Run(Call(kGet, "environment")));
    std::istringstream lines(found);
    std::multiset<std::string> variables;
    for (std::string line; std::getline(lines, line);) {
        variables.insert(line);
    }
    EXPECT_EQ((std::multiset<std::string>{"JOURNAL_STREAM=1:2", "KZM_TRACE_FILE=/trace", "LC_ALL=C",
                                          "PATH=/usr/sbin:/usr/bin:/sbin:/bin"}),
              variables);
    for (const char* name : {"LD_LIBRARY_PATH", "NOTIFY_SOCKET", "IFS", "BASH_ENV",
                             "KZM_TRACE_FILE", "JOURNAL_STREAM"}) {
        unsetenv(name);
    }
    setenv("PATH", "/usr/bin:/bin", 1);
}

struct EndRow {
    const char* m_text;
    const char* m_answer;
    int m_nextCount; // 1: the next call is another worker's
    const char* m_log;
};

std::ostream& operator<<(std::ostream& stream, const EndRow& row) {
    return stream << row.m_text;
}

class CCallQueueEnd : public testing::TestWithParam<EndRow> {};

TEST_P(CCallQueueEnd, IsAnsweredAndTheNextCallIsMade) {
    const EndRow& row = GetParam();
    CCallQueue queue(Limits());
    ASSERT_EQ(Success(1, kSet, ""), AnswerOf(queue, kSet, ""));
    testing::internal::CaptureStderr();
    EXPECT_EQ(row.m_answer, AnswerOf(queue, kSet, row.m_text));
    if (row.m_text == std::string("answer-and-exit")) {
        siginfo_t end{};
        waitid(P_ALL, 0, &end, WEXITED | WNOWAIT); // it takes its time
    }
    EXPECT_EQ(Success(row.m_nextCount, kSet, "x"), AnswerOf(queue, kSet, "x"));
    EXPECT_EQ(row.m_log, testing::internal::GetCapturedStderr());
}

const EndRow kEnds[] = {
    {"return 0x80000001", "0 2147483649 [2 SetParameter return 0x80000001 user peer] ", 3, ""},
    {"return 0x80000002", "0 2147483650 [2 SetParameter return 0x80000002 user peer] ", 1,
     "SetParameter ended with an exception; the worker is replaced.\n"},
    {"result 4", "4 0 [2 SetParameter result 4 user peer] kept", 1, ""},
    {"result 7", "7 0 [2 SetParameter result 7 user peer] kept", 1, ""},
    {"result 10", "10 0 [2 SetParameter result 10 user peer] kept", 1, ""},
    {"result 11", "9 0 [] kept", 1,
     "The worker ended in the midst of SetParameter (exit status 0).\n"},
    {"exit 3", "9 0 [] ", 1, "The worker ended in the midst of SetParameter (exit status 3).\n"},
    {"raise 9", "9 0 [] ", 1, "The worker ended in the midst of SetParameter (signal 9).\n"},
    {"keep-raise 9", "9 0 [] kept", 1,
     "The worker ended in the midst of SetParameter (signal 9).\n"},
    {"keep-garbage", "9 0 [] kept", 1,
     "The worker ended in the midst of SetParameter (exit status 0).\n"},
    {"half", "9 0 [] ", 1, "The worker ended in the midst of SetParameter (exit status 0).\n"},
    {"garbage", "9 0 [] ", 1, "The worker ended in the midst of SetParameter (exit status 0).\n"},
    {"too-long", "9 0 [] ", 1, "The worker ended in the midst of SetParameter (exit status 0).\n"},
    {"answer-and-exit", "0 0 [2 SetParameter answer-and-exit user peer] ", 1,
     "The worker ended while it had nothing to do (exit status 0); a fresh one takes over.\n"},
    {"answer-and-talk", "0 0 [2 SetParameter answer-and-talk user peer] ", 1,
     "The worker ended while it had nothing to do (exit status 0); a fresh one takes over.\n"},
};

INSTANTIATE_TEST_SUITE_P(Each, CCallQueueEnd, testing::ValuesIn(kEnds));

TEST(CCallQueue, KillsAWorkerThatDoesNotEnd) {
    CQueueLimits limits = Limits();
    limits.m_callsOfAWorker = 1;
    CCallQueue queue(limits);
    EXPECT_EQ(Success(1, kSet, "answer-and-stay"), AnswerOf(queue, kSet, "answer-and-stay"));
    EXPECT_EQ(Success(1, kSet, ""), AnswerOf(queue, kSet, ""));
}

TEST(CCallQueue, ReplacesTheWorkerAfterItsNumberOfCalls) {
    CQueueLimits limits = Limits();
    limits.m_callsOfAWorker = 3;
    CCallQueue queue(limits);
    for (const int count : {1, 2, 3, 1, 2, 3, 1}) {
        EXPECT_EQ(Success(count, kGet, ""), AnswerOf(queue, kGet, ""));
    }
}

TEST(CCallQueue, AnswersWhenThereIsNoWorkerToBeHad) {
    CQueueLimits limits = Limits();
    limits.m_workerProgram = "/no/such/program";
    CCallQueue queue(limits);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Failure(CallResult::Failed), AnswerOf(queue, kGet, ""));
    EXPECT_EQ("No worker can be started: /no/such/program: cannot be started (No such file or "
              "directory).\n",
              testing::internal::GetCapturedStderr());
}

TEST(CCallQueue, LeavesNoDescriptorAndNoProcess) {
    CQueueLimits limits = Limits();
    limits.m_callsOfAWorker = 1;
    {
        CCallQueue queue(limits);
        EXPECT_EQ(Success(1, kGet, ""), AnswerOf(queue, kGet, ""));
        const auto before = Descriptors();
        for (int i = 0; i < 20; ++i) {
            EXPECT_EQ(Success(1, kGet, ""), AnswerOf(queue, kGet, ""));
            EXPECT_EQ(Failure(CallResult::Died), AnswerOf(queue, kGet, "raise 9"));
        }
        EXPECT_EQ(before, Descriptors());
        EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
        EXPECT_EQ(ECHILD, errno);
    }
}

// ---- Time ----

TEST(CCallQueue, EndsACallThatTakesTooLong) {
    CQueueLimits limits = Limits();
    limits.m_callTime = std::chrono::milliseconds(500);
    CCallQueue queue(limits);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Failure(CallResult::TimedOut) + "kept", AnswerOf(queue, kSet, "keep-listen"));
    EXPECT_EQ("SetParameter took longer than 500 ms and was ended with its worker (signal 9).\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ(Success(1, kSet, ""), AnswerOf(queue, kSet, ""));
}

TEST(CCallQueue, EndsACallThatNobodyTakes) {
    CQueueLimits limits = Limits();
    limits.m_callTime = std::chrono::seconds(2);
    CCallQueue queue(limits);
    EXPECT_EQ(Success(1, kSet, "answer-and-stay"), AnswerOf(queue, kSet, "answer-and-stay"));
    const std::string large(1'000'000, 'x'); // more than a socket holds
    EXPECT_EQ(Failure(CallResult::TimedOut), AnswerOf(queue, kSet, large));
    EXPECT_EQ(Success(1, kSet, large.substr(0, 100)), AnswerOf(queue, kSet, large));
}

TEST(CCallQueue, RefusesCallsThatDoNotBeginInTime) {
    CQueueLimits limits = Limits();
    limits.m_waitingTime = std::chrono::milliseconds(50);
    CCallQueue queue(limits);
    CRunningCall running(queue);
    const auto read = [&queue] { return AnswerOf(queue, kGet, ""); };
    std::future<std::string> first = std::async(std::launch::async, read);
    std::future<std::string> second = std::async(std::launch::async, read); // perhaps shared
    EXPECT_EQ(Failure(CallResult::QueueFull), first.get());
    EXPECT_EQ(Failure(CallResult::QueueFull), second.get());
    EXPECT_EQ(Failure(CallResult::QueueFull), AnswerOf(queue, kSet, ""));
    EXPECT_EQ(0U, queue.Counts().m_waiting);
    EXPECT_EQ(1U, queue.Counts().m_callers);

    EXPECT_EQ(running.Answer(), running.End()) << "which had begun";
    EXPECT_EQ(Success(2, kSet, "x"), AnswerOf(queue, kSet, "x")) << "nothing else was called";
}

// ---- Signals ----

// The signals that each thread of this process blocks, as the system writes them.
std::map<std::string, std::string> BlockedSignals() {
    std::map<std::string, std::string> blocked;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream status(thread.path() / "status");
        std::string line;
        while (std::getline(status, line)) {
            if (line.rfind("SigBlk:", 0) == 0) {
                blocked[thread.path().filename().string()] = line.substr(line.find('\t') + 1);
            }
        }
    }
    return blocked;
}

TEST(CCallQueue, LeavesTheSignalsToThoseWhoStartIt) {
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    const auto before = BlockedSignals();
    CCallQueue queue(Limits());
    EXPECT_EQ(Success(1, kGet, ""), AnswerOf(queue, kGet, "")); // its thread has begun
    auto after = BlockedSignals();
    for (const auto& [thread, blocked] : before) {
        EXPECT_EQ(blocked, after[thread]);
        after.erase(thread);
    }
    ASSERT_EQ(1U, after.size()); // the runner
    const std::uint64_t blocked = std::stoull(after.begin()->second, nullptr, 16);
    for (const int number : {SIGTERM, SIGHUP, SIGINT, SIGCHLD}) {
        EXPECT_NE(0U, blocked >> (number - 1) & 1U) << number;
    }
}

// ---- The end of the queue ----

TEST(CCallQueue, ShutsDownBehindTheCallThatHasBegun) {
    CCallQueue queue(Limits());
    CRunningCall running(queue);
    Future read = Begin(queue, kGet, "");
    Future shared = Begin(queue, kGet, "");
    Future change = Begin(queue, kSet, "");

    {
        auto shutDown = std::async(std::launch::async, [&queue] { queue.ShutDown(); });
        for (Future* waiting : {&read, &shared, &change}) {
            EXPECT_EQ(Failure(CallResult::ShuttingDown), Text(waiting->get()));
        }
        EXPECT_EQ(Failure(CallResult::ShuttingDown), AnswerOf(queue, kGet, ""));
        EXPECT_EQ(1U, queue.Counts().m_callers);
        EXPECT_EQ(running.Answer(), running.End());
    }
    EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG)); // the worker has ended
    queue.ShutDown();                             // again does nothing
    EXPECT_EQ(Failure(CallResult::ShuttingDown), AnswerOf(queue, kSet, ""));
}

} // namespace
