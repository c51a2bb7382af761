// The process dies before each of its calls that change something on disk, or one of its calls
// fails.

#include "history/History.h"

#include "tests/support/CFailingCall.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/TableTest.h"
#include "tests/system/loggerctl/SampleHistory.h"
#include "tests/unit/history/Answer.h"
#include "tests/unit/history/SettingsNow.h"

#include <gtest/gtest.h>

#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>

using namespace history;

namespace fs = std::filesystem;
using namespace SampleHistory;

namespace {

constexpr int kMostCalls = 200; // more than any function here makes

bool ChangesSomething(std::uint64_t call) {
    for (const int changing : {SYS_fsync, SYS_renameat, SYS_unlinkat, SYS_mkdirat, SYS_write}) {
        if (call == static_cast<std::uint64_t>(changing)) {
            return true;
        }
    }
    return false;
}

enum class Ending { Done, Killed, CannotTrace };

// Runs the function in another process, which dies before the n-th call that changes something.
Ending RunUntilCall(int n, bool (*function)()) {
    const pid_t child = fork();
    if (child == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        function();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    while (WIFSTOPPED(status)) {
        __ptrace_syscall_info info{};
        if (ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) <= 0) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            return Ending::CannotTrace;
        }
        if (info.op == PTRACE_SYSCALL_INFO_ENTRY && ChangesSomething(info.entry.nr) && --n == 0) {
            kill(child, SIGKILL);
        }
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr); // fails where it was killed: its end comes
        waitpid(child, &status, 0);
    }
    return WIFEXITED(status) ? Ending::Done : Ending::Killed;
}

// The host's files, read before anything fails.
CSettingsCopy present;

struct CDyingRow {
    const char* name;
    bool (*before)();   // what has been done already
    bool (*function)(); // what dies or fails; whether it says that it did what it should
    bool mayForget;     // a restore that was pending before
    bool mayLackKept;   // a restore that is pending afterwards
};

class DyingTest : public testing::TestWithParam<CDyingRow> {
protected:
    static void Prepare() {
        fs::remove_all(KzmPaths::kHistoryFolder);
        Add(kOlder, "x", SampleHistory::kAgentConfig, SampleHistory::kAlertConfig);
        Add(kNewer, "y", "newer agent\n", "newer alert\n");
        present = Now();
        ASSERT_TRUE(GetParam().before());
    }

    static void ExpectWhole(const std::optional<CPendingRestore>& before) {
        const auto pending = Must(history::PendingRestore());
        if (pending) {
            EXPECT_TRUE(history::Load(pending->m_id));
            EXPECT_TRUE(!pending->m_keptId.empty() || GetParam().mayLackKept);
            if (!pending->m_keptId.empty()) {
                EXPECT_EQ(Must(history::Load(pending->m_keptId)).DifferentNames(Now()),
                          std::vector<std::string>());
            }
        } else {
            EXPECT_TRUE(!before || GetParam().mayForget);
        }
        for (const history::CEntry& entry : Must(history::List())) {
            EXPECT_TRUE(history::Load(entry.m_id));
        }
        EXPECT_TRUE(history::Load(kOlder));
        EXPECT_TRUE(history::Load(kNewer));
    }

    static void ExpectThatAllGoesOn() {
        const CPendingRestore again = Must(history::BeginRestore(kOlder, Now(), {}));
        EXPECT_EQ(Must(history::Load(again.m_keptId)).DifferentNames(Now()),
                  std::vector<std::string>());
        EXPECT_TRUE(history::EndRestore());
        Must(history::Save(Now(), "x", {}));
        std::vector<std::string> listed;
        for (const history::CEntry& entry : Must(history::List())) {
            listed.insert(listed.begin(), entry.m_id);
        }
        EXPECT_EQ(Names(), listed);
    }

    const CTestRoot m_root;
};

TEST_P(DyingTest, LeavesWhatIsWhole) {
    Ending end = Ending::Killed;
    int n = 1;
    for (; end == Ending::Killed && n < kMostCalls; ++n) {
        SCOPED_TRACE("before call " + std::to_string(n));
        Prepare();
        const auto before = Must(history::PendingRestore());
        end = RunUntilCall(n, GetParam().function);
        if (end == Ending::CannotTrace) {
            GTEST_SKIP() << "system calls cannot be followed here";
        }
        ExpectWhole(before);
        ExpectThatAllGoesOn();
    }
    EXPECT_GT(n, 3);
    EXPECT_LT(n, kMostCalls);
}

