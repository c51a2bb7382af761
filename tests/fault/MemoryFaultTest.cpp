// Every allocation of both methods fails once.

#include "tests/fault/AllocationFault.h"
#include "tests/fault/CFaultPoints.h"
#include "tests/fault/CMethodRun.h"
#include "tests/fault/DocumentedOutcomes.h"
#include "tests/fault/HostRecovery.h"

#include <gtest/gtest.h>

using DocumentedOutcomes::Case;
using std::string;

namespace {

constexpr int kOrdinaryPoints = 50;
constexpr int kOfHost = 2; // allocations of the host's before it calls the provider
constexpr std::uint32_t kCallFailed = 0x80041001;

class MemoryFault : public testing::TestWithParam<string> {};

// The number of allocations; completes the case with the trace.
int CountAllocations(Case* made) {
    CMethodRun run(made->m_sMethod);
    AllocationFault::SetPoint(0);
    const CObservation observation = run.Run(AllocationFault::Window());
    EXPECT_TRUE(observation.m_report.has_value()) << observation;
    made->m_goodTrace = observation.m_report->m_trace;
    EXPECT_EQ("Success", DocumentedOutcomes::Find(*made, observation)) << observation;
    return observation.m_report->m_iAllocations;
}

TEST_P(MemoryFault, LeadsToADocumentedOutcome) {
    Case made = CMethodRun(GetParam()).Case("memory");
    const int count = CountAllocations(&made);
    const std::vector<int> points = CFaultPoints::Choose(count, kOrdinaryPoints);
    for (const int point : points) {
        SCOPED_TRACE("allocation " + std::to_string(point));
        CMethodRun run(GetParam());
        AllocationFault::SetPoint(point);
        const CObservation observation = run.Run(AllocationFault::Window());
        AllocationFault::SetPoint(0);
        EXPECT_EQ(point <= count, observation.m_bMet);
        EXPECT_NE("", DocumentedOutcomes::Find(made, observation)) << observation;
        if (made.m_sMethod == "SetParameter") {
            HostRecovery::ExpectRestored(run.Root());
        }
    }
    CFaultPoints::Tell(GetParam() + " allocation", static_cast<int>(points.size()), count);
}

// ---- No memory any more ----

// Next to nothing can be traced then, so the table's rows cannot be told apart.
void ExpectOrder(const Case& made, const CObservation& observation) {
    EXPECT_EQ(0, observation.m_iExitStatus);
    ASSERT_TRUE(observation.m_report.has_value());
    const CObservation::Report& report = *observation.m_report;
    EXPECT_EQ("", report.m_sError);
    EXPECT_TRUE(report.m_uiStatus == 0 || report.m_uiStatus == kCallFailed);
    EXPECT_EQ(report.m_uiStatus == 0, report.m_bDelivered);
    EXPECT_EQ(report.m_bLockHeld ? 1U : 0U, report.m_leaked.size());
    EXPECT_FALSE(report.m_bHasChildren);
    EXPECT_TRUE(observation.m_bOrphansEnded);
    EXPECT_TRUE(observation.m_bLockFree);
    EXPECT_TRUE(DocumentedOutcomes::AreFilesWrittenInPart(made, observation));
}

TEST_P(MemoryFault, ForGoodIsStillAnsweredWithAStatus) {
    Case made = CMethodRun(GetParam()).Case("memory");
    const int count = CountAllocations(&made);
    const std::vector<int> points = CFaultPoints::Choose(count, kOrdinaryPoints / 2);
    for (const int point : points) {
        SCOPED_TRACE("allocation " + std::to_string(point) + " and all behind it");
        CMethodRun run(GetParam());
        AllocationFault::SetPoint(point, AllocationFault::Duration::kForGood);
        const CObservation observation = run.Run(AllocationFault::Window());
        AllocationFault::SetPoint(0);
        ExpectOrder(made, observation);
        EXPECT_EQ(point <= kOfHost, observation.m_report && observation.m_report->m_bThrown)
            << observation;
        if (made.m_sMethod == "SetParameter") {
            HostRecovery::ExpectRestored(run.Root());
        }
    }
    CFaultPoints::Tell(GetParam() + " allocation for good", static_cast<int>(points.size()), count);
}

string NameOf(const testing::TestParamInfo<string>& info) {
    return info.param;
}

INSTANTIATE_TEST_SUITE_P(In, MemoryFault,
                         testing::Values(string("GetParameter"), string("SetParameter")), NameOf);

} // namespace
