// The process that changes the settings dies at every system call that it makes.

#include "KzmPaths.h"
#include "tests/fault/CFaultPoints.h"
#include "tests/fault/CMethodRun.h"
#include "tests/fault/HostRecovery.h"
#include "tests/fault/SampleReading.h"
#include "tests/fault/SystemCallNumbers.h"
#include "tests/support/CLoadedProvider.h"
#include "tests/support/TableTest.h"

#include <gtest/gtest.h>

#include <sys/syscall.h>

#include <algorithm>
#include <vector>

using Kind = CSystemCallFault::Kind;
using namespace SystemCallNumbers;
using std::string;

namespace {

struct MethodRow {
    const char* name;
    const char* method;
    Kind kind;
    std::vector<long> numbers; // none: all
    int ordinaryPoints;
};
std::ostream& operator<<(std::ostream& out, const MethodRow& row) {
    return out << row.name;
}

class KilledMethod : public testing::TestWithParam<MethodRow> {
protected:
    void SetUp() override {
        if (!CTracedProcess::IsPermitted()) {
            GTEST_SKIP() << "nobody may trace here";
        }
    }
};

// What is left in every case, whatever the point.
void ExpectOrder(const DocumentedOutcomes::Case& made, const CObservation& observation) {
    EXPECT_EQ(CTracedProcess::kKilled, observation.m_iExitStatus);
    EXPECT_FALSE(observation.m_report.has_value());
    EXPECT_TRUE(observation.m_bOrphansEnded);
    EXPECT_TRUE(observation.m_bLockFree);
    EXPECT_TRUE(DocumentedOutcomes::AreFilesWrittenInPart(made, observation)) << observation;
    // One file after the other.
    EXPECT_TRUE(observation.m_sAlert == made.m_sOldAlert ||
                observation.m_sAgent == made.m_sNewAgent)
        << observation;
    // Nothing is written but while the service is stopped, and it is started with whole files.
    const std::vector<string> commands = observation.m_vendorCalls;
    const std::vector<string> order = {"CheckInstall", "ServiceStop", "ServiceStart"};
    EXPECT_LE(commands.size(), order.size());
    EXPECT_TRUE(std::equal(commands.begin(), commands.end(), order.begin())) << observation;
    if (observation.m_sAgent != made.m_sOldAgent) {
        EXPECT_LE(2U, commands.size()) << observation;
    }
    if (commands == order) {
        EXPECT_EQ(made.m_sNewAlert, observation.m_sAlert);
    }
}

// The next host's answer is what the files demand.
void ExpectNextAnswer(const string& agent, const string& alert) {
    CLoadedProvider provider;
    const CTraceCapture trace;
    const CCallOutcome outcome = provider.Call("GetParameter");
    EXPECT_EQ("", outcome.m_sError);
    EXPECT_EQ(0, outcome.m_status);
    TraceLines failures = SampleReading::FailureOf(agent, alert);
    if (failures.empty()) {
        EXPECT_EQ(0U, outcome.m_uiMethodResult);
        const CLoggerConf answered(outcome.m_output.get());
        EXPECT_EQ(0, answered.m_iStatus);
        EXPECT_TRUE(SampleReading::RecordOf(agent, alert).Compare(&answered));
    } else {
        EXPECT_EQ(0x80000001U, outcome.m_uiMethodResult);
        failures.push_back(
            {2, "CVELTARO_ToolServiceLogger::GetParameter() CLoggerConf status error"});
    }
    EXPECT_EQ(failures, trace.Lines(2 | 8));
}

void DieAndRecover(const MethodRow& row, int point) {
    CMethodRun run(row.method);
    const DocumentedOutcomes::Case made = run.Case("");
    const CObservation observation = run.Run({row.numbers, row.kind, 0, point});
    if (!observation.m_bMet) {
        EXPECT_EQ(0, observation.m_iExitStatus);
        return; // there are fewer calls now
    }
    ExpectOrder(made, observation);
    ExpectNextAnswer(observation.m_sAgent, observation.m_sAlert);
    HostRecovery::ExpectRestored(run.Root());
}

TEST_P(KilledMethod, LeavesNothingBehindThatCannotBeRestored) {
    const MethodRow& row = GetParam();
    CMethodRun counted(row.method);
    counted.Run(CSystemCallFault{row.numbers});
    const int count = counted.End().Counted();
    const std::vector<int> points = CFaultPoints::Choose(count, row.ordinaryPoints);
    for (const int point : points) {
        SCOPED_TRACE("killed at call " + std::to_string(point));
        DieAndRecover(row, point);
    }
    CFaultPoints::Tell(string("killed: ") + row.name, static_cast<int>(points.size()), count);
}

const MethodRow kMethodRows[] = {
    {"GetParameter", "GetParameter", Kind::kKill, {}, 4},
    {"SetParameter", "SetParameter", Kind::kKill, {}, 12},
    {"GetParameterBehindAStart", "GetParameter", Kind::kKillAfterwards, kStarting, 2},
    {"SetParameterBehindAStart", "SetParameter", Kind::kKillAfterwards, kStarting, 4},
    {"SetParameterBehindAnOpening", "SetParameter", Kind::kKillAfterwards, {SYS_openat}, 3},
    {"SetParameterBehindALock", "SetParameter", Kind::kKillAfterwards, {SYS_flock}, 2},
};

INSTANTIATE_TEST_SUITE_P(At, KilledMethod, testing::ValuesIn(kMethodRows), RowName<MethodRow>);

} // namespace
