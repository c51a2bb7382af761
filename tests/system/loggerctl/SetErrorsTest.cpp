// How "loggerctl set" refuses and fails, one golden file for each: before the agent's service is
// stopped, which leaves everything as it was, and afterwards.

#include "KzmPaths.h"
#include "tests/support/CTempFile.h"
#include "tests/support/SampleConf.h"
#include "tests/system/loggerctl/SetSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <ostream>

namespace fs = std::filesystem;

namespace {

using Words = CProgram::Words;

struct ErrorRow {
    const char* m_pName; // of the test and of its golden file
    void (*m_pPrepare)(const CTestRoot& root);
    Words m_arguments = {"syslog.information=yes", "cpu.threshold=95"};
};

std::ostream& operator<<(std::ostream& out, const ErrorRow& row) {
    return out << row.m_pName;
}

std::string NameOf(const testing::TestParamInfo<ErrorRow>& info) {
    return info.param.m_pName;
}

void Nothing(const CTestRoot& /*root*/) {}

bool HasStopped(const CTestRoot& root) {
    const Words calls = root.VendorCalls();
    return std::find(calls.begin(), calls.end(), "ServiceStop") != calls.end();
}

void MakeReadOnly(const char* path) {
    fs::permissions(path, fs::perms(0444));
}

void MountOdd(const CTestRoot& root, const std::string& name) {
    root.SetMountOutput("a on / type ext4 (rw)\nb on " + name + " type ext4 (rw)\n");
}

const ErrorRow kUsageRows[] = {
    {"nothing_to_set", Nothing, {}},
    {"unknown_key", Nothing, {"cpu.count=5", "cpu.treshold=5"}},
    {"unknown_volume_key", Nothing, {"fs[/home].enabel=5"}},
    {"no_value", Nothing, {"cpu.count"}},
    {"wrong_switch", Nothing, {"cpu.enable=maybe"}},
    {"wrong_number", Nothing, {"cpu.threshold=9\x1B[2J"}},
    {"number_out_of_range", Nothing, {"cpu.count=4294967296"}},
    {"key_twice", Nothing, {"cpu.count=3", "cpu.count=3"}},
    {"key_twice_in_two_spellings", Nothing, {"fs[/home].enable=1", "fs[/hom\\x65].enable=1"}},
    {"not_mounted", Nothing, {"fs[/hone].enable=1"}},
    {"assignment_with_json", Nothing, {"cpu.count=3", "--json", "-"}},
    {"no_such_record", Nothing, {"--json", "/no/such/record"}},
    {"record_is_a_directory", Nothing, {"--json", "/"}},
    {"empty_record", Nothing, {"--json", "-"}},
};

const ErrorRow kWarningRows[] = {
    {"warnings", Nothing, {"cpu.threshold=101", "memory.count=0", "fs.interval=2147483648"}},
    {"no_effect", Nothing, {"fs.enable=off", "fs[/home].enable=true"}},
    {"no_effect_dry_run", Nothing, {"--dry-run", "fs.enable=off", "fs[/home].enable=true"}},
};

const ErrorRow kNameRows[] = {
    {"name_with_a_quote",
     [](const CTestRoot& root) { MountOdd(root, "/a\"b"); },
     {"fs[/a\"b].enable=1"}},
    {"name_with_a_quote_dry_run",
     [](const CTestRoot& root) { MountOdd(root, "/a\"(b"); },
     {"fs[/a\"(b].threshold=70", "--dry-run"}},
    {"name_with_the_marker",
     [](const CTestRoot& root) { MountOdd(root, "/a#KZM# b"); },
     {"fs[/a#KZM# b].enable=1", "--force"}},
};

const ErrorRow kFileRows[] = {
    {"not_installed", [](const CTestRoot& root) { root.SetVendorAnswers(1, 0, 0); }},
    {"no_alert_config", [](const CTestRoot&) { fs::remove(KzmPaths::kAlertConfig); }},
    {"second_list_malformed",
     [](const CTestRoot& root) {
         root.SetAlertConfig(std::string(CTestRoot::kAlertConfig) + "CPU=(True, 60)\n");
     }},
    {"word_before_the_key",
     [](const CTestRoot& root) {
         root.SetAgentConfig(
             Replace(CTestRoot::kAgentConfig, "InformationAlert =", "False InformationAlert ="));
     }},
    {"files_read_only",
     [](const CTestRoot&) {
         MakeReadOnly(KzmPaths::kAgentConfig);
         MakeReadOnly(KzmPaths::kAlertConfig);
     }},
    {"removed_meanwhile",
     [](const CTestRoot&) {
         SetVendorCommand("CheckInstall", "/bin/sh -c \"test ! -e " + CTestRoot::Path("/seen") +
                                              " || exit 1; touch " + CTestRoot::Path("/seen") +
                                              "\"");
     }},
    {"changed_meanwhile",
     [](const CTestRoot&) {
         // The mounted file systems are listed after the files were first read.
         WriteFile(CTestRoot::Path("/bin/mount"),
                   "#!/bin/sh\necho '# other' >> " + std::string(KzmPaths::kAlertConfig) +
                       "\ncat " + CTestRoot::Path("/bin/mount.output") + "\n");
     }},
};

class SetRefusedRow : public testing::TestWithParam<ErrorRow> {};

TEST_P(SetRefusedRow, LeavesTheServiceAlone) {
    const CTestRoot root;
    GetParam().m_pPrepare(root);
    Words words = {"set"};
    words.insert(words.end(), GetParam().m_arguments.begin(), GetParam().m_arguments.end());
    CProgram program(words);
    ObeyPermissions(&program);
    const auto before = Tree();
    const CProgram::Result result = program.Run();
    EXPECT_EQ(result.m_sOutput, "");
    EXPECT_FALSE(HasStopped(root));
    if (GetParam().m_pName != std::string("changed_meanwhile") &&
        GetParam().m_pName != std::string("removed_meanwhile")) {
        EXPECT_EQ(Tree(), before);
    }
    ExpectGolden(std::string("refused_") + GetParam().m_pName, result);
}

INSTANTIATE_TEST_SUITE_P(Usage, SetRefusedRow, testing::ValuesIn(kUsageRows), NameOf);
INSTANTIATE_TEST_SUITE_P(Warnings, SetRefusedRow, testing::ValuesIn(kWarningRows), NameOf);
INSTANTIATE_TEST_SUITE_P(Names, SetRefusedRow, testing::ValuesIn(kNameRows), NameOf);
INSTANTIATE_TEST_SUITE_P(Files, SetRefusedRow, testing::ValuesIn(kFileRows), NameOf);

// ---- Records that are refused: what get prints, with one piece exchanged ----

struct RecordRow {
    const char* m_pName;
    const char* m_pFrom;
    const char* m_pTo;
};

std::ostream& operator<<(std::ostream& out, const RecordRow& row) {
    return out << row.m_pName;
}

const RecordRow kRecordRows[] = {
    {"record_is_no_json", "{", "("},
    {"record_has_a_member_too_many", "\"SyslogOutput\"", "\"SyslogOuput\": true, \"SyslogOutput\""},
    {"record_has_a_member_twice", "\"SyslogOutput\"", "\"SyslogOutput\": true, \"SyslogOutput\""},
    {"record_has_a_wrong_type", "\"SamplingCount\": 5", "\"SamplingCount\": \"5\""},
    {"record_has_a_number_out_of_range", "\"Threshold\": 90", "\"Threshold\": 2147483648"},
    {"record_names_another_file_system", "\"/home\"", "\"/hone\""},
    {"record_names_a_file_system_twice", "\"/home\"", "\"/data\""},
    {"record_has_a_line_feed_in_a_name", "\"/home\"", "\"/ho\\nme\""},
    {"record_has_a_warning", "\"Threshold\": 90", "\"Threshold\": 900"},
};

class SetRecordRow : public testing::TestWithParam<RecordRow> {};

TEST_P(SetRecordRow, IsRefused) {
    const CTestRoot root;
    const std::string json = CProgram({"get", "--json"}).Run().m_sOutput;
    const CTempFile record(Replace(json, GetParam().m_pFrom, GetParam().m_pTo));
    CProgram program({"set", "--json", "-"});
    program.SetInput(record.Path());
    const auto before = Tree();
    const CProgram::Result result = program.Run();
    EXPECT_EQ(result.m_sOutput, "");
    EXPECT_FALSE(HasStopped(root));
    EXPECT_EQ(Tree(), before);
    ExpectGolden(std::string("refused_") + GetParam().m_pName, result);
}

INSTANTIATE_TEST_SUITE_P(Records, SetRecordRow, testing::ValuesIn(kRecordRows),
                         [](const auto& row) { return row.param.m_pName; });

TEST(SetErrors, NoClassDefinitions) {
    const CTestRoot root;
    const CTempFile record("{}");
    CProgram program({"set", "--json", record.Path(), "--definitions", "/no/such/definitions"});
    program.UseDefaultFiles();
    const CProgram::Result result = program.Run();
    EXPECT_EQ(result.m_iExitCode, 6);
    EXPECT_NE(result.m_sError.find("\n  /no/such/definitions: "), std::string::npos)
        << result.m_sError;
}

TEST(SetErrors, FilesThatCannotBeKeptAreNotChanged) {
    const CTestRoot root;
    fs::remove_all(CTestRoot::Path("/var"));
    WriteFile(CTestRoot::Path("/var"), "in the history's place");
    const auto before = Tree();
    const CProgram::Result result = RunSet({"cpu.threshold=95"});
    EXPECT_EQ(result.m_iExitCode, 4);
    EXPECT_EQ(result.m_sError.rfind("loggerctl: Nothing was changed.\n  ", 0), 0U)
        << result.m_sError;
    EXPECT_FALSE(HasStopped(root));
    EXPECT_EQ(Tree(), before);
}

// ---- Failures of the call itself ----

const ErrorRow kFailureRows[] = {
    {"stop_failed", [](const CTestRoot& root) { root.SetVendorAnswers(0, 7, 0); }},
    {"start_failed", [](const CTestRoot& root) { root.SetVendorAnswers(0, 0, 7); }},
    {"start_failed_but_runs",
     [](const CTestRoot& root) {
         root.SetVendorAnswers(0, 0, 7);
         SetVendorCommand("ServiceStatus", "/bin/true");
     }},
    {"stop_failed_and_stopped",
     [](const CTestRoot& root) {
         root.SetVendorAnswers(0, 7, 0);
         SetVendorCommand("ServiceStatus", "/bin/false");
     }},
    {"not_written",
     [](const CTestRoot&) {
         SetVendorCommand("ServiceStop", std::string("/bin/chmod 0444 ") + KzmPaths::kAlertConfig);
     }},
    {"agent_file_gone",
     [](const CTestRoot&) {
         SetVendorCommand("ServiceStop", std::string("/bin/rm ") + KzmPaths::kAgentConfig);
     }},
    {"alert_file_broken",
     [](const CTestRoot&) {
         SetVendorCommand("ServiceStop",
                          std::string("/bin/sed -i s/MEMORY=/memory=/ ") + KzmPaths::kAlertConfig);
     }},
    {"read_back_differs",
     [](const CTestRoot&) {
         SetVendorCommand("ServiceStop",
                          "/bin/sed -i \"s/InformationAlert =/False InformationAlert =/\" " +
                              std::string(KzmPaths::kAgentConfig));
     }},
    {"mounted_meanwhile",
     [](const CTestRoot&) {
         SetVendorCommand("ServiceStop", "/bin/sed -i \"1ie on /new type ext4 (rw)\" " +
                                             CTestRoot::Path("/bin/mount.output"));
     }},
};

class SetFailedRow : public testing::TestWithParam<ErrorRow> {};

TEST_P(SetFailedRow, SaysWhatTheHostIsLeftWith) {
    const CTestRoot root;
    GetParam().m_pPrepare(root);
    Words words = {"set"};
    words.insert(words.end(), GetParam().m_arguments.begin(), GetParam().m_arguments.end());
    CProgram program(words);
    ObeyPermissions(&program);
    const CProgram::Result result = program.Run();
    EXPECT_EQ(result.m_sOutput, "");
    ExpectGolden(std::string("failed_") + GetParam().m_pName, result);
    // The copies are there, whatever happened.
    EXPECT_EQ(CProgram({"diff"}).Run().m_iExitCode, 0);
}

INSTANTIATE_TEST_SUITE_P(Call, SetFailedRow, testing::ValuesIn(kFailureRows), NameOf);

} // namespace
