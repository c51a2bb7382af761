// What is put right in a request before it is written.

#include "tests/support/TableTest.h"
#include "tests/unit/provider/ScriptedCall.h"

#include "settings/CLoggerConf.h"

using Rows = std::list<CLoggerFsThresholdConf>;

namespace {

struct NormaliseRow {
    std::string name;
    bool isMonitoring;
    Rows before;
    Rows after;
};
std::ostream& operator<<(std::ostream& out, const NormaliseRow& row) {
    return out << row.name;
}

std::string Text(const Rows& rows) {
    std::string text;
    for (const CLoggerFsThresholdConf& row : rows) {
        text += row.m_sVolumeName + " " + std::to_string(row.m_iThreshold) +
                (row.m_bVolMonitoringEnable ? " on" : " off") + ", status " +
                std::to_string(row.m_iStatus) + "\n";
    }
    return text;
}

// A record in which every part has values of its own.
CLoggerConf FilledConf(bool isMonitoring, const Rows& rows) {
    CLoggerConf conf;
    conf.m_SyslogOutputConf.m_bSyslogOutput = true;
    for (CLoggerUsageMonitorConf& monitor : conf.m_UsageMonitorConf) {
        monitor.m_bMonitoringEnable = true;
    }
    conf.m_FsUsageMonitorConf.m_bMonitoringEnable = isMonitoring;
    conf.m_FsUsageMonitorConf.m_uiSamplingInterval = 300;
    conf.m_FsUsageMonitorConf.m_uiSamplingCount = 2;
    conf.m_FsUsageMonitorConf.m_iStatus = 7;
    conf.m_FsUsageMonitorConf.m_FsThresholdConfList = rows;
    return conf;
}

// Runs the step and compares the whole record afterwards.
void ExpectStep(void (*step)(CLoggerConf*), const NormaliseRow& row) {
    CLoggerConf conf = FilledConf(row.isMonitoring, row.before);
    const CLoggerConf expected = FilledConf(row.isMonitoring, row.after);
    CScript::Reset();
    step(&conf);
    EXPECT_EQ(Notes{}, CScript::Get().m_notes);
    EXPECT_EQ(Text(row.after), Text(conf.m_FsUsageMonitorConf.m_FsThresholdConfList));
    EXPECT_EQ(7, conf.m_FsUsageMonitorConf.m_iStatus);
    EXPECT_EQ(0, conf.m_iStatus);
    // Thresholds of 0 in the CPU and memory parts are not this step's business.
    EXPECT_TRUE(expected.Compare(&conf)) << testing::PrintToString(CScript::Get().m_notes);
}

class CheckFsMonitoringEnable : public testing::TestWithParam<NormaliseRow> {};

TEST_P(CheckFsMonitoringEnable, GivesExactlyTheseRows) {
    ExpectStep(CVELTARO_ToolServiceLogger::CheckFsMonitoringEnable, GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Requests, CheckFsMonitoringEnable,
    testing::Values(NormaliseRow{"OffSwitchesAllRowsOff",
                                 false,
                                 {{"/c", 90, true}, {"/a", 0, true}, {"/b", -5, true}},
                                 {{"/c", 90, false}, {"/a", 0, false}, {"/b", -5, false}}},
                    NormaliseRow{"OffKeepsRowsThatAreOff",
                                 false,
                                 {{"/a", 90, false}, {"/b", 70, true}},
                                 {{"/a", 90, false}, {"/b", 70, false}}},
                    NormaliseRow{"OnKeepsEveryRow",
                                 true,
                                 {{"/c", 90, true}, {"/a", 0, false}, {"/b", 70, true}},
                                 {{"/c", 90, true}, {"/a", 0, false}, {"/b", 70, true}}},
                    NormaliseRow{"OffWithoutRows", false, {}, {}},
                    NormaliseRow{"OnWithoutRows", true, {}, {}}),
    RowName<NormaliseRow>);

class CheckMountPointThreshold : public testing::TestWithParam<NormaliseRow> {};

TEST_P(CheckMountPointThreshold, GivesExactlyTheseRows) {
    ExpectStep(CVELTARO_ToolServiceLogger::CheckMountPointThreshold, GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Requests, CheckMountPointThreshold,
    testing::Values(
        NormaliseRow{"ZeroBecomesTheDefault", true, {{"/a", 0, true}}, {{"/a", 80, true}}},
        NormaliseRow{"ZeroOfARowThatIsOff", true, {{"/a", 0, false}}, {{"/a", 80, false}}},
        NormaliseRow{"ZeroWhileAllIsOff",
                     false,
                     {{"/a", 0, true}, {"/b", 0, false}},
                     {{"/a", 80, true}, {"/b", 80, false}}},
        NormaliseRow{"EveryZeroAndNothingElse",
                     true,
                     {{"/c", 0, true}, {"/a", 1, true}, {"/b", 0, true}, {"/d", 79, false}},
                     {{"/c", 80, true}, {"/a", 1, true}, {"/b", 80, true}, {"/d", 79, false}}},
        NormaliseRow{"OtherValuesAreNotChecked",
                     true,
                     {{"/a", -1, true}, {"/b", 101, true}, {"/c", -2147483647 - 1, true}},
                     {{"/a", -1, true}, {"/b", 101, true}, {"/c", -2147483647 - 1, true}}},
        NormaliseRow{"WithoutRows", true, {}, {}}),
    RowName<NormaliseRow>);

} // namespace
