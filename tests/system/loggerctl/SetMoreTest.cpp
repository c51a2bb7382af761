// What "loggerctl set" takes besides plain keys and whole records, what it checks before the
// agent's service is stopped, and what it warns of.

#include "KzmPaths.h"
#include "tests/support/CTempFile.h"
#include "tests/support/SampleConf.h"
#include "tests/support/TableTest.h"
#include "tests/system/loggerctl/CGolden.h"
#include "tests/system/loggerctl/SetSupport.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <ostream>

namespace fs = std::filesystem;

namespace {

using Words = CProgram::Words;

std::string Get(Words words) {
    words.insert(words.begin(), "get");
    return CProgram(words).Run().m_sOutput;
}

bool IsTouched(const CTestRoot& root) {
    const Words calls = root.VendorCalls();
    return std::find(calls.begin(), calls.end(), "ServiceStop") != calls.end();
}

class SetMore : public testing::Test {
protected:
    CProgram::Result SetRecord(const std::string& json, const Words& more = {}) {
        const CTempFile record(json);
        Words words = {"--json", record.Path()};
        words.insert(words.end(), more.begin(), more.end());
        return RunSet(words);
    }

    const CTestRoot m_root;
};

// ---- Keys ----

TEST_F(SetMore, TakesBothSpellingsOfAFileSystemsKey) {
    EXPECT_EQ(RunSet({"fs[/home].threshold=70", "fs:/data.threshold=71"}).m_iExitCode, 0);
    EXPECT_EQ(Get({"fs:/home.threshold", "fs[/data].threshold"}), "70\n71\n");
}

TEST_F(SetMore, TakesPatternsAndLetsExactKeysWin) {
    EXPECT_EQ(
        RunSet({"fs:/home.threshold=60", "fs:*.threshold=50", "fs:/d*.threshold=55"}).m_iExitCode,
        0);
    EXPECT_EQ(Get({"fs:*.threshold"}),
              "fs:/.threshold=50\nfs:/home.threshold=60\nfs:/data.threshold=55\n");
    const CProgram::Result none = RunSet({"fs:/srv/*.threshold=50"});
    EXPECT_EQ(none.m_iExitCode, 2);
    EXPECT_NE(none.m_sError.find("No file system is mounted whose name matches '/srv/*'."),
              std::string::npos)
        << none.m_sError;
}

TEST_F(SetMore, ShowsThatAFileSystemIsLeftOutForItIsNotMonitored) {
    for (const char* key : {"fs:/data.threshold", "fs:/da*.threshold"}) {
        const CProgram::Result none = CProgram({"get", "--monitored", key}).Run();
        EXPECT_EQ(none.m_iExitCode, 2);
        const std::string wanted =
            std::string("'") + key + "' means no file system that is monitored.";
        EXPECT_NE(none.m_sError.find(wanted), std::string::npos) << none.m_sError;
    }
}

TEST_F(SetMore, TakesBackTheLinesThatGetPrints) {
    const std::string lines = Get({"cpu", "fs", "memory.threshold"});
    EXPECT_NE(lines.find("cpu.interval=60\n"), std::string::npos) << lines;
    EXPECT_NE(lines.find("fs:/home.enable=true\n"), std::string::npos) << lines;
    Words words;
    for (std::size_t begin = 0; begin < lines.size(); begin = lines.find('\n', begin) + 1) {
        words.push_back(lines.substr(begin, lines.find('\n', begin) - begin));
    }
    EXPECT_EQ(RunSet(words).m_sOutput, "No changes.\n");
}

// ---- Records ----

TEST_F(SetMore, KeepsWhatARecordDoesNotName) {
    EXPECT_EQ(SetRecord(R"({"UsageMonitorConfCpu": {"Threshold": 95}, "FsUsageMonitorConf":
                        {"FsThresholdConfList": [{"VolumeName": "/", "Threshold": 70}]}})")
                  .m_iExitCode,
              0);
    EXPECT_EQ(Get({"cpu", "fs:*.threshold"}),
              "cpu.enable=true\ncpu.interval=60\ncpu.count=5\ncpu.threshold=95\n"
              "fs:/.threshold=70\nfs:/home.threshold=90\nfs:/data.threshold=75\n");
    EXPECT_EQ(SetRecord("{}").m_sOutput, "No changes.\n");
}

TEST_F(SetMore, SkipsFileSystemsThatAreNotMountedWhenAskedTo) {
    const std::string record = R"({"UsageMonitorConfCpu": {"Threshold": 95}, "FsUsageMonitorConf":
        {"FsThresholdConfList": [{"VolumeName": "/nowhere", "Threshold": 70}]}})";
    EXPECT_EQ(SetRecord(record).m_iExitCode, 2);
    EXPECT_FALSE(IsTouched(m_root));
    ExpectGolden("skip_unmounted", SetRecord(record, {"--skip-unmounted"}));
    EXPECT_EQ(Get({"cpu.threshold"}), "95\n");
}

