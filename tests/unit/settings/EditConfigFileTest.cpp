// Editing the settings files on disk, in place.

#include "settings/CLoggerConf.h"

#include "KzmPaths.h"
#include "tests/support/CFileSizeLimit.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/CTraceCapture.h"
#include "tests/support/CWithoutFilePrivileges.h"
#include "tests/support/SampleConf.h"
#include "tests/support/TableTest.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <sstream>

using std::string;

namespace {

bool Edit(const CLoggerConf& conf) {
    return conf.EditConfigFile(KzmPaths::kAgentConfig, KzmPaths::kAlertConfig);
}

const string kChangedAgent = ChangedAgent();
const string kChangedAlert = ChangedAlert();

TEST(EditConfigFile, RewritesBothFilesInPlace) {
    const CTestRoot root;
    ASSERT_EQ(0, chmod(KzmPaths::kAgentConfig, 0640));
    struct stat before {};
    stat(KzmPaths::kAgentConfig, &before);
    const CLoggerConf conf = ChangedConf();
    const CTraceCapture trace;
    EXPECT_TRUE(Edit(conf));
    EXPECT_EQ(TraceLines{}, trace.Lines());
    EXPECT_EQ(kChangedAgent, ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(kChangedAlert, ReadFile(KzmPaths::kAlertConfig));
    struct stat after {};
    stat(KzmPaths::kAgentConfig, &after);
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_EQ(before.st_mode, after.st_mode);
    const auto folder = std::filesystem::path(KzmPaths::kAgentConfig).parent_path();
    EXPECT_EQ(2, std::distance(std::filesystem::directory_iterator(folder), {}));
}

TEST(EditConfigFile, ChangesNothingInFilesThatHoldTheRecord) {
    const CTestRoot root;
    EXPECT_TRUE(Edit(SampleConf()));
    EXPECT_EQ(CTestRoot::kAgentConfig, ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(CTestRoot::kAlertConfig, ReadFile(KzmPaths::kAlertConfig));
}

TEST(EditConfigFile, EveryLineEndsWithANewlineAfterwards) {
    const CTestRoot root;
    string agent = CTestRoot::kAgentConfig;
    agent.pop_back();
    root.SetAgentConfig(agent);
    root.SetAlertConfig(string(CTestRoot::kAlertConfig) + "\n\nlast");
    EXPECT_TRUE(Edit(SampleConf()));
    EXPECT_EQ(CTestRoot::kAgentConfig, ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(string(CTestRoot::kAlertConfig) + "\n\nlast\n", ReadFile(KzmPaths::kAlertConfig));
}

TEST(EditConfigFile, CarriageReturnsStayAndNoneAreAdded) {
    const CTestRoot root;
    string alert;
    for (const char c : string(CTestRoot::kAlertConfig)) {
        alert += c == '\n' ? "\r\n" : string(1, c);
    }
    root.SetAlertConfig(alert);
    EXPECT_TRUE(Edit(SampleConf()));
    // The lines that are made anew end with a newline alone.
    alert = Replace(alert, "FSNAME=\"/home\"   (90)\r", "FSNAME=\"/home\"   (90)");
    alert = Replace(alert, "FSNAME=\"/data\"   (75)\r", "FSNAME=\"/data\"   (75)");
    EXPECT_EQ(alert, ReadFile(KzmPaths::kAlertConfig));
}

TEST(EditConfigFile, ZeroBytesAreKept) {
    const CTestRoot root;
    const string agent = string("\0a\0\n", 4) + CTestRoot::kAgentConfig;
    root.SetAgentConfig(agent);
    EXPECT_TRUE(Edit(SampleConf()));
    EXPECT_EQ(agent, ReadFile(KzmPaths::kAgentConfig));
}

struct EditFailureRow {
    string name;
    std::function<void(const CTestRoot&)> prepare;
    string reason;
    bool agentWritten;
};
std::ostream& operator<<(std::ostream& out, const EditFailureRow& row) {
    return out << row.name;
}

class EditConfigFileFailure : public testing::TestWithParam<EditFailureRow> {};

// The text of a file; empty when there is none that can be read.
string TextOf(const string& path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return file.is_open() ? text.str() : string();
}

TEST_P(EditConfigFileFailure, TracesTheReasonAndLeavesTheFilesAsDocumented) {
    const CTestRoot root;
    GetParam().prepare(root);
    const string agent = TextOf(KzmPaths::kAgentConfig);
    const string alert = TextOf(KzmPaths::kAlertConfig);
    {
        const CLoggerConf conf = ChangedConf();
        const CWithoutFilePrivileges privileges;
        const CTraceCapture trace;
        EXPECT_FALSE(Edit(conf));
        EXPECT_EQ((TraceLines{{2, "CLoggerConf::EditConfigFile() " + GetParam().reason}}),
                  trace.Lines());
    }
    EXPECT_EQ(GetParam().agentWritten ? kChangedAgent : agent, TextOf(KzmPaths::kAgentConfig));
    EXPECT_EQ(alert, TextOf(KzmPaths::kAlertConfig));
}

INSTANTIATE_TEST_SUITE_P(
    Files, EditConfigFileFailure,
    testing::Values(
        EditFailureRow{"AgentMissing", [](const CTestRoot&) { unlink(KzmPaths::kAgentConfig); },
                       "agent.cfg open error", false},
        EditFailureRow{"AgentUnreadable",
                       [](const CTestRoot&) { chmod(KzmPaths::kAgentConfig, 0200); },
                       "agent.cfg open error", false},
        EditFailureRow{"AgentNotEditable",
                       [](const CTestRoot& root) { root.SetAgentConfig("SyslogOutput=True\n"); },
                       "EditAgent failure", false},
        EditFailureRow{"AgentEmpty", [](const CTestRoot& root) { root.SetAgentConfig(""); },
                       "EditAgent failure", false},
        EditFailureRow{"AgentIsAFolder",
                       [](const CTestRoot&) {
                           unlink(KzmPaths::kAgentConfig);
                           std::filesystem::create_directory(KzmPaths::kAgentConfig);
                       },
                       "EditAgent failure", false},
        EditFailureRow{"AgentReadOnly",
                       [](const CTestRoot&) { chmod(KzmPaths::kAgentConfig, 0400); },
                       "agent.cfg open error", false},
        // agent.cfg comes first and is not taken back.
        EditFailureRow{"AlertMissing", [](const CTestRoot&) { unlink(KzmPaths::kAlertConfig); },
                       "alert.cfg open error", true},
        EditFailureRow{"AlertUnreadable",
                       [](const CTestRoot&) { chmod(KzmPaths::kAlertConfig, 0200); },
                       "alert.cfg open error", true},
        EditFailureRow{"AlertNotEditable",
                       [](const CTestRoot& root) { root.SetAlertConfig("CPU=(1)\n"); },
                       "EditAlert failure", true},
        EditFailureRow{"AlertEmpty", [](const CTestRoot& root) { root.SetAlertConfig(""); },
                       "EditAlert failure", true},
        EditFailureRow{"AlertReadOnly",
                       [](const CTestRoot&) { chmod(KzmPaths::kAlertConfig, 0400); },
                       "alert.cfg open error", true}),
    RowName<EditFailureRow>);

// A disk that is full at some byte: the file keeps what went before, the rest is lost without a
// word, and alert.cfg is written whatever became of agent.cfg. Reading back finds it
// (VerifiedWrite.cpp).
TEST(EditConfigFile, WritesThatFailAreNotItsConcern) {
    const std::size_t longest = std::max(kChangedAgent.size(), kChangedAlert.size());
    const CLoggerConf conf = ChangedConf();
    const CTestRoot root;
    for (std::size_t bytes = 0; bytes < longest; ++bytes) {
        SCOPED_TRACE(bytes);
        root.SetAgentConfig(CTestRoot::kAgentConfig);
        root.SetAlertConfig(CTestRoot::kAlertConfig);
        const CTraceCapture trace;
        {
            const CFileSizeLimit limit(bytes);
            EXPECT_TRUE(Edit(conf));
        }
        EXPECT_EQ(TraceLines{}, trace.Lines());
        EXPECT_EQ(kChangedAgent.substr(0, bytes), ReadFile(KzmPaths::kAgentConfig));
        EXPECT_EQ(kChangedAlert.substr(0, bytes), ReadFile(KzmPaths::kAlertConfig));
    }
}

} // namespace
