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
    DoInPhase(": < " + fifo.Path());
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
    while (open(fifo.Path().c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC) != -1) {
    }
    EXPECT_EQ(ENXIO, errno);
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

// A daemon that is killed while the service is stopped.
TEST(WorkerWithoutDaemon, FinishesItsChange) {
    const CTestRoot root;
    const CFifo stopped;
    const CFifo onward;
    SetVendorScript("if [ \"$1\" = ServiceStop ]; then : > " + stopped.Path() + "; : < " +
                    onward.Path() + "; " + kFindHost +
                    "kill -TERM $host; kill -HUP $host; kill -INT $host; fi");
    prctl(PR_SET_CHILD_SUBREAPER, 1); // its worker is then waited for here
    {
        const CChildProcess daemon([] {
            CCallQueue queue(WorkerLimits());
            queue.Run(SetCall());
            return 0;
        });
        stopped.Await();
    } // is killed
    onward.Release();
    int status = -1;
    EXPECT_LT(0, waitpid(-1, &status, 0));
    prctl(PR_SET_CHILD_SUBREAPER, 0);

    EXPECT_EQ(0, status);
    ExpectChangedFiles();
    EXPECT_EQ((Texts{"CheckInstall", "ServiceStop", "ServiceStart"}), root.VendorCalls());
    root.SetVendorAnswers(0, 0, 0);
    CCallQueue queue(WorkerLimits());
    ExpectUsable(queue);
}

} // namespace