// A failure leaves the copies that were there, and no other.
TEST_P(DyingTest, LeavesWhatIsWholeWhenACallFails) {
    const CNoSyncing quick;
    for (const char* call : {"open", "openat", "fstat", "fdopendir", "read", "write", "fchmod",
                             "futimens", "fsync", "flock", "mkdirat", "renameat", "unlinkat"}) {
        bool isMet = true;
        for (int n = 1; isMet && n < kMostCalls; ++n) {
            SCOPED_TRACE(std::string(call) + " " + std::to_string(n));
            Prepare();
            const auto before = Must(history::PendingRestore());
            const std::vector<history::CEntry> listed = Must(history::List());
            bool isDone = false;
            {
                const CFailingCall failing(call, EIO, n);
                isDone = GetParam().function();
                isMet = CFailingCall::IsMet();
            }
            EXPECT_TRUE(isDone || isMet);
            EXPECT_TRUE(isDone || Must(history::List()).size() == listed.size());
            ExpectWhole(before);
            ExpectThatAllGoesOn();
        }
    }
}

TEST(HistoryFolder, IsSaidToBeTheTroubleWhenItCannotBeMade) {
    const CTestRoot root;
    for (const char* call : {"chmod", "fsync", "open"}) {
        fs::remove_all(KzmPaths::kHistoryFolder);
        const CFailingCall failing(call, EIO);
        EXPECT_EQ(Problem(history::Save(Now(), "x", {})),
                  std::string(KzmPaths::kHistoryFolder) + ": cannot be made (Input/output error).");
    }
}

TEST(HistoryFolder, WithoutOneNothingIsPending) {
    const CTestRoot root;
    fs::remove_all(KzmPaths::kHistoryFolder);
    EXPECT_FALSE(Must(history::PendingRestore()).has_value());
    EXPECT_TRUE(history::EndRestore());
}

TEST(HistoryFolder, IsNotListedWithoutAnEntryThatCannotBeLookedAt) {
    const CTestRoot root;
    Must(history::Save(Now(), "x", {}));
    const CFailingCall failing("fstatat", EIO);
    EXPECT_FALSE(history::List());
}

// The copy of the files as they were before: it is needed to tell how far the restore had come.
TEST(HistoryFolder, RestoresNothingAgainWhenTheKeptCopyCannotBeRead) {
    const CTestRoot root;
    const CNoSyncing quick;
    const std::string id = Must(history::Save(Now(), "x", {}));
    const CSettingsCopy now = Now();
    Must(history::BeginRestore(id, now, {}));
    bool isKeptUnreadable = false;
    for (int n = 1; n < kMostCalls; ++n) {
        const CFailingCall failing("openat", EIO, n);
        const auto again = history::BeginRestore(id, now, {});
        const std::string problem = again ? "" : again.error().m_text;
        isKeptUnreadable |= problem.find("/agent.cfg: cannot be read") != std::string::npos &&
                            problem.find(id) == std::string::npos;
        EXPECT_EQ(problem.find(strerrordesc_np(EBADF)), std::string::npos) << problem;
    }
    EXPECT_TRUE(isKeptUnreadable);
}

// The folders' own descriptors, and those of the files in them.
TEST(HistoryFolder, LeavesNoDescriptorBehind) {
    const CTestRoot root;
    const CNoSyncing quick;
    const auto count = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    const CSettingsCopy now = Now();
    const auto before = count();
    for (const char* call : {"", "open", "openat", "fstat", "read", "write", "fsync", "renameat"}) {
        const CFailingCall failing(call, EIO, 2);
        const auto id = history::Save(now, "x", {});
        const auto loaded = history::Load(id.value_or(""));
        static_cast<void>(history::EndRestore());
    }
    fs::permissions(KzmPaths::kHistoryFolder, fs::perms::all);
    EXPECT_FALSE(history::List());
    EXPECT_EQ(count(), before);
}

bool Nothing() {
    return true;
}
bool BeginOlder() {
    return history::BeginRestore(kOlder, present, {}).has_value();
}
bool BeginNewer() {
    return history::BeginRestore(kNewer, present, {}).has_value();
}
bool BeginAndDiscard() {
    const auto pending = history::BeginRestore(kOlder, present, {});
    if (pending) {
        history::DiscardKept(*pending);
    }
    return pending.has_value();
}
bool SavePresent() {
    return history::Save(present, "x", {}).has_value();
}
bool EndTheRestore() {
    return history::EndRestore().has_value();
}

const CDyingRow kDyingRows[] = {
    {"Save", Nothing, SavePresent, true, false},
    {"SaveAfterAnother", BeginNewer, SavePresent, true, false},
    {"Begin", Nothing, BeginOlder, true, false},
    {"BeginAfterAnother", BeginNewer, BeginOlder, false, false},
    {"BeginWithoutKept", BeginAndDiscard, BeginOlder, false, true},
    {"Discard", Nothing, BeginAndDiscard, true, true},
    {"End", BeginOlder, EndTheRestore, true, false},
};
INSTANTIATE_TEST_SUITE_P(At, DyingTest, testing::ValuesIn(kDyingRows), RowName<CDyingRow>);

} // namespace
