// What "loggerctl get" prints, in each of its forms.

#include "tests/support/CProgram.h"
#include "tests/support/CTestRoot.h"
#include "tests/system/loggerctl/CGolden.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

const char kOddMounts[] = "a on / type ext4 (rw)\n"
                          "b on /srv/a-rather-long-name-that-does-not-fit-into-its-column-at-all "
                          "type ext4 (rw)\n"
                          "c on /B\xC3\xBCro type ext4 (rw)\n"
                          "d on /\xE6\x97\xA5\xE6\x9C\xAC type ext4 (rw)\n"
                          "e on /bad\xFF\x1B[2J\\name type ext4 (rw)\n"
                          "f on /a].enable type ext4 (rw)\n";

class Get : public testing::Test {
protected:
    const CTestRoot m_root;
};

TEST_F(Get, ShowsTables) {
    CGolden::Expect("tables", CProgram({"get", "--no-usage"}).Run());
}

TEST_F(Get, ShowsTablesInColourOnATerminal) {
    CGolden::Expect("tables-colour", CProgram({"get", "--no-usage"}).RunOnTerminal());
}

TEST_F(Get, ShowsOddNames) {
    m_root.SetMountOutput(kOddMounts);
    CGolden::Expect("tables-odd-names", CProgram({"get", "--no-usage"}).Run());
    CProgram utf8({"get", "--no-usage"});
    utf8.SetEnvironment("LC_ALL=C.UTF-8");
    CGolden::Expect("tables-odd-names-utf8", utf8.Run());
}

TEST_F(Get, ShowsADashWhereUsageIsNotKnown) {
    m_root.SetMountOutput("proc on /proc type proc (rw)\n"
                          "gone on /no/such/folder type ext4 (rw)\n"
                          "odd on none type ext4 (rw)\n");
    CGolden::Expect("tables-no-known-usage", CProgram({"get"}).Run());
}

TEST_F(Get, ShowsABarByTheLocale) {
    m_root.SetMountOutput("a on / type ext4 (rw)\n");
    const std::string plain = CProgram({"get"}).Run().m_sOutput;
    EXPECT_NE(plain.find("  80 %  "), std::string::npos) << plain;
    EXPECT_EQ(plain.find_first_not_of("#.|", plain.find("80 %  ") + 6) - plain.find("80 %  ") - 6,
              20U)
        << plain;
    CProgram utf8({"get"});
    utf8.SetEnvironment("LC_ALL=C.UTF-8");
    EXPECT_NE(utf8.Run().m_sOutput.find("│"), std::string::npos);
}

TEST_F(Get, ShowsNoFileSystems) {
    m_root.SetMountOutput("");
    CGolden::Expect("tables-nothing-mounted", CProgram({"get"}).Run());
}

TEST_F(Get, PrintsJson) {
    CGolden::Expect("json", CProgram({"get", "--json"}).Run());
}

TEST_F(Get, PrintsJsonOfOddNames) {
    m_root.SetMountOutput(kOddMounts);
    CProgram utf8({"get", "--json"});
    utf8.SetEnvironment("LC_ALL=C.UTF-8");
    const CProgram::Result result = utf8.Run();
    CGolden::Expect("json-odd-names-utf8", result);
    const auto json = nlohmann::json::parse(result.m_sOutput);
    const auto& volumes = json.at("FsUsageMonitorConf").at("FsThresholdConfList");
    ASSERT_EQ(volumes.size(), 6U);
    EXPECT_EQ(volumes[2].at("VolumeName"), "/B\xC3\xBCro");
    EXPECT_TRUE(volumes[4].at("VolumeName").is_null());
    EXPECT_EQ(volumes[4].at("VolumeNameBytes"), "2F626164FF1B5B324A5C6E616D65");
}

TEST_F(Get, PrintsSingleValuesInTheOrderAsked) {
    CGolden::Expect("keys",
                    CProgram({"get", "fs[/home].threshold", "fs[/home].enable", "fs[/data].enable",
                              "syslog.output", "syslog.information", "cpu.interval", "cpu.count",
                              "cpu.threshold", "memory.enable", "fs.count", "cpu.count"})
                        .Run());
}

TEST_F(Get, FindsFileSystemsByRawAndByPrintedName) {
    m_root.SetMountOutput(kOddMounts);
    m_root.SetAlertConfig("CPU=(True,1,1,1)\nMEMORY=(True,1,1,1)\nFILESYSTEM=(True,1,1)\n"
                          "FSNAME=\"/bad\xFF\x1B[2J\\name\" (41)\nFSNAME=\"/a].enable\" (42)\n");
    const CProgram::Result result =
        CProgram({"get", "fs[/bad\xFF\x1B[2J\\name].threshold",
                  "fs[/bad\\xFF\\x1B[2J\\\\name].threshold", "fs[/a].enable].threshold"})
            .Run();
    EXPECT_EQ(result.m_sOutput, "41\n41\n42\n") << result.m_sError;
    EXPECT_EQ(result.m_iExitCode, 0);
}

TEST_F(Get, TakesTheOptionsBehindTheCommand) {
    CProgram program(
        {"get", "cpu.count", "--provider", PROVIDER_LIBRARY, "--definitions", CLASS_DEFINITIONS});
    program.UseDefaultFiles();
    const CProgram::Result result = program.Run();
    EXPECT_EQ(result.m_sOutput, "5\n") << result.m_sError;
}

TEST_F(Get, LeavesTheUsersTraceAlone) {
    CProgram program({"get", "cpu.count"});
    program.SetEnvironment("KZM_TRACE=4");
    const CProgram::Result result = program.Run();
    EXPECT_EQ(result.m_sOutput, "5\n");
    EXPECT_NE(result.m_sError.find("CVELTARO_ToolServiceLogger::GetParameter [START]"),
              std::string::npos)
        << result.m_sError;
}

TEST_F(Get, ShowsHelpAndVersion) {
    CGolden::Expect("help", CProgram({"--help"}).Run());
    CGolden::Expect("help-get", CProgram({"get", "--help"}).Run());
    CGolden::Expect("version", CProgram({"--version"}).Run());
}

TEST_F(Get, ShowsTheTablesOfSeveralGroups) {
    const CProgram::Result result = CProgram({"get", "syslog", "memory"}).Run();
    EXPECT_EQ(result.m_iExitCode, 0) << result.m_sError;
    EXPECT_NE(result.m_sOutput.find("Syslog output"), std::string::npos) << result.m_sOutput;
    EXPECT_NE(result.m_sOutput.find("Memory"), std::string::npos) << result.m_sOutput;
    EXPECT_EQ(result.m_sOutput.find("CPU"), std::string::npos) << result.m_sOutput;
}

} // namespace
