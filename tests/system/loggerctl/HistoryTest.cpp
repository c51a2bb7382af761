// What "loggerctl history" and "loggerctl diff" print, and how they fail.

#include "KzmPaths.h"
#include "tests/support/CProgram.h"
#include "tests/support/CTestRoot.h"
#include "tests/system/loggerctl/CGolden.h"
#include "tests/system/loggerctl/SampleHistory.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace fs = std::filesystem;
using namespace SampleHistory;

namespace {

CProgram::Result RunTool(const CProgram::Words& arguments) {
    CProgram program(arguments);
    program.SetEnvironment("TZ=XYZ-2");
    return program.Run();
}

class HistoryCommand : public testing::Test {
protected:
    // Of the newer one agent.cfg alone is not as it is now.
    static void AddBoth() {
        Add(kOlder, "before set cpu.count=5", SampleHistory::kAgentConfig,
            SampleHistory::kAlertConfig);
        Add(kNewer, "odd \x1B[2J \xFF reason", SampleHistory::kAgentConfig,
            CTestRoot::kAlertConfig);
    }

    const CTestRoot m_root;
};

TEST_F(HistoryCommand, ListsTheNewestFirst) {
    AddBoth();
    CGolden::Expect("history", RunTool({"history"}));
    CGolden::Expect("history-json", RunTool({"history", "--json"}));
}

TEST_F(HistoryCommand, TellsWhoAskedForAChange) {
    Add(kOlder, "x\nuser=root\nsudo=alice\x1B[2J\nfrom=192.0.2.7", SampleHistory::kAgentConfig,
        CTestRoot::kAlertConfig);
    Add(kNewer, "y\nuser=m\xFFx", SampleHistory::kAgentConfig, CTestRoot::kAlertConfig);
    CGolden::Expect("history-origin", RunTool({"history"}));
    CGolden::Expect("history-origin-json", RunTool({"history", "--json"}));
}

TEST_F(HistoryCommand, SaysThatAnEntryIsAsTheFilesAreNow) {
    Add(kOlder, "x", CTestRoot::kAgentConfig, CTestRoot::kAlertConfig);
    CGolden::Expect("history-same", RunTool({"history"}));
    CGolden::Expect("diff-same", RunTool({"diff"}));
}

TEST_F(HistoryCommand, ListsNothing) {
    CGolden::Expect("history-empty", RunTool({"history"}));
    EXPECT_EQ(RunTool({"history", "--json"}).m_sOutput, "[]\n");
    EXPECT_FALSE(fs::exists(KzmPaths::kHistoryFolder)); // looking makes nothing
}

TEST_F(HistoryCommand, CountsAMissingFileAsDifferent) {
    AddBoth();
    fs::remove(KzmPaths::kAlertConfig);
    CGolden::Expect("history-file-missing", RunTool({"history"}));
    CGolden::Expect("diff-file-missing", RunTool({"diff", kNewer}));
}

TEST_F(HistoryCommand, ComparesTheNewestEntry) {
    AddBoth();
    CGolden::Expect("diff", RunTool({"diff"}));
}

TEST_F(HistoryCommand, ComparesTheEntryAskedFor) {
    AddBoth();
    CGolden::Expect("diff-older", RunTool({"diff", kOlder}));
}

TEST_F(HistoryCommand, ComparesTwoEntries) {
    AddBoth();
    WriteFile(KzmPaths::kAlertConfig, "not looked at\n");
    CGolden::Expect("diff-two", RunTool({"diff", kOlder, kNewer}));
    CGolden::Expect("diff-two-backwards", RunTool({"diff", "1", "2"}));
    CGolden::Expect("diff-two-same", RunTool({"diff", kNewer, "1"}));
    CGolden::Expect("diff-error-unknown-until", RunTool({"diff", kNewer, "3"}));
}

TEST_F(HistoryCommand, ShowsAnotherMode) {
    Add(kOlder, "x", CTestRoot::kAgentConfig, CTestRoot::kAlertConfig);
    chmod(KzmPaths::kAgentConfig, 0600);
    const CProgram::Result result = RunTool({"diff"});
    const std::string owner =
        "owner " + std::to_string(geteuid()) + ", group " + std::to_string(getegid());
    EXPECT_EQ(result.m_sOutput, "agent.cfg: " + owner + ", mode 0644 -> " + owner + ", mode 0600\n")
        << result.m_sError;
}

TEST_F(HistoryCommand, ShowsAnotherOwnerAndGroup) {
    Add(kOlder, "x", CTestRoot::kAgentConfig, CTestRoot::kAlertConfig);
    constexpr uid_t kOtherOwner = 1;
    constexpr gid_t kOtherGroup = 2;
    if (chown(KzmPaths::kAlertConfig, kOtherOwner, kOtherGroup) != 0) {
        GTEST_SKIP() << "this user cannot give files away";
    }
    const CProgram::Result result = RunTool({"diff"});
    EXPECT_EQ(result.m_sOutput, "alert.cfg: owner " + std::to_string(geteuid()) + ", group " +
                                    std::to_string(getegid()) +
                                    ", mode 0644 -> owner 1, group 2, mode 0644\n")
        << result.m_sError;
}

TEST_F(HistoryCommand, PrintsADiffThatPatchTakes) {
    AddBoth();
    const std::string diff = CTestRoot::Path("/diff");
    WriteFile(diff, RunTool({"diff", kOlder}).m_sOutput);
    if (std::system("command -v patch >/dev/null") != 0) {
        GTEST_SKIP() << "there is no patch command here";
    }
    EXPECT_EQ(std::system(("patch -s -R -p1 -d / <" + diff).c_str()), 0);
    EXPECT_EQ(ReadFile(KzmPaths::kAgentConfig), SampleHistory::kAgentConfig);
    EXPECT_EQ(ReadFile(KzmPaths::kAlertConfig), SampleHistory::kAlertConfig);
}

TEST_F(HistoryCommand, FailsClearly) {
    CGolden::Expect("diff-error-empty", RunTool({"diff"}));
    AddBoth();
    CGolden::Expect("diff-error-unknown", RunTool({"diff", "20260102-030405-002"}));
    CGolden::Expect("diff-error-unsafe", RunTool({"diff", "../\x1B[2J"}));
    fs::remove(KzmPaths::kAgentConfig);
    fs::create_directory(KzmPaths::kAgentConfig);
    CGolden::Expect("history-error-unreadable", RunTool({"history"}));
    CGolden::Expect("diff-error-unreadable", RunTool({"diff"}));
    chmod(KzmPaths::kHistoryFolder, 0770);
    CGolden::Expect("history-error-unsafe-folder", RunTool({"history"}));
    CGolden::Expect("diff-error-unsafe-folder", RunTool({"diff"}));
}

TEST_F(HistoryCommand, ShowsHelp) {
    CGolden::Expect("help-history", RunTool({"history", "--help"}));
    CGolden::Expect("help-diff", RunTool({"diff", "--help"}));
    CGolden::Expect("help-restore", RunTool({"restore", "--help"}));
    CGolden::Expect("help-service", RunTool({"service", "--help"}));
}

} // namespace