TEST_F(SetMore, TakesARecordWithUsage) {
    const CProgram::Result record = CProgram({"get", "--json", "--usage"}).Run();
    EXPECT_NE(record.m_sOutput.find("\"InUse\": "), std::string::npos) << record.m_sOutput;
    EXPECT_EQ(SetRecord(record.m_sOutput).m_sOutput, "No changes.\n");
}

// ---- Losses ----

TEST_F(SetMore, NotesWhatLinesOfFileSystemsLose) {
    m_root.SetAlertConfig(Replace(Replace(CTestRoot::kAlertConfig, "FSNAME=\"/home\"   (90)",
                                          "  FSNAME=\"/home\"   (90)  # backed up at night"),
                                  "(75)", "(75)\r"));
    ExpectGolden("lost_text", RunSet({"cpu.threshold=95"}));
    EXPECT_EQ(ReadFile(KzmPaths::kAlertConfig), ChangedAlert());
}

TEST_F(SetMore, WritesAnUnreadableNumberAsZeroOnlyWhenForced) {
    const std::string alert =
        Replace(CTestRoot::kAlertConfig, "(True, 60, 5, 90)", "(True, sixty, 5, 90)");
    m_root.SetAlertConfig(alert);
    ExpectGolden("lost_number", RunSet({"memory.threshold=80"}));
    EXPECT_EQ(ReadFile(KzmPaths::kAlertConfig), alert);
    EXPECT_EQ(RunSet({"memory.threshold=80", "cpu.interval=60"}).m_iExitCode, 0);
}

TEST_F(SetMore, WritesANumberThatWrapsOnlyWhenForced) {
    m_root.SetAlertConfig(
        Replace(CTestRoot::kAlertConfig, "(True, 60, 5, 90)", "(True, 60, 5, 9999999999999)"));
    const CProgram::Result result = RunSet({"memory.threshold=80"});
    EXPECT_EQ(result.m_iExitCode, 2);
    EXPECT_NE(
        result.m_sError.find("cpu.threshold is \" 9999999999999\", which counts as 1316134911 "
                             "and would be written so."),
        std::string::npos)
        << result.m_sError;
}

TEST_F(SetMore, DoesNotWaitAtAPipe) {
    fs::remove(KzmPaths::kAlertConfig);
    ASSERT_EQ(mkfifo(KzmPaths::kAlertConfig, 0644), 0);
    for (const Words& words : {Words{"set", "cpu.threshold=95"}, Words{"get"}}) {
        const CProgram::Result result = CProgram(words).Run();
        EXPECT_EQ(result.m_iExitCode, 4);
        EXPECT_NE(result.m_sError.find("alert.cfg: is no regular file."), std::string::npos)
            << result.m_sError;
    }
}

// ---- What is checked before the stop ----

struct HostRow {
    const char* name; // of the test and of its golden file
    void (*m_prepare)(const CTestRoot& root);
};
std::ostream& operator<<(std::ostream& out, const HostRow& row) {
    return out << row.name;
}

const HostRow kHostRows[] = {
    {"no_stop_command",
     [](const CTestRoot&) {
         const std::string file = std::string(KzmPaths::kDeviceFolder) + "/Logger.conf";
         WriteFile(file, Replace(ReadFile(file), "ServiceStop=", "ServiceHalt="));
     }},
    {"no_start_program",
     [](const CTestRoot&) { SetVendorCommand("ServiceStart", "/no/such/program start"); }},
    {"start_program_cannot_be_run",
     [](const CTestRoot&) {
         WriteFile(CTestRoot::Path("/plain"), "");
         SetVendorCommand("ServiceStart", CTestRoot::Path("/plain"));
     }},
    {"start_program_not_on_path",
     [](const CTestRoot&) { SetVendorCommand("ServiceStart", "no-such-program"); }},
    {"history_is_a_file", [](const CTestRoot&) { WriteFile(KzmPaths::kHistoryFolder, ""); }},
};

class SetHost : public testing::TestWithParam<HostRow> {};

TEST_P(SetHost, IsCheckedBeforeTheStop) {
    const CTestRoot root;
    GetParam().m_prepare(root);
    const auto before = Tree();
    ExpectGolden(std::string("refused_") + GetParam().name, RunSet({"cpu.threshold=95"}));
    EXPECT_FALSE(IsTouched(root));
    EXPECT_EQ(Tree(), before);
}

INSTANTIATE_TEST_SUITE_P(Rows, SetHost, testing::ValuesIn(kHostRows),
                         [](const auto& row) { return row.param.name; });

