// Loading the whole record from the two files.

#include "settings/CLoggerConf.h"

#include "KzmPaths.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/CTraceCapture.h"
#include "tests/support/CWithoutFilePrivileges.h"
#include "tests/support/SampleConf.h"
#include "tests/support/TableTest.h"
#include "tests/unit/settings/RecordTest.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

using std::string;

namespace {

TEST(Loading, GivesWhatTheFilesAndTheMountTableHold) {
    const CTestRoot root;
    const CTraceCapture trace;
    const CLoggerConf conf = Load();
    EXPECT_EQ((TraceLines{kStart, kEnd}), trace.Lines());
    EXPECT_EQ(0, conf.m_iStatus);
    const CLoggerConf sample = SampleConf();
    EXPECT_TRUE(conf.Compare(&sample));
    EXPECT_TRUE(sample.Compare(&conf));
}

TEST(Loading, LeavesTheFilesUntouched) {
    const CTestRoot root;
    ASSERT_EQ(0, chmod(KzmPaths::kAgentConfig, 0444));
    ASSERT_EQ(0, chmod(KzmPaths::kAlertConfig, 0444));
    const CWithoutFilePrivileges privileges;
    EXPECT_EQ(0, Load().m_iStatus);
    EXPECT_EQ(CTestRoot::kAgentConfig, ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(CTestRoot::kAlertConfig, ReadFile(KzmPaths::kAlertConfig));
}

TEST(Loading, OrderOfTheSectionsDoesNotMatter) {
    const CTestRoot root;
    root.SetAlertConfig("FSNAME=\"/home\"   (90)\nFILESYSTEM=(True, 300, 2)\n"
                        "MEMORY=(False, 30, 3, 85)\n#KZM# \tFSNAME=\"/data\"   (75)\n"
                        "CPU=(True, 60, 5, 90)\n");
    const CLoggerConf conf = Load();
    const CLoggerConf sample = SampleConf();
    EXPECT_EQ(0, conf.m_iStatus);
    EXPECT_TRUE(conf.Compare(&sample));
}

struct LoadFailureRow {
    string name;
    std::function<void(const CTestRoot&)> prepare;
    string reason; // the one line of level 2; empty when there is none
};
std::ostream& operator<<(std::ostream& out, const LoadFailureRow& row) {
    return out << row.name;
}

class LoadingFailure : public testing::TestWithParam<LoadFailureRow> {};

TEST_P(LoadingFailure, GivesTheDefaultsAndTracesTheReason) {
    const CTestRoot root;
    GetParam().prepare(root);
    const CLoggerConf defaults;
    const CTraceCapture trace;
    const CLoggerConf conf = Load();
    TraceLines expected{kStart};
    if (!GetParam().reason.empty()) {
        expected.push_back({2, GetParam().reason});
    }
    expected.push_back(kEnd);
    EXPECT_EQ(expected, trace.Lines());
    EXPECT_EQ(1, conf.m_iStatus);
    EXPECT_TRUE(conf.Compare(&defaults));
}

const char kAgentOpen[] = "CLoggerConf::CLoggerConf agent.cfg open error";
const char kAlertOpen[] = "CLoggerConf::CLoggerConf alert.cfg open error";
const char kAgentFlag[] = "CLoggerSyslogOutputConf::CLoggerSyslogOutputConf nSetFlag=0000";
const char kUsageFlag[] = "CLoggerUsageMonitorConf::CLoggerUsageMonitorConf nSetFlag=0000";
const char kFsFlag[] = "CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf nSetFlag=0008";

INSTANTIATE_TEST_SUITE_P(
    Files, LoadingFailure,
    testing::Values(
        LoadFailureRow{"AgentMissing", [](const CTestRoot&) { unlink(KzmPaths::kAgentConfig); },
                       kAgentOpen},
        LoadFailureRow{"AlertMissing", [](const CTestRoot&) { unlink(KzmPaths::kAlertConfig); },
                       kAlertOpen},
        LoadFailureRow{"BothMissing",
                       [](const CTestRoot&) {
                           unlink(KzmPaths::kAgentConfig);
                           unlink(KzmPaths::kAlertConfig);
                       },
                       kAgentOpen},
        // Both files are opened before either is read.
        LoadFailureRow{"AlertMissingAndAgentBad",
                       [](const CTestRoot& root) {
                           root.SetAgentConfig("");
                           unlink(KzmPaths::kAlertConfig);
                       },
                       kAlertOpen},
        LoadFailureRow{"AgentEmpty", [](const CTestRoot& root) { root.SetAgentConfig(""); },
                       kAgentFlag},
        LoadFailureRow{"AgentBinary",
                       [](const CTestRoot& root) { root.SetAgentConfig(BinaryText()); },
                       kAgentFlag},
        LoadFailureRow{"AgentIsAFolder",
                       [](const CTestRoot&) { ReplaceWithFolder(KzmPaths::kAgentConfig); },
                       kAgentFlag},
        LoadFailureRow{"AgentWithCarriageReturns",
                       [](const CTestRoot& root) {
                           root.SetAgentConfig("SyslogOutput=True\r\nInformationAlert=True\r\n"
                                               "WarningAlert=True\r\nObstacleAlert=True\r\n");
                       },
                       kAgentFlag},
        LoadFailureRow{"AgentInvalidAfterAllKeys",
                       [](const CTestRoot& root) {
                           root.SetAgentConfig(string(CTestRoot::kAgentConfig) +
                                               "SyslogOutput=no\n");
                       },
                       ""},
        LoadFailureRow{"AlertEmpty", [](const CTestRoot& root) { root.SetAlertConfig(""); },
                       kUsageFlag},
        LoadFailureRow{"AlertBinary",
                       [](const CTestRoot& root) { root.SetAlertConfig(BinaryText()); },
                       kUsageFlag},
        LoadFailureRow{"AlertIsAFolder",
                       [](const CTestRoot&) { ReplaceWithFolder(KzmPaths::kAlertConfig); },
                       kUsageFlag},
        LoadFailureRow{"CpuMissing",
                       [](const CTestRoot& root) {
                           root.SetAlertConfig("MEMORY=(True,1,2,3)\nFILESYSTEM=(True,1,2)\n");
                       },
                       kUsageFlag},
        // The file-system reader does not run: it would trace a reason of its own.
        LoadFailureRow{"MemoryMissing",
                       [](const CTestRoot& root) { root.SetAlertConfig("CPU=(True,1,2,3)\n"); },
                       kUsageFlag},
        LoadFailureRow{"FileSystemMissing",
                       [](const CTestRoot& root) {
                           root.SetAlertConfig("CPU=(True,1,2,3)\nMEMORY=(True,1,2,3)\n");
                       },
                       kFsFlag},
        LoadFailureRow{"MountTableBad",
                       [](const CTestRoot& root) { root.SetMountOutput("x on  type y\n"); },
                       "CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf GetMountPointList() "
                       "failure"}),
    RowName<LoadFailureRow>);

TEST(Loading, UnreadableFileIsAnOpenError) {
    const CTestRoot root;
    ASSERT_EQ(0, chmod(KzmPaths::kAgentConfig, 0));
    const CWithoutFilePrivileges privileges;
    const CTraceCapture trace;
    EXPECT_EQ(1, Load().m_iStatus);
    EXPECT_EQ((TraceLines{{2, kAgentOpen}}), trace.Lines(2));
}

TEST(Loading, AlertConfigWithCarriageReturnsIsRead) {
    const CTestRoot root;
    root.SetAlertConfig("CPU=(True, 60, 5, 90)\r\nMEMORY=(False, 30, 3, 85)\r\n"
                        "FILESYSTEM=(True, 300, 2)\r\nFSNAME=\"/home\"   (90)\r\n"
                        "#KZM# \tFSNAME=\"/data\"   (75)\r\n");
    const CLoggerConf conf = Load();
    const CLoggerConf sample = SampleConf();
    EXPECT_EQ(0, conf.m_iStatus);
    EXPECT_TRUE(conf.Compare(&sample));
}

TEST(Loading, FilesOfOneHundredMegabytesAreRead) {
    const CTestRoot root;
    constexpr std::size_t kSize = 100 * 1024 * 1024;
    string filler;
    filler.reserve(kSize);
    while (filler.size() < kSize / 2) {
        filler += "# a line that says nothing about any setting of this agent\n";
    }
    filler += "# " + string(kSize / 2, 'x') + "\n"; // and a single line of fifty megabytes
    root.SetAgentConfig(filler + CTestRoot::kAgentConfig);
    root.SetAlertConfig(filler + CTestRoot::kAlertConfig);
    const CLoggerConf conf = Load();
    const CLoggerConf sample = SampleConf();
    EXPECT_EQ(0, conf.m_iStatus);
    EXPECT_TRUE(conf.Compare(&sample));
}

} // namespace
