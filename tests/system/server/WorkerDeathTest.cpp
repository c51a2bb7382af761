// Workers that die, hang or fault in the midst of a call, and those whose daemon does.

#include "KzmPaths.h"
#include "tests/support/CChildProcess.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/FindHost.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/system/server/CSubreaper.h"
#include "tests/system/server/CVariable.h"
#include "tests/system/server/WorkerSupport.h"
#include "tests/unit/providerd/CFifo.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <chrono>

using providerd::CCallQueue;
using providerd::CMethodCall;
using providerd::CQueueLimits;

namespace {

using Texts = std::vector<std::string>;

CMethodCall CallIn(const CPhase& phase) {
    return std::string(phase.m_method) == "GetParameter" ? GetCall() : SetCall();
}

class WorkerIn : public testing::TestWithParam<CPhase> {
protected:
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
    DoOnceInPhase(GetParam(), FindHostIn(GetParam()) +
                                  "kill -9 $host; while kill -0 $host; do :; done; exit 0");
    CCallQueue queue(WorkerLimits());
    testing::internal::CaptureStderr();
    EXPECT_EQ("Died", ResultOf(queue.Run(CallIn(GetParam()))));
    EXPECT_EQ(std::string("The worker ended in the midst of ") + GetParam().m_method +
                  " (signal 9).\n",
              testing::internal::GetCapturedStderr());
    EXPECT_TRUE(IsLockFree());
    ExpectNothingButThis();
    ExpectUsable(queue);
}

TEST_P(WorkerIn, HangsAndTheNextCallIsMade) {
    DoOnceInPhase(GetParam(), Hanging());
    CQueueLimits limits = WorkerLimits();
    limits.m_callTime = std::chrono::milliseconds(300);
    CCallQueue queue(limits);
    testing::internal::CaptureStderr();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ("TimedOut", ResultOf(queue.Run(CallIn(GetParam()))));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(IsLockFree());
    AwaitEndOfHanging();
    ExpectNothingButThis();
    ExpectUsable(queue);
}

INSTANTIATE_TEST_SUITE_P(Each, WorkerIn, testing::ValuesIn(Phases()),
                         [](const auto& phase) { return phase.param.m_name; });

TEST(WorkerWithoutMemory, IsReplaced) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "the sanitizers need more memory than there is";
#endif
    const CTestRoot root;
    const CVariable memory("KZM_TEST_MEMORY", "50000000");
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

// Runs a daemon that makes this call, and kills it at an event of that call.
void KillDaemon(const CMethodCall& call, const CQueueLimits& limits, const CFifo& event) {
    const CChildProcess daemon([&] {
        CCallQueue queue(limits);
        queue.Run(call);
        return 0;
    });
    event.Await();
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
    EXPECT_EQ(0, subreaper.AwaitChild());
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
    const int status = subreaper.AwaitChild();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) << status;
    SetMountScript("");
    never.Release();
    subreaper.AwaitChild(); // the mount command, which the worker has left behind
    CCallQueue queue(WorkerLimits());
    ExpectUsable(queue);
}

} // namespace
