// What is on disk at each moment of a change of the history, and what a failing call leaves.

#include "history/CCallerLock.h"
#include "history/History.h"

#include "tests/fault/CTracedProcess.h"
#include "tests/support/CTestRoot.h"
#include "tests/system/loggerctl/SampleHistory.h"
#include "tests/unit/history/Answer.h"
#include "tests/unit/history/SettingsNow.h"

#include <gtest/gtest.h>

#include <sys/syscall.h>

#include <cerrno>
#include <filesystem>
#include <functional>

using namespace history;
using namespace SampleHistory;
using Kind = CSystemCallFault::Kind;

namespace {

int SaveNow() {
    const auto id = Save(Now(), "x", {});
    return id ? 0 : id.error().m_number;
}

int BeginOlderNow() {
    const auto pending = BeginRestore(kOlder, Now(), {});
    return pending ? 0 : pending.error().m_number;
}

int End() {
    EndRestore();
    return 0;
}

class HistoryFault : public testing::Test {
protected:
    void SetUp() override {
        if (!CTracedProcess::IsPermitted()) {
            GTEST_SKIP() << "nobody may trace here";
        }
        Add(kOlder, "x", SampleHistory::kAgentConfig, SampleHistory::kAlertConfig);
    }

    static CTracedProcess::End Run(int (*function)(), const CSystemCallFault& fault) {
        const auto traced = [function] {
            CTracedProcess::OpenWindow();
            const int answer = function();
            CTracedProcess::CloseWindow();
            return answer;
        };
        return CTracedProcess::Run(traced, fault);
    }

    // How often the function writes something to disk.
    static int Syncs(int (*function)()) { return Run(function, {{SYS_fsync}}).Counted(); }

    // The process dies just before it writes something to disk for the n-th time.
    static void DieAtSync(int (*function)(), int n) {
        EXPECT_EQ(Run(function, {{SYS_fsync}, Kind::kKill, 0, n}).m_iStatus,
                  CTracedProcess::kKilled);
    }

    static std::size_t Listed() { return Must(List()).size(); }

    const CTestRoot m_root;
};

// The reason, both files, their folder; the entry has its name then; the folder around it.
TEST_F(HistoryFault, AnEntryIsOnDiskBeforeItHasItsName) {
    DieAtSync(SaveNow, 4);
    EXPECT_EQ(Listed(), 1U);
    const std::string entry = Path(Names().front());
    EXPECT_EQ(Names().front().rfind(".new-", 0), 0U);
    for (const char* file : {"reason", "agent.cfg", "alert.cfg"}) {
        EXPECT_TRUE(std::filesystem::exists(entry + "/" + file)) << file;
    }
    DieAtSync(SaveNow, 5);
    EXPECT_EQ(Listed(), 2U);
    EXPECT_EQ(Syncs(SaveNow), 5);
}

TEST_F(HistoryFault, AnEntryThatIsNotOnDiskIsNotKept) {
    for (int n = 1; n <= 5; ++n) {
        EXPECT_EQ(Run(SaveNow, {{SYS_fsync}, Kind::kError, EIO, n}).m_iStatus, EIO);
        EXPECT_EQ(Names(), std::vector<std::string>{kOlder});
    }
}

TEST_F(HistoryFault, ANewFolderIsOnDiskWithThoseAboveIt) {
    const int syncs = Syncs(SaveNow);
    const std::filesystem::path folder(KzmPaths::kHistoryFolder);
    std::filesystem::remove_all(folder.parent_path());
    EXPECT_EQ(Syncs(SaveNow), syncs + 2);
    std::filesystem::remove_all(folder);
    EXPECT_EQ(Run(SaveNow, {{SYS_fsync}, Kind::kError, EIO, 1}).m_iStatus, EIO);
}

TEST_F(HistoryFault, ARestoreIsRememberedWhenItsCopyIsOnDisk) {
    DieAtSync(BeginOlderNow, 6);
    EXPECT_EQ(Listed(), 2U);
    EXPECT_FALSE(Must(PendingRestore()));
    DieAtSync(BeginOlderNow, 7);
    EXPECT_TRUE(Must(PendingRestore()));
    EndRestore();
    EXPECT_EQ(Syncs(BeginOlderNow), 7);
}

TEST_F(HistoryFault, ARestoreThatCannotBeRememberedLeavesNothing) {
    for (const int n : {6, 7}) {
        EXPECT_EQ(Run(BeginOlderNow, {{SYS_fsync}, Kind::kError, EIO, n}).m_iStatus, EIO);
        EXPECT_EQ(Names(), std::vector<std::string>{kOlder});
    }
}

TEST_F(HistoryFault, TheEndOfARestoreIsWrittenToDisk) {
    Must(BeginRestore(kOlder, Now(), {}));
    DieAtSync(End, 1);
    EXPECT_FALSE(Must(PendingRestore()));
}

TEST_F(HistoryFault, ASignalDoesNotLetAnybodyInWithoutTheLock) {
    const CTracedProcess::End end = Run(SaveNow, {{SYS_flock}, Kind::kError, EINTR, 1});
    EXPECT_EQ(end.m_iStatus, 0);
    EXPECT_EQ(end.Counted(), 2);
}

TEST_F(HistoryFault, ACallersLockThatCannotBeTakenIsNotHeld) {
    constexpr int kBusy = 255;
    for (const auto& take : {+[] { return CCallerLock::Take(std::chrono::seconds(0)); },
                             +[] { return CCallerLock::Take(std::chrono::seconds(9)); }}) {
        const auto answer = [take] {
            CTracedProcess::OpenWindow();
            const auto lock = take();
            CTracedProcess::CloseWindow();
            return lock ? 0 : lock.error().m_busy ? kBusy : lock.error().m_problem.m_number;
        };
        EXPECT_EQ(CTracedProcess::Run(answer, {{SYS_flock}, Kind::kError, ENOLCK, 1}).m_iStatus,
                  ENOLCK);
    }
}

} // namespace
