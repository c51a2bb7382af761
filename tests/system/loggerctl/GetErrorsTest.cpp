// How "loggerctl get" fails: exit code and reasons, one golden file for each.

#include "KzmPaths.h"
#include "tests/support/CProgram.h"
#include "tests/support/CTestRoot.h"
#include "tests/system/loggerctl/CGolden.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <ostream>

namespace fs = std::filesystem;

namespace {

struct Row {
    const char* m_pName; // of the test and of its golden file, where "_" is "-"
    void (*m_pPrepare)(const CTestRoot& root);
    std::vector<std::string> m_arguments = {"get"};
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.m_pName;
}

std::string DeviceFile() {
    return std::string(KzmPaths::kDeviceFolder) + "/Logger.conf";
}

// The good text with a piece replaced.
std::string Edited(std::string text, const std::string& from, const std::string& to) {
    return text.replace(text.find(from), from.size(), to);
}

void SetAgent(const CTestRoot& root, const char* from, const char* to) {
    root.SetAgentConfig(Edited(CTestRoot::kAgentConfig, from, to));
}

void SetAlert(const CTestRoot& root, const char* from, const char* to) {
    root.SetAlertConfig(Edited(CTestRoot::kAlertConfig, from, to));
}

void MakeDirectory(const char* path) {
    fs::remove(path);
    fs::create_directory(path);
}

void Nothing(const CTestRoot& /*root*/) {}

const Row kAgentRows[] = {
    {"not_installed", [](const CTestRoot& root) { root.SetVendorAnswers(1, 0, 0); }},
    {"no_device_description", [](const CTestRoot& root) { root.RemoveDeviceDescription(); }},
    {"refused_device_description",
     [](const CTestRoot&) {
         fs::permissions(DeviceFile(), fs::perms::group_write, fs::perm_options::add);
     }},
    {"broken_device_description",
     [](const CTestRoot&) { WriteFile(DeviceFile(), "CheckInstall=\"/bin/true\n"); }},
    {"no_lock_folder",
     [](const CTestRoot&) { fs::remove_all(fs::path(KzmPaths::kLockFile).parent_path()); }},
    {"lock_file_is_a_directory", [](const CTestRoot&) { MakeDirectory(KzmPaths::kLockFile); }},
};

const Row kFileRows[] = {
    {"no_agent_config", [](const CTestRoot&) { fs::remove(KzmPaths::kAgentConfig); }},
    {"agent_config_is_a_directory",
     [](const CTestRoot&) { MakeDirectory(KzmPaths::kAgentConfig); }},
    {"agent_key_missing",
     [](const CTestRoot& root) { SetAgent(root, "InformationAlert = False\n", "\n"); }},
    {"agent_value_invalid",
     [](const CTestRoot& root) { SetAgent(root, "Alert = False", "Alert = \x1B[2Jno"); }},
    {"agent_value_invalid_at_the_end",
     [](const CTestRoot& root) {
         root.SetAgentConfig(std::string(CTestRoot::kAgentConfig) + "WarningAlert=true\n");
     }},
    {"agent_dos_line_ends",
     [](const CTestRoot& root) { root.SetAgentConfig("SyslogOutput=True\r\n"); }},
    {"no_alert_config", [](const CTestRoot&) { fs::remove(KzmPaths::kAlertConfig); }},
    {"alert_config_is_a_directory",
     [](const CTestRoot&) { MakeDirectory(KzmPaths::kAlertConfig); }},
    {"cpu_fields_missing", [](const CTestRoot& root) { SetAlert(root, ", 5, 90", ""); }},
    {"cpu_switch_invalid", [](const CTestRoot& root) { SetAlert(root, "(True, 60", "(on, 60"); }},
    {"memory_missing", [](const CTestRoot& root) { SetAlert(root, "MEMORY", "#MEMORY"); }},
    {"file_system_missing",
     [](const CTestRoot& root) { SetAlert(root, "FILESYSTEM=", "FILESYSTEM ="); }},
    {"volume_malformed", [](const CTestRoot& root) { SetAlert(root, "(75)", "(0)"); }},
    {"empty_mount_point",
     [](const CTestRoot& root) { root.SetMountOutput("x on  type ext4 (rw)\n"); }},
};

const Row kUsageRows[] = {
    {"no_command", Nothing, {}},
    {"unknown_command", Nothing, {"git"}},
    {"unknown_command_far_off", Nothing, {"\x1B[2J", "get"}},
    {"unknown_option", Nothing, {"get", "--jsom"}},
    {"unknown_option_with_value", Nothing, {"get", "--provder=/opt/elsewhere/provider.so"}},
    {"unknown_option_behind_json", Nothing, {"get", "json", "--jsom"}}, // not "--format json"
    {"unknown_option_without_command", Nothing, {"--jsom"}},
    {"unknown_option_unsafe", Nothing, {"get", "--\x1B[2J"}},
    {"json_with_key", Nothing, {"get", "--json", "cpu.count"}},
    {"option_without_value", Nothing, {"get", "--provider"}},
    {"format_unknown", Nothing, {"--format=xml", "get"}},
    {"wait_no_number", Nothing, {"set", "--wait=soon", "cpu.count=3"}},
    {"wait_too_long", Nothing, {"set", "--wait=86401", "cpu.count=3"}},
    {"skip_unmounted_without_record", Nothing, {"set", "--skip-unmounted", "cpu.count=3"}},
    {"unknown_key", Nothing, {"get", "cpu.count", "cpu.treshold"}},
    {"unknown_volume_key", Nothing, {"get", "fs[/home].enabel"}},
    {"not_mounted", Nothing, {"get", "cpu.count", "fs[/hone].enable"}},
    {"not_mounted_unsafe", Nothing, {"get", "fs[/\x1B[2J].enable"}},
};

class GetErrorsRow : public testing::TestWithParam<Row> {};

TEST_P(GetErrorsRow, SayWhy) {
    const CTestRoot root;
    GetParam().m_pPrepare(root);
    const CProgram::Result result = CProgram(GetParam().m_arguments).Run();
    EXPECT_EQ(result.m_sOutput, "");
    std::string name = GetParam().m_pName;
    std::replace(name.begin(), name.end(), '_', '-');
    CGolden::Expect("error-" + name, result);
}

std::string NameOf(const testing::TestParamInfo<Row>& info) {
    return info.param.m_pName;
}

INSTANTIATE_TEST_SUITE_P(Agent, GetErrorsRow, testing::ValuesIn(kAgentRows), NameOf);
INSTANTIATE_TEST_SUITE_P(Files, GetErrorsRow, testing::ValuesIn(kFileRows), NameOf);
INSTANTIATE_TEST_SUITE_P(Usage, GetErrorsRow, testing::ValuesIn(kUsageRows), NameOf);

TEST(GetErrors, NothingCanBeLoaded) {
    const CTestRoot root; // without an installed product
    CProgram program({"get"});
    program.UseDefaultFiles();
    const CProgram::Result definitions = program.Run();
    EXPECT_EQ(definitions.m_iExitCode, 6);
    EXPECT_NE(definitions.m_sError.find(KzmPaths::kClassDefinitions), std::string::npos)
        << definitions.m_sError;

    CProgram noLibrary({"get", "--definitions", CLASS_DEFINITIONS});
    noLibrary.UseDefaultFiles();
    const CProgram::Result library = noLibrary.Run();
    EXPECT_EQ(library.m_iExitCode, 6);
    EXPECT_NE(library.m_sError.find(KzmPaths::kProviderLibrary), std::string::npos)
        << library.m_sError;
}

TEST(GetErrors, FailuresLeaveTheLockFree) {
    const CTestRoot root;
    root.SetAgentConfig("");
    EXPECT_EQ(CProgram({"get"}).Run().m_iExitCode, 4);
    root.SetAgentConfig(CTestRoot::kAgentConfig);
    EXPECT_EQ(CProgram({"get"}).Run().m_iExitCode, 0);
}

} // namespace
