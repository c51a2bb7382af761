// What "loggerctl set" does and prints, in each of its forms.

#include "KzmPaths.h"
#include "tests/support/CTempFile.h"
#include "tests/support/SampleConf.h"
#include "tests/system/loggerctl/CGolden.h"
#include "tests/system/loggerctl/SetSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using Words = CProgram::Words;

const Words kReadOnce = {"CheckInstall"};
const Words kChanged = {"CheckInstall", "CheckInstall", "ServiceStop", "ServiceStart"};
// What ChangedAgent and ChangedAlert hold.
const Words kSampleChange = {"syslog.information=yes", "cpu.threshold=95"};

// The settings without an entry for any file system.
std::string WithoutVolumes() {
    return Replace(Replace(CTestRoot::kAlertConfig, "FSNAME=\"/home\"   (90)\n", ""),
                   "#KZM# \tFSNAME=\"/data\"   (75)\n", "");
}

std::string SettingsAsJson() {
    return CProgram({"get", "--json"}).Run().m_sOutput;
}

class Set : public testing::Test {
protected:
    void ExpectFiles(const std::string& agent, const std::string& alert) {
        EXPECT_EQ(ReadFile(KzmPaths::kAgentConfig), agent);
        EXPECT_EQ(ReadFile(KzmPaths::kAlertConfig), alert);
    }

    const CTestRoot m_root;
};

TEST_F(Set, ChangesBothFilesAndRestartsTheService) {
    ExpectGolden("changed", RunSet(kSampleChange));
    ExpectFiles(ChangedAgent(), ChangedAlert());
    EXPECT_EQ(m_root.VendorCalls(), kChanged);
}

TEST_F(Set, ChangesFileSystems) {
    ExpectGolden("changed_file_systems",
                 RunSet({"fs[/].enable=on", "fs[/].threshold=70", "fs[/home].enable=0"}));
    ExpectFiles(CTestRoot::kAgentConfig,
                Replace(CTestRoot::kAlertConfig, "FSNAME=\"/home\"   (90)\n",
                        "FSNAME=\"/\"   (70)\n#KZM# \tFSNAME=\"/home\"   (90)\n"));
}

TEST_F(Set, NamesTheEntriesThatAreNotKept) {
    m_root.SetAlertConfig(std::string(CTestRoot::kAlertConfig) +
                          "FSNAME=\"/srv/backup\" (95)\n#KZM# \tFSNAME=\"/old\x1B\" (70)\n"
                          "# FSNAME=\"/retired\" (60)\n");
    ExpectGolden("lost_entries_dry_run", RunSet({"cpu.threshold=95", "--dry-run"}));
    const auto before = Tree();
    ExpectGolden("lost_entries", RunSet({"cpu.threshold=95"}));
    EXPECT_EQ(Tree(), before);
    ExpectGolden("lost_entries_forced", RunSet({"cpu.threshold=95", "--force"}));
    ExpectFiles(CTestRoot::kAgentConfig, ChangedAlert() + "# FSNAME=\"/retired\" (60)\n");
    EXPECT_EQ("", RunSet({"cpu.threshold=90"}).m_sError); // they are gone now
}

TEST_F(Set, SwitchesTheMonitorOffOnlyWhenTheLossOfTheSwitchesIsForced) {
    const auto before = Tree();
    ExpectGolden("monitor_off", RunSet({"fs.enable=off"}));
    EXPECT_EQ(Tree(), before);
    ExpectGolden("monitor_off_forced", RunSet({"fs.enable=off", "--force"}));
    EXPECT_EQ("", RunSet({"fs.enable=on"}).m_sError); // there is nothing more to lose
}

