// Reading what an agent, an administrator or a broken disk may leave behind.

#include "tests/support/CLoadedProvider.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/CWithoutFilePrivileges.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/support/TableTest.h"

#include "KzmPaths.h"

#include <sys/stat.h>

#include <filesystem>
#include <functional>

using std::string;

namespace {

struct InputRow {
    string name;
    std::function<void(const CTestRoot&)> prepare;
    string reason; // the line of level 2 before the method's own; success when empty
    string names;  // of the file systems answered, each followed by a comma
};
std::ostream& operator<<(std::ostream& out, const InputRow& row) {
    return out << row.name;
}

class BadInput : public testing::TestWithParam<InputRow> {};

string Names(const CLoggerConf& conf) {
    string names;
    for (const CLoggerFsThresholdConf& row : conf.m_FsUsageMonitorConf.m_FsThresholdConfList) {
        names += row.m_sVolumeName + ",";
    }
    return names;
}

TEST_P(BadInput, IsAnsweredWithSettingsOrTheReason) {
    const CTestRoot root;
    GetParam().prepare(root);
    CLoadedProvider provider;
    CCallOutcome outcome;
    TraceLines failures;
    {
        const CWithoutFilePrivileges privileges;
        const CTraceCapture trace;
        outcome = provider.Call("GetParameter");
        failures = trace.Lines(2 | 8);
    }
    EXPECT_EQ("", outcome.m_sError);
    EXPECT_EQ(0, outcome.m_status);
    EXPECT_TRUE(IsLockFree());
    if (GetParam().reason.empty()) {
        EXPECT_EQ(0U, outcome.m_uiMethodResult);
        EXPECT_EQ(TraceLines{}, failures);
        ASSERT_NE(nullptr, outcome.m_output);
        EXPECT_EQ(GetParam().names, Names(CLoggerConf(outcome.m_output.get())));
    } else {
        EXPECT_EQ(0x80000001U, outcome.m_uiMethodResult);
        EXPECT_EQ((TraceLines{
                      {2, GetParam().reason},
                      {2, "CVELTARO_ToolServiceLogger::GetParameter() CLoggerConf status error"}}),
                  failures);
    }
}

const char kAgentOpen[] = "CLoggerConf::CLoggerConf agent.cfg open error";
const char kAlertOpen[] = "CLoggerConf::CLoggerConf alert.cfg open error";
const char kAgentFlag[] = "CLoggerSyslogOutputConf::CLoggerSyslogOutputConf nSetFlag=0000";
const char kAlertFlag[] = "CLoggerUsageMonitorConf::CLoggerUsageMonitorConf nSetFlag=0000";
const char kSampleNames[] = "/,/home,/data,";

string WithCarriageReturns(const string& text) {
    string result;
    for (const char character : text) {
        result += character == '\n' ? "\r\n" : string(1, character);
    }
    return result;
}

using Root = const CTestRoot&;

INSTANTIATE_TEST_SUITE_P(
    Agent, BadInput,
    testing::Values(
        InputRow{"AgentMissing", [](Root) { std::filesystem::remove(KzmPaths::kAgentConfig); },
                 kAgentOpen, ""},
        InputRow{"AgentUnreadable", [](Root) { chmod(KzmPaths::kAgentConfig, 0); }, kAgentOpen, ""},
        InputRow{"AgentEmpty", [](Root root) { root.SetAgentConfig(""); }, kAgentFlag, ""},
        InputRow{"AgentBinary", [](Root root) { root.SetAgentConfig(BinaryText()); }, kAgentFlag,
                 ""},
        InputRow{"AgentIsAFolder", [](Root) { ReplaceWithFolder(KzmPaths::kAgentConfig); },
                 kAgentFlag, ""},
        // A value at the end of such a line is not a value.
        InputRow{
            "AgentWithCarriageReturns",
            [](Root root) { root.SetAgentConfig(WithCarriageReturns(CTestRoot::kAgentConfig)); },
            kAgentFlag, ""}),
    RowName<InputRow>);

INSTANTIATE_TEST_SUITE_P(
    Alert, BadInput,
    testing::Values(
        InputRow{"AlertMissing", [](Root) { std::filesystem::remove(KzmPaths::kAlertConfig); },
                 kAlertOpen, ""},
        InputRow{"AlertUnreadable", [](Root) { chmod(KzmPaths::kAlertConfig, 0); }, kAlertOpen, ""},
        InputRow{"AlertEmpty", [](Root root) { root.SetAlertConfig(""); }, kAlertFlag, ""},
        InputRow{"AlertBinary", [](Root root) { root.SetAlertConfig(BinaryText()); }, kAlertFlag,
                 ""},
        InputRow{"AlertIsAFolder", [](Root) { ReplaceWithFolder(KzmPaths::kAlertConfig); },
                 kAlertFlag, ""},
        InputRow{
            "AlertWithCarriageReturns",
            [](Root root) { root.SetAlertConfig(WithCarriageReturns(CTestRoot::kAlertConfig)); },
            "", kSampleNames},
        InputRow{"AlertWithLongLines",
                 [](Root root) {
                     root.SetAlertConfig(string(5000, '#') + "\n" + string(5000, 'x') +
                                         CTestRoot::kAlertConfig);
                 },
                 "", kSampleNames}),
    RowName<InputRow>);

INSTANTIATE_TEST_SUITE_P(
    MountTable, BadInput,
    testing::Values(
        InputRow{"MountPrintsNothing", [](Root root) { root.SetMountOutput(""); }, "", ""},
        InputRow{"MountMissing", [](Root root) { root.RemoveMountCommand(); }, "", ""},
        InputRow{"MountPrintsBinary", [](Root root) { root.SetMountOutput(BinaryText()); }, "", ""},
        InputRow{"MountPrintsAnEmptyName", [](Root root) { root.SetMountOutput("x on  type y\n"); },
                 "CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf GetMountPointList() failure",
                 ""},
        // Such a line comes in two pieces, neither of which has both words.
        InputRow{"MountPrintsALongName",
                 [](Root root) {
                     root.SetMountOutput("x on /" + string(5000, 'a') + " type y\n" +
                                         CTestRoot::kMountOutput);
                 },
                 "", kSampleNames},
        InputRow{"MountPrintsLongOptions",
                 [](Root root) {
                     root.SetMountOutput("x on /a type y (" + string(5000, 'o') + ")\n" +
                                         CTestRoot::kMountOutput);
                 },
                 "", string("/a,") + kSampleNames}),
    RowName<InputRow>);

} // namespace
