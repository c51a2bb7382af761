// Whatever a file, a name or an argument holds, loggerctl prints nothing that a terminal obeys.

#include "loggerctl/output/SafeText.h"
#include "tests/security/HostileNames.h"
#include "tests/support/CProgram.h"
#include "tests/support/CTempFile.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/SampleConf.h"
#include "tests/support/TableTest.h"
#include "tests/system/loggerctl/SampleHistory.h"

#include "KzmPaths.h"

#include <gtest/gtest.h>

#include <regex>

namespace {

using std::string;
using Words = CProgram::Words;

// Escape sequences of both kinds, a title, a character that turns the direction.
const string kHostile = "\x1B[2J\x1B]0;t\x07\xC2\x9B"
                        "2J\x7F\xE2\x80\xAE";
// The same as a program's argument or a text of JSON can have it.
const string kHostileJson = "\\u001b[2J\\u001b]0;t\\u0007\\u009b2J\\u007f\\u202e";

// In a locale that is not UTF-8 plain characters alone are safe. In UTF-8 these are not: controls
// of one and of two bytes, and what changes the direction or the line of the text behind it.
const std::regex kUnsafePlain("[^\t\n -~]");
const std::regex kUnsafeUtf8("[\\x01-\\x08\\x0B-\\x1F\\x7F]|\xC2[\x80-\x9F]|"
                             "\xE2\x80[\x8E\x8F\xA8-\xAE]|\xE2\x81[\xA6-\xA9]");

enum class Output { Pipes, Terminal };

// Without the line ends of a terminal and the tool's own colours.
string WithoutTerminal(const string& text) {
    return std::regex_replace(std::regex_replace(text, std::regex("\r\n"), "\n"),
                              std::regex("\x1B\\[(0|1|3[126])m"), "");
}

void ExpectSafe(const CProgram& prepared, Output output = Output::Pipes) {
    for (const bool isUtf8 : {false, true}) {
        CProgram program = prepared;
        program.SetEnvironment(isUtf8 ? "LC_ALL=C.UTF-8" : "LC_ALL=C");
        const CProgram::Result result =
            output == Output::Pipes ? program.Run() : program.RunOnTerminal();
        const string printed = WithoutTerminal(result.m_sOutput) + result.m_sError;
        EXPECT_GE(6, result.m_iExitCode) << "a signal ended it";
        EXPECT_NE("", printed);
        EXPECT_FALSE(std::regex_search(printed, isUtf8 ? kUnsafeUtf8 : kUnsafePlain))
            << testing::PrintToString(printed);
        EXPECT_TRUE(output::IsValidUtf8(printed)) << testing::PrintToString(printed);
    }
}

struct PlaceRow {
    const char* name;
    void (*m_pPrepare)(const CTestRoot& root);
    Words m_arguments;
    string m_sInput = ""; // on standard input
    Output m_output = Output::Pipes;
};
std::ostream& operator<<(std::ostream& out, const PlaceRow& row) {
    return out << row.name;
}

class PrintedText : public testing::TestWithParam<PlaceRow> {};

TEST_P(PrintedText, HoldsNothingThatATerminalObeys) {
    const CTestRoot root;
    GetParam().m_pPrepare(root);
    const CTempFile input(GetParam().m_sInput);
    CProgram program(GetParam().m_arguments);
    program.SetInput(input.Path());
    ExpectSafe(program, GetParam().m_output);
}

void Nothing(const CTestRoot& /*root*/) {}

void Mounted(const CTestRoot& root) {
    root.SetMountOutput(MountOutput("/" + kHostile) + CTestRoot::kMountOutput);
}

void InBothFiles(const CTestRoot& root) {
    root.SetAgentConfig(kHostile + "\n" + CTestRoot::kAgentConfig);
    root.SetAlertConfig(kHostile + "\n" + CTestRoot::kAlertConfig);
}

void MountedAndMonitored(const CTestRoot& root) {
    Mounted(root);
    root.SetAlertConfig(Replace(CTestRoot::kAlertConfig, "/data", "/" + kHostile));
}

void MonitoredAndNotMounted(const CTestRoot& root) {
    root.SetAlertConfig(Replace(CTestRoot::kAlertConfig, "/data", "/" + kHostile));
}

void InAgentValue(const CTestRoot& root) {
    root.SetAgentConfig(
        Replace(CTestRoot::kAgentConfig, "SyslogOutput=", "SyslogOutput=x" + kHostile));
}

void InAlertValue(const CTestRoot& root) {
    root.SetAlertConfig(Replace(CTestRoot::kAlertConfig, "CPU=(", "CPU=(" + kHostile + "x,"));
}

void InSwitch(const CTestRoot& root) {
    root.SetAlertConfig(Replace(CTestRoot::kAlertConfig, "CPU=(True", "CPU=(" + kHostile));
}

void InVolumeLine(const CTestRoot& root) {
    root.SetAlertConfig(Replace(CTestRoot::kAlertConfig, "\"   (90)", kHostile + "\" (0)"));
}

void InHistory(const CTestRoot& root) {
    InBothFiles(root);
    SampleHistory::Add(SampleHistory::kOlder, "reason" + kHostile, kHostile, kHostile + "\n");
}

void InDescription(const CTestRoot& /*root*/) {
    WriteFile(string(KzmPaths::kDeviceFolder) + "/Logger.conf",
              "Check" + kHostile + "=/bin/true\n");
}

void InVendorCommand(const CTestRoot& /*root*/) {
    WriteFile(
        string(KzmPaths::kDeviceFolder) + "/Logger.conf",
        "CheckInstall=/bin/true\nServiceStop=/\xC2\x9B\xE2\x80\xAE\nServiceStart=/bin/true\n");
}

const PlaceRow kPlaces[] = {
    {"MountPointInATable", Mounted, {"get"}},
    {"MountPointInJson", Mounted, {"get", "--json"}},
    {"MountPointInAnError", Mounted, {"get", "fs[/other].enable"}},
    {"MountPointInAChange",
     MountedAndMonitored,
     {"set", "--dry-run", "fs[/home].threshold=5"},
     "",
     Output::Terminal},
    {"CommentsInAChange",
     InBothFiles,
     {"set", "--dry-run", "syslog.output=no"},
     "",
     Output::Terminal},
    {"ValueOfAgentConfig", InAgentValue, {"get"}},
    {"ValueOfAlertConfig", InAlertValue, {"get"}},
    {"SwitchOfAlertConfig", InSwitch, {"get"}},
    {"VolumeOfAlertConfig", InVolumeLine, {"get"}},
    {"ReasonInTheHistory", InHistory, {"history"}},
    {"ReasonInTheHistoryAsJson", InHistory, {"history", "--json"}},
    {"FilesInADifference", InHistory, {"diff"}, "", Output::Terminal},
    {"DeviceDescription", InDescription, {"get"}},
    {"ProgramOfAVendorCommand", InVendorCommand, {"set", "cpu.threshold=95"}},
    {"LostFileSystems",
     MonitoredAndNotMounted,
     {"set", "--dry-run", "cpu.threshold=95"},
     "",
     Output::Terminal},
    {"Key", Nothing, {"get", kHostile}},
    {"Value", Nothing, {"set", "cpu.enable=" + kHostile}},
    {"Command", Nothing, {kHostile}},
    {"Identifier", Nothing, {"restore", kHostile}},
    {"Action", Nothing, {"service", kHostile}},
    {"RecordFile", Nothing, {"set", "--json", kHostile}},
    {"ProviderFile", Nothing, {"--provider", kHostile, "get"}},
    {"DefinitionsFile", Nothing, {"--definitions", kHostile, "get"}},
    {"TextThatIsNoJson", Nothing, {"set", "--json", "-"}, kHostile},
    {"UnknownMember", Nothing, {"set", "--json", "-"}, "{\"" + kHostileJson + "\": 1}"},
    {"MemberTwice",
     Nothing,
     {"set", "--json", "-"},
     "{\"" + kHostileJson + "\": 1, \"" + kHostileJson + "\": 2}"},
    {"WrongType",
     Nothing,
     {"set", "--json", "-"},
     "{\"SyslogOutputConf\": \"" + kHostileJson + "\"}"},
};

INSTANTIATE_TEST_SUITE_P(Places, PrintedText, testing::ValuesIn(kPlaces), RowName<PlaceRow>);

class PrintedName : public testing::TestWithParam<HostileName> {};

TEST_P(PrintedName, HoldsNothingThatATerminalObeys) {
    const CTestRoot root;
    root.SetMountOutput(MountOutput(GetParam().m_sBytes));
    ExpectSafe(CProgram({"get"}));
    ExpectSafe(CProgram({"get", "--json"}));
}

INSTANTIATE_TEST_SUITE_P(Names, PrintedName, testing::ValuesIn(MountableNames()),
                         RowName<HostileName>);

} // namespace
