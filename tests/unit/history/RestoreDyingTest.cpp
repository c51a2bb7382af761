// The process dies before each of its calls that change something on disk.

#include "history/History.h"

#include "tests/support/CTestRoot.h"
#include "tests/support/TableTest.h"
#include "tests/system/loggerctl/SampleHistory.h"
#include "tests/unit/history/Answer.h"

#include <gtest/gtest.h>

#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
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

enum class End { Done, Killed, CannotTrace };

// Runs the function in another process, which dies before the n-th call that changes something.
End RunUntilCall(int n, void (*function)()) {
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
        if (ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) != 0 ||
            waitpid(child, &status, 0) != child || !WIFSTOPPED(status)) {
            break;
        }
        if (ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) <= 0) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            return End::CannotTrace;
        }
        if (info.op == PTRACE_SYSCALL_INFO_ENTRY && ChangesSomething(info.entry.nr) && --n == 0) {
            kill(child, SIGKILL);
        }
    }
    return WIFEXITED(status) ? End::Done : End::Killed;
}

CSettingsCopy Now() {
    return Must(CSettingsCopy::OfNow(CSettingsCopy::Missing::Allow));
}

struct CDyingRow {
    const char* name;
    void (*before)();   // what has been done already
    void (*function)(); // what dies
    bool mayForget;     // a restore that was pending before
    bool mayLackKept;   // a restore that is pending afterwards
};

class DyingTest : public testing::TestWithParam<CDyingRow> {
protected:
    static void Prepare() {
        fs::remove_all(KzmPaths::kHistoryFolder);
        Add(kOlder, "x", SampleHistory::kAgentConfig, SampleHistory::kAlertConfig);
        Add(kNewer, "y", "newer agent\n", "newer alert\n");
        GetParam().before();
    }

    static void ExpectWhole(const std::optional<CPendingRestore>& before) {
        const auto pending = history::PendingRestore();
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
        history::EndRestore();
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
    End end = End::Killed;
    int n = 1;
    for (; end == End::Killed && n < kMostCalls; ++n) {
        SCOPED_TRACE("before call " + std::to_string(n));
        Prepare();
        const auto before = history::PendingRestore();
        end = RunUntilCall(n, GetParam().function);
        if (end == End::CannotTrace) {
            GTEST_SKIP() << "system calls cannot be followed here";
        }
        ExpectWhole(before);
        ExpectThatAllGoesOn();
    }
    EXPECT_GT(n, 3);
    EXPECT_LT(n, kMostCalls);
}

void Nothing() {}
void BeginOlder() {
    Must(history::BeginRestore(kOlder, Now(), {}));
}
void BeginNewer() {
    Must(history::BeginRestore(kNewer, Now(), {}));
}
void BeginAndDiscard() {
    history::DiscardKept(Must(history::BeginRestore(kOlder, Now(), {})));
}
void Save() {
    Must(history::Save(Now(), "x", {}));
}

const CDyingRow kDyingRows[] = {
    {"Save", Nothing, Save, true, false},
    {"SaveAfterAnother", BeginNewer, Save, true, false},
    {"Begin", Nothing, BeginOlder, true, false},
    {"BeginAfterAnother", BeginNewer, BeginOlder, false, false},
    {"BeginWithoutKept", BeginAndDiscard, BeginOlder, false, true},
    {"Discard", Nothing, BeginAndDiscard, true, true},
    {"End", BeginOlder, history::EndRestore, true, false},
};
INSTANTIATE_TEST_SUITE_P(At, DyingTest, testing::ValuesIn(kDyingRows), RowName<CDyingRow>);

} // namespace