TEST_F(Set, PrintsNamesSafely) {
    m_root.SetMountOutput("a on /\x1B[2J\xC3\xBC type ext4 (rw)\n");
    m_root.SetAlertConfig(WithoutVolumes());
    const Words words = {"fs[/\x1B[2J\xC3\xBC].threshold=70"};
    ExpectGolden("odd_name", RunSet(words));
    ExpectGolden("odd_name_back", RunSet({"fs[/\\x1B[2J\\xC3\\xBC].threshold=80"}));
}

TEST_F(Set, ShowsColourOnATerminal) {
    ExpectGolden("terminal", CProgram({"set", "cpu.threshold=95"}).RunOnTerminal());
}

TEST_F(Set, KeepsTheFormerFilesFirst) {
    RunSet(kSampleChange);
    EXPECT_NE(CProgram({"history"}).Run().m_sOutput.find("set syslog.information=yes cpu.thresh"),
              std::string::npos);
    EXPECT_EQ(CProgram({"restore"}).Run().m_iExitCode, 0);
    ExpectFiles(CTestRoot::kAgentConfig, CTestRoot::kAlertConfig);
}

TEST_F(Set, DoesNothingWhenNothingWouldChange) {
    const auto before = Tree();
    const CProgram::Result result = RunSet({"cpu.threshold=90", "fs[/home].enable=true"});
    EXPECT_EQ(result.m_sOutput, "No changes.\n") << result.m_sError;
    EXPECT_EQ(result.m_iExitCode, 0);
    EXPECT_EQ(m_root.VendorCalls(), kReadOnce);
    EXPECT_EQ(Tree(), before);
}

TEST_F(Set, KeepsThatItWasForced) {
    RunSet({"cpu.threshold=900", "--force"});
    EXPECT_NE(CProgram({"history"}).Run().m_sOutput.find("set --force cpu.threshold=900"),
              std::string::npos);
}

TEST_F(Set, WritesAgainWhenForced) {
    m_root.SetAlertConfig(Replace(CTestRoot::kAlertConfig, "(True, 60, 5, 90)", "(True,60,5,90)"));
    ExpectGolden("forced", RunSet({"cpu.threshold=90", "--force"}));
    ExpectFiles(CTestRoot::kAgentConfig, CTestRoot::kAlertConfig);
    EXPECT_EQ(m_root.VendorCalls(), kChanged);
}

TEST_F(Set, GoesOnInSpiteOfWarningsWhenForced) {
    ExpectGolden("forced_warnings", RunSet({"--force", "cpu.count=4294967295", "cpu.threshold=0",
                                            "fs[/].threshold=0", "fs[/data].threshold=-7"}));
    EXPECT_EQ(
        CProgram({"get", "cpu.count", "cpu.threshold", "fs[/].threshold", "fs[/data].threshold"})
            .Run()
            .m_sOutput,
        "4294967295\n0\n80\n-7\n");
}

// ---- Dry runs ----

TEST_F(Set, DryRunShowsADiffAndTouchesNothing) {
    const auto before = Tree();
    Words words = kSampleChange;
    words.emplace_back("--dry-run");
    ExpectGolden("dry_run", RunSet(words));
    EXPECT_EQ(m_root.VendorCalls(), kReadOnce);
    EXPECT_EQ(Tree(), before);
}

TEST_F(Set, DryRunWithoutChangesSaysSo) {
    for (const Words& words : {Words{"--dry-run", "cpu.threshold=90"},
                               Words{"--dry-run", "--force", "cpu.threshold=90"}}) {
        const CProgram::Result result = RunSet(words);
        EXPECT_EQ(result.m_sOutput, "No changes.\n") << result.m_sError;
        EXPECT_EQ(result.m_iExitCode, 0);
    }
}

TEST_F(Set, DryRunNeedsNoRightToWrite) {
    for (const char* path : {KzmPaths::kAgentConfig, KzmPaths::kAlertConfig}) {
        ASSERT_EQ(system(("chmod 0444 " + std::string(path)).c_str()), 0);
    }
    CProgram program({"set", "--dry-run", "cpu.threshold=95"});
    ObeyPermissions(&program);
    const CProgram::Result result = program.Run();
    EXPECT_EQ(result.m_iExitCode, 0) << result.m_sError;
    EXPECT_NE(result.m_sOutput.find("\n+CPU=(True, 60, 5, 95)\n"), std::string::npos);
}

