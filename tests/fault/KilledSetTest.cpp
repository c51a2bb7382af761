// "loggerctl set" dies wherever it changes something.

#include "KzmPaths.h"
#include "tests/fault/CFaultPoints.h"
#include "tests/fault/COrphans.h"
#include "tests/fault/CTracedProcess.h"
#include "tests/fault/HostRecovery.h"
#include "tests/fault/SystemCallNumbers.h"
#include "tests/support/CProgram.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/support/SampleConf.h"
#include "tests/support/TableTest.h"
#include "tests/system/loggerctl/SampleHistory.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <vector>

using Kind = CSystemCallFault::Kind;
using namespace SystemCallNumbers;
using std::string;

namespace {

constexpr std::chrono::seconds kLongestLife{10}; // of what the dead process leaves behind
const CProgram::Words kSet = {"set", "syslog.information=yes", "cpu.threshold=95"};

struct SetRow {
    const char* name;
    std::vector<long> numbers;
    int ordinaryPoints;
    Kind kind = Kind::kKill;
};
std::ostream& operator<<(std::ostream& out, const SetRow& row) {
    return out << row.name;
}

class KilledSet : public testing::TestWithParam<SetRow> {
protected:
    void SetUp() override {
        if (!CTracedProcess::IsPermitted()) {
            GTEST_SKIP() << "nobody may trace here";
        }
    }
};

// For the traced process: becomes the tool, and comes back only when that fails.
int ExecuteSet() {
    dup2(open("/dev/null", O_RDWR | O_CLOEXEC), STDOUT_FILENO);
    dup2(STDOUT_FILENO, STDERR_FILENO);
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1); // which needs to trace, too
    CTracedProcess::OpenWindow();
    execl(LOGGERCTL_PROGRAM, LOGGERCTL_PROGRAM, "--provider", PROVIDER_LIBRARY, "--definitions",
          CLASS_DEFINITIONS, kSet[0].c_str(), kSet[1].c_str(), kSet[2].c_str(), nullptr);
    return 127;
}

bool HasCopy() {
    for (const string& name : SampleHistory::Names()) {
        if (name.front() != '.') {
            return true;
        }
    }
    return false;
}

void ExpectFiles(const string& agent, const string& alert) {
    EXPECT_EQ(agent, ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(alert, ReadFile(KzmPaths::kAlertConfig));
}

// Without a copy nothing was changed yet. With one, the newest holds the files as they were.
void ExpectWayBack(const CTestRoot& root) {
    if (!HasCopy()) {
        ExpectFiles(CTestRoot::kAgentConfig, CTestRoot::kAlertConfig);
        EXPECT_FALSE(HostRecovery::IsStopped(root));
        EXPECT_EQ(0, CProgram(kSet).Run().m_iExitCode);
        ExpectFiles(ChangedAgent(), ChangedAlert());
    }
    const CProgram::Result result = CProgram({"restore", "--force"}).Run();
    EXPECT_EQ(0, result.m_iExitCode) << result.m_sError;
    ExpectFiles(CTestRoot::kAgentConfig, CTestRoot::kAlertConfig);
    EXPECT_FALSE(HostRecovery::IsStopped(root));
    HostRecovery::ExpectNoRemains();
    EXPECT_TRUE(IsLockFree());
}

TEST_P(KilledSet, IsTakenBackByARestore) {
    const COrphans orphans;
    const SetRow& row = GetParam();
    CSystemCallFault fault{row.numbers};
    int count = 0;
    {
        const CTestRoot root;
        const CTracedProcess::End end = CTracedProcess::Run(ExecuteSet, fault);
        EXPECT_EQ(0, end.m_iStatus);
        count = end.Counted();
    }
    fault.m_kind = row.kind;
    const std::vector<int> points = CFaultPoints::Choose(count, row.ordinaryPoints);
    for (const int point : points) {
        SCOPED_TRACE("killed at call " + std::to_string(point));
        const CTestRoot root;
        fault.m_iPoint = point;
        const CTracedProcess::End end = CTracedProcess::Run(ExecuteSet, fault);
        EXPECT_EQ(end.m_bMet ? CTracedProcess::kKilled : 0, end.m_iStatus);
        EXPECT_TRUE(orphans.HaveEnded(kLongestLife));
        EXPECT_TRUE(IsLockFree());
        ExpectWayBack(root);
    }
    CFaultPoints::Tell(string("loggerctl set killed: ") + row.name, static_cast<int>(points.size()),
                       count);
}

const SetRow kSetRows[] = {
    {"Write", kWriting, 4},
    {"Close", {SYS_close}, 4},
    {"Open", {SYS_openat}, 4},
    {"Rename", {SYS_renameat, SYS_renameat2}, 2},
    {"Sync", {SYS_fsync, SYS_fdatasync}, 3},
    {"MakeFolder", {SYS_mkdirat}, 2},
    {"Mode", {SYS_fchmod, SYS_fchown, SYS_utimensat}, 2},
    {"Lock", {SYS_flock}, 2},
    {"Start", kStarting, 3},
    {"BehindAStart", kStarting, 3, Kind::kKillAfterwards},
};

INSTANTIATE_TEST_SUITE_P(At, KilledSet, testing::ValuesIn(kSetRows), RowName<SetRow>);

} // namespace