TEST_F(SetMore, RefusesAFileThatCannotBeChangedForGood) {
    const std::string protect = std::string("chattr +i ") + KzmPaths::kAlertConfig + " 2>/dev/null";
    if (std::system(protect.c_str()) != 0) {
        GTEST_SKIP() << "a file cannot be made immutable here";
    }
    const CProgram::Result result = RunSet({"cpu.threshold=95"});
    const CProgram::Result restored = CProgram({"restore"}).Run();
    EXPECT_EQ(std::system((std::string("chattr -i ") + KzmPaths::kAlertConfig).c_str()), 0);
    EXPECT_EQ(result.m_iExitCode, 4);
    EXPECT_FALSE(IsTouched(m_root));
}

TEST_F(SetMore, SaysWhenThereIsNothingToChangeButTheServiceIsDown) {
    SetVendorCommand("ServiceStatus", "/bin/false");
    EXPECT_EQ(RunSet({"cpu.threshold=90"}).m_sOutput,
              "No changes.\nThe agent's service is not running. To start it:  loggerctl service "
              "start\n");
    EXPECT_EQ(RunSet({"cpu.threshold=90", "--dry-run"}).m_sOutput, "No changes.\n");
    SetVendorCommand("ServiceStatus", "/bin/true");
    EXPECT_EQ(RunSet({"cpu.threshold=90"}).m_sOutput, "No changes.\n");
}

TEST_F(SetMore, MindsNoParentThatIgnoresItsChildren) {
    CProgram program({"set", "cpu.threshold=95"});
    program.SetWrapper({"/bin/bash", "-c", "trap '' CHLD; exec \"$@\"", "bash"});
    const CProgram::Result result = program.Run();
    EXPECT_EQ(result.m_iExitCode, 0) << result.m_sError;
    EXPECT_EQ(m_root.VendorCalls().back(), "ServiceStart");
}

TEST_F(SetMore, TellsAFailureWhoseDocumentNobodyTakes) {
    m_root.SetVendorAnswers(0, 0, 1);
    CProgram program({"--format=json", "set", "cpu.threshold=95"});
    const CProgram::Result closed = program.RunIntoClosedPipe();
    EXPECT_EQ(closed.m_iExitCode, 4);
    EXPECT_NE(closed.m_sError.find("loggerctl service start"), std::string::npos)
        << closed.m_sError;
    CProgram other({"--format=json", "set", "cpu.threshold=96"});
    other.RedirectOutput("/dev/full");
    const CProgram::Result full = other.Run();
    EXPECT_NE(full.m_sError.find("loggerctl service start"), std::string::npos) << full.m_sError;
}

TEST_F(SetMore, SaysThatTheChangeWasMadeWhenItsReportIsNotWritten) {
    CProgram program({"set", "cpu.threshold=95"});
    program.RedirectOutput("/dev/full");
    const CProgram::Result result = program.Run();
    EXPECT_EQ(result.m_iExitCode, 4);
    EXPECT_EQ(result.m_sError, "loggerctl: The output cannot be written: No space left on device.\n"
                               "loggerctl: What was asked for has been done, though.\n");
}

TEST_F(SetMore, GivesADocumentForWhatNobodyForesaw) {
    CProgram program({"--format=json", "set", "cpu.threshold=95"});
    program.SetEnvironment("ASAN_OPTIONS=detect_leaks=0"); // which needs to trace, too
    program.SetWrapper({"/usr/bin/strace", "-f", "-o", "/dev/null", "-e", "trace=memfd_create",
                        "-e", "inject=memfd_create:error=EMFILE"});
    const CProgram::Result result = program.Run();
    EXPECT_EQ(result.m_iExitCode, 4);
    EXPECT_EQ(result.m_sError, "");
    EXPECT_NE(result.m_sOutput.find("\"message\": \"Nothing was changed.\""), std::string::npos)
        << result.m_sOutput;
    EXPECT_NE(result.m_sOutput.find(
                  "\"The command cannot go on: a copy in memory: Too many open files.\""),
              std::string::npos)
        << result.m_sOutput;
    EXPECT_EQ(m_root.VendorCalls(), (std::vector<std::string>{"CheckInstall"}));
}

TEST_F(SetMore, ShowsProgressOnATerminal) {
    SetVendorCommand("ServiceStop", "/bin/sleep 1");
    const std::string terminal = CProgram({"set", "cpu.threshold=95"}).RunOnTerminal().m_sOutput;
    EXPECT_NE(terminal.find(" Stopping the agent's service ... "), std::string::npos) << terminal;
    const std::string quiet = CProgram({"set", "cpu.threshold=90"}).Run().m_sError;
    EXPECT_EQ(quiet, "");
}

} // namespace