TEST_F(Set, DryRunIsTakenByPatch) {
    if (system("command -v patch > /dev/null") != 0) {
        GTEST_SKIP() << "There is no patch program.";
    }
    Words words = kSampleChange;
    words.emplace_back("--dry-run");
    const CTempFile patch(RunSet(words).m_sOutput);
    ASSERT_EQ(system(("patch -s -p1 -d / < " + patch.Path()).c_str()), 0);
    ExpectFiles(ChangedAgent(), ChangedAlert());
}

TEST_F(Set, DryRunIsRawInAPipeAndSafeOnATerminal) {
    m_root.SetAlertConfig(std::string("#\x1B[2J\\\n") + CTestRoot::kAlertConfig);
    CProgram program({"set", "--dry-run", "cpu.threshold=95"});
    EXPECT_NE(program.Run().m_sOutput.find("\n #\x1B[2J\\\n"), std::string::npos);
    program.SetEnvironment("TERM=dumb");
    const std::string terminal = program.RunOnTerminal().m_sOutput;
    EXPECT_NE(terminal.find("\n #\\x1B[2J\\\\\r\n"), std::string::npos) << terminal;
    EXPECT_EQ(terminal.find('\x1B'), std::string::npos);
}

// ---- Records ----

TEST_F(Set, TakesARecordFromAFile) {
    const CTempFile record(Replace(SettingsAsJson(), "\"Threshold\": 90", "\"Threshold\": 95"));
    ExpectGolden("record", RunSet({"--json", record.Path()}));
    ExpectFiles(CTestRoot::kAgentConfig, ChangedAlert());
}

TEST_F(Set, TakesARecordFromStandardInput) {
    const CTempFile record(Replace(SettingsAsJson(), "\"Threshold\": 90", "\"Threshold\": 95"));
    CProgram program({"set", "--json", "-"});
    program.SetInput(record.Path());
    EXPECT_EQ(program.Run().m_iExitCode, 0);
    ExpectFiles(CTestRoot::kAgentConfig, ChangedAlert());
}

TEST_F(Set, TakesBackWhatGetPrinted) {
    m_root.SetMountOutput("a on /bad\xFF\x1B[2J\\name type ext4 (rw)\n"
                          "b on /B\xC3\xBCro type ext4 (rw)\n");
    m_root.SetAlertConfig(WithoutVolumes());
    const CTempFile record(SettingsAsJson());
    const CProgram::Result result = RunSet({"--json", record.Path()});
    EXPECT_EQ(result.m_sOutput, "No changes.\n") << result.m_sError;
    const CTempFile changed(Replace(SettingsAsJson(), "\"Threshold\": 80", "\"Threshold\": 70"));
    EXPECT_EQ(RunSet({"--json", changed.Path()}).m_iExitCode, 0);
    EXPECT_NE(
        ReadFile(KzmPaths::kAlertConfig).find("#KZM# \tFSNAME=\"/bad\xFF\x1B[2J\\name\"   (70)\n"),
        std::string::npos);
}

TEST_F(Set, TakesAFileSystemInAnyOrder) {
    const std::string json = SettingsAsJson();
    m_root.SetMountOutput("a on /data type ext4 (rw)\nb on / type ext4 (rw)\n"
                          "c on /home type ext4 (rw)\n");
    const CTempFile record(json);
    EXPECT_EQ(RunSet({"--json", record.Path()}).m_sOutput, "No changes.\n");
}

TEST_F(Set, HasHelp) {
    CGolden::Expect("help-set", CProgram({"set", "--help"}).Run());
}

} // namespace
