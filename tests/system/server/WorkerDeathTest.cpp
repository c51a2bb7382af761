// Workers that die, hang or fault in the midst of a call, and those whose daemon does.

#include "KzmPaths.h"
#include "tests/support/CChildProcess.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/FindHost.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/system/server/CVariable.h"
#include "tests/system/server/WorkerSupport.h"
#include "tests/unit/providerd/CFifo.h"

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <filesystem>

namespace fs = std::filesystem;
using providerd::CCallQueue;
using providerd::CMethodCall;
using providerd::CQueueLimits;

namespace {

using Texts = std::vector<std::string>;

// A phase of a method, by what runs in it.
struct Phase {
    const char* m_name;
    const char* m_command; // of the vendor; null: the mount command
    CMethodCall (*m_call)();
    bool m_isWritten; // the files, before it
    Texts m_calls;    // of the vendor that ended before it
};

std::ostream& operator<<(std::ostream& stream, const Phase& phase) {
    return stream << phase.m_name;
}

const Phase kPhases[] = {
    {"InstallationCheckOfGet", "CheckInstall", GetCall, false, {}},
    {"MountOfGet", nullptr, GetCall, false, {"CheckInstall"}},
    {"InstallationCheckOfSet", "CheckInstall", SetCall, false, {}},
    {"Stop", "ServiceStop", SetCall, false, {"CheckInstall"}},
    {"MountBehindTheStop", nullptr, SetCall, true, {"CheckInstall", "ServiceStop"}},
    {"Start", "ServiceStart", SetCall, true, {"CheckInstall", "ServiceStop"}},
};

class WorkerIn : public testing::TestWithParam<Phase> {
protected:
    // In this phase that is done, once.
    static void DoInPhase(const std::string& text) {
        const std::string mark = CTestRoot::Path("/done");
        const std::string once =
            "if [ ! -e " + mark + " ]; then : > " + mark + "; " + text + "; fi";
        const Phase& phase = GetParam();
        if (phase.m_command == nullptr) {
            SetMountScript(once);
        } else {
            SetVendorScript("if [ \"$1\" = " + std::string(phase.m_command) + " ]; then " + once +
                            "; fi");
        }
    }

    void ExpectNothingButThis() const {
        EXPECT_EQ(GetParam().m_calls, m_root.VendorCalls());
        if (GetParam().m_isWritten) {
            ExpectChangedFiles();
        } else {
            ExpectUntouchedFiles();
        }
    }

    CTestRoot m_root;
};

TEST_P(WorkerIn, DiesAndTheNextCallIsMade) {
    // The mount command's parent is the worker, or a shell below it.
    const char* find = GetParam().m_command != nullptr
                           ? kFindHost
                           : "host=$PPID; [ \"$(cat /proc/$host/comm)\" = kzm-worker ] || "
                             "read -r id name state host rest < /proc/$PPID/stat; ";
    DoInPhase(std::string(find) + "kill -9 $host; while kill -0 $host; do :; done; exit 0");
    CCallQueue queue(WorkerLimits());
    testing::internal::CaptureStderr();
    EXPECT_EQ("Died", ResultOf(queue.Run(GetParam().m_call())));
    EXPECT_EQ("The worker ended in the midst of " + GetParam().m_call().m_method + " (signal 9).\n",
              testing::internal::GetCapturedStderr());
    EXPECT_TRUE(IsLockFree());
    ExpectNothingButThis();
    ExpectUsable(queue);
}

TEST_P(WorkerIn, HangsAndTheNextCallIsMade) {
    const CFifo fifo;
    DoInPhase("(: < " + fifo.Path() + "); :"); // a process of the command's own hangs
    CQueueLimits limits = WorkerLimits();
    limits.m_callTime = std::chrono::milliseconds(300);
    CCallQueue queue(limits);
    testing::internal::CaptureStderr();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ("TimedOut", ResultOf(queue.Run(GetParam().m_call())));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(IsLockFree());
    // What hung is gone: nobody waits at the FIFO any more.
    fifo.AwaitAbandonment();
    ExpectNothingButThis();
    ExpectUsable(queue);
}

INSTANTIATE_TEST_SUITE_P(Each, WorkerIn, testing::ValuesIn(kPhases),
                         [](const auto& phase) { return phase.param.m_name; });

TEST(WorkerWithoutMemory, IsReplaced) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "the sanitizers need more memory than there is";
#endif
    const CTestRoot root;
    const CVariable memory("TEST_MEMORY", "50000000");
    CCallQueue queue(WorkerLimits());
    EXPECT_EQ("Done 0x00000000", ResultOf(queue.Run(GetCall())));
    SetMountScript("seq -f '/dev/sda on /%.0f type ext4 (rw)' 100000000");
    testing::internal::CaptureStderr();
    EXPECT_EQ("Done 0x80000002", ResultOf(queue.Run(GetCall())));
    EXPECT_EQ("GetParameter ended with an exception; the worker is replaced.\n",
              testing::internal::GetCapturedStderr());
    EXPECT_TRUE(IsLockFree());
    SetMountScript("");
    ExpectUsable(queue);
}

// The orphans among the processes below this one become its children.
class CSubreaper {
public:
    CSubreaper() { prctl(PR_SET_CHILD_SUBREAPER, 1); }
    ~CSubreaper() { prctl(PR_SET_CHILD_SUBREAPER, 0); }
    CSubreaper(const CSubreaper&) = delete;
    CSubreaper& operator=(const CSubreaper&) = delete;
};

// Runs a daemon that makes this call, and kills it at an event of that call.
void KillDaemon(const CMethodCall& call, const CQueueLimits& limits, const CFifo& event) {
    const CChildProcess daemon([&] {
        CCallQueue queue(limits);
        queue.Run(call);
        return 0;
    });
    event.Await();
}

// The status of the worker, once it has ended.
int AwaitWorker() {
    int status = -1;
    EXPECT_LT(0, waitpid(-1, &status, 0));
    return status;
}

TEST(WorkerWithoutDaemon, FinishesItsChange) {
    const CSubreaper subreaper;
    const CTestRoot root;
    const CFifo stopped;
    const CFifo onward;
    SetVendorScript("if [ \"$1\" = ServiceStop ]; then : > " + stopped.Path() + "; : < " +
                    onward.Path() + "; " + kFindHost +
                    "kill -TERM $host; kill -HUP $host; kill -INT $host; fi");
    KillDaemon(SetCall(), WorkerLimits(), stopped);
    onward.Release();
    EXPECT_EQ(0, AwaitWorker());
    ExpectChangedFiles();
    EXPECT_EQ((Texts{"CheckInstall", "ServiceStop", "ServiceStart"}), root.VendorCalls());
    root.SetVendorAnswers(0, 0, 0);
    CCallQueue queue(WorkerLimits());
    ExpectUsable(queue);
}

TEST(WorkerWithoutDaemon, DoesNotHangForever) {
    const CSubreaper subreaper;
    const CTestRoot root;
    const CFifo begun;
    const CFifo never;
    SetMountScript(": > " + begun.Path() + "; : < " + never.Path());
    CQueueLimits limits = WorkerLimits();
    limits.m_callTime = std::chrono::milliseconds(300);
    KillDaemon(GetCall(), limits, begun);
    const int status = AwaitWorker();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) << status;
    SetMountScript("");
    never.Release();
    EXPECT_LT(0, waitpid(-1, nullptr, 0)); // the mount command, which the worker has left behind
    CCallQueue queue(WorkerLimits());
    ExpectUsable(queue);
}

} // namespace
