// Editing the lines of agent.cfg and alert.cfg in memory.

#include "settings/CLoggerConf.h"

#include "tests/support/CTestRoot.h"
#include "tests/support/CTraceCapture.h"
#include "tests/support/SampleConf.h"
#include "tests/support/TableTest.h"

#include <functional>
#include <sstream>

using std::string;
using Lines = std::list<string>;
using Change = std::function<void(CLoggerConf*)>;

namespace {

Lines Split(const string& text) {
    Lines lines;
    std::istringstream stream(text);
    string line;
    while (std::getline(stream, line)) {
        lines.push_back(line);
    }
    return lines;
}

string Join(const Lines& lines) {
    string text;
    for (const string& line : lines) {
        text += line + "\n";
    }
    return text;
}

// ---- Lines of agent.cfg ----

struct AgentRow {
    string name;
    string before;
    bool expected;
    string after; // what is written: all four switches false
};
std::ostream& operator<<(std::ostream& out, const AgentRow& row) {
    return out << row.before;
}

class EditAgent : public testing::TestWithParam<AgentRow> {};

TEST_P(EditAgent, ReplacesTheValueWordAlone) {
    const CLoggerConf allOff;
    Lines lines = Split(GetParam().before);
    const CTraceCapture trace;
    EXPECT_EQ(GetParam().expected, allOff.EditAgent(lines));
    EXPECT_EQ(GetParam().after, Join(lines));
    EXPECT_EQ(TraceLines{}, trace.Lines());
}

const string kOthers = "InformationAlert=False\nWarningAlert=False\nObstacleAlert=False\n";

AgentRow Edited(const string& name, const string& before, const string& after) {
    return {name, before + "\n" + kOthers, true, after + "\n" + kOthers};
}
AgentRow Refused(const string& name, const string& before) {
    return {name, before, false, before};
}

INSTANTIATE_TEST_SUITE_P(
    Lines, EditAgent,
    testing::Values(
        Edited("Adjacent", "SyslogOutput=True", "SyslogOutput=False"),
        Edited("SpacingIsKept", "  SyslogOutput =   True  ", "  SyslogOutput =   False  "),
        Edited("CommentBehindIsKept", "SyslogOutput=True  # note", "SyslogOutput=False  # note"),
        Edited("WantedValueStays", "SyslogOutput=False", "SyslogOutput=False"),
        Edited("EveryLineOfAKey", "SyslogOutput=True\nSyslogOutput=True",
               "SyslogOutput=False\nSyslogOutput=False"),
        Edited("CommentedLineStays", "#SyslogOutput=True\nSyslogOutput=True",
               "#SyslogOutput=True\nSyslogOutput=False"),
        Edited("LineWithoutValueStays", "SyslogOutput=\nSyslogOutput=True",
               "SyslogOutput=\nSyslogOutput=False"),
        Edited("OtherLinesStay", "\n; x=True\n\tLogLevel=3\r\nSyslogOutput=True",
               "\n; x=True\n\tLogLevel=3\r\nSyslogOutput=False"),
        Edited("KeyInsideALongerWord", "MySyslogOutputX=True", "MySyslogOutputX=False"),
        // The word is replaced where it first stands in the line.
        Edited("SameWordBeforeTheKey", "True SyslogOutput=True", "False SyslogOutput=True"),
        Edited("SameWordInsideAnotherWord", "TrueNorth SyslogOutput=True",
               "FalseNorth SyslogOutput=True"),
        AgentRow{"SeveralKeysOnALine",
                 "WarningAlert=True SyslogOutput ObstacleAlert\nSyslogOutput=True\n"
                 "InformationAlert=True\nObstacleAlert=True\n",
                 true,
                 "WarningAlert=False SyslogOutput ObstacleAlert\nSyslogOutput=False\n"
                 "InformationAlert=False\nObstacleAlert=False\n"},
        Edited("EarlierEqualsSignIsNoValue", "A=1 SyslogOutput=True\nSyslogOutput=True",
               "A=1 SyslogOutput=True\nSyslogOutput=False"),
        // Each of them has the line's value, the last in table order settles it.
        AgentRow{"OneValueForSeveralKeys",
                 "ObstacleAlert SyslogOutput = True\nInformationAlert=True\nWarningAlert=True\n",
                 true,
                 "ObstacleAlert SyslogOutput = False\nInformationAlert=False\n"
                 "WarningAlert=False\n"},
        Refused("NoLines", ""),
        Refused("KeyMissing", "SyslogOutput=False\nWarningAlert=False\n"
                              "ObstacleAlert=False\n"),
        Refused("KeyOnlyInAComment", "#SyslogOutput=True\n" + kOthers),
        Refused("KeyOnlyWithoutValue", "SyslogOutput=\n" + kOthers),
        Refused("ValueInOtherCase", "SyslogOutput=true\n" + kOthers),
        Refused("NumberAsValue", "SyslogOutput=1\n" + kOthers),
        Refused("CarriageReturnBehindTheValue", "SyslogOutput=True\r\n" + kOthers),
        Refused("InvalidValueAfterAllKeys",
                "SyslogOutput=False\n" + kOthers + "WarningAlert=maybe\n"),
        // Lines before the bad one are edited by then; the caller writes none of them.
        AgentRow{"InvalidValueEndsTheEdit",
                 "SyslogOutput=True\nInformationAlert=x\nWarningAlert=True\n", false,
                 "SyslogOutput=False\nInformationAlert=x\nWarningAlert=True\n"}),
    RowName<AgentRow>);

TEST(EditAgentSwitches, EachSwitchGoesToItsOwnKey) {
    for (unsigned int bits = 0; bits < 16; ++bits) {
        SCOPED_TRACE(bits);
        CLoggerConf conf;
        Lines lines;
        string expected;
        for (const LoggerSyslogSwitch& entry : kLoggerSyslogSwitches) {
            const bool value = (bits & entry.m_bit) != 0;
            conf.m_SyslogOutputConf.*entry.m_pMember = value;
            lines.push_front(string(entry.m_pName) + " = True");
            expected = string(entry.m_pName) + " = " + (value ? "True" : "False") + "\n" + expected;
        }
        EXPECT_TRUE(conf.EditAgent(lines));
        EXPECT_EQ(expected, Join(lines));
    }
}

TEST(EditAgentSwitches, NoneOfTheFourKeysMayBeMissing) {
    const CLoggerConf conf;
    for (unsigned int present = 0; present < kLoggerSyslogAllSwitches; ++present) {
        SCOPED_TRACE(present);
        Lines lines;
        for (const LoggerSyslogSwitch& entry : kLoggerSyslogSwitches) {
            if ((present & entry.m_bit) != 0) {
                lines.push_back(string(entry.m_pName) + "=True");
            }
        }
        EXPECT_FALSE(conf.EditAgent(lines));
    }
}

// ---- Lines of alert.cfg ----

struct AlertRow {
    string name;
    Change change; // of the sample settings
    string before;
    bool expected;
    string after;
};
std::ostream& operator<<(std::ostream& out, const AlertRow& row) {
    return out << row.before;
}

class EditAlert : public testing::TestWithParam<AlertRow> {};

TEST_P(EditAlert, GivesExactlyTheseLines) {
    CLoggerConf conf = SampleConf();
    GetParam().change(&conf);
    Lines lines = Split(GetParam().before);
    const CTraceCapture trace;
    EXPECT_EQ(GetParam().expected, conf.EditAlert(lines));
    EXPECT_EQ(GetParam().after, Join(lines));
    EXPECT_EQ(TraceLines{}, trace.Lines());
}

void Nothing(CLoggerConf* /*conf*/) {}

Change Volumes(std::list<CLoggerFsThresholdConf> rows) {
    return [rows](CLoggerConf* conf) { conf->m_FsUsageMonitorConf.m_FsThresholdConfList = rows; };
}
const Change kNoVolumes = Volumes({});

const string kCpu = "CPU=(True, 60, 5, 90)\n";
const string kMemory = "MEMORY=(False, 30, 3, 85)\n";
const string kFs = "FILESYSTEM=(True, 300, 2)\n";

// The file with this CPU line; the record asks for the sample's values and no file systems.
AlertRow CpuLine(const string& name, const string& before, const string& after) {
    return {name, kNoVolumes, before + "\n" + kMemory + kFs, true, after + "\n" + kMemory + kFs};
}
AlertRow AlertRefused(const string& name, const string& text) {
    return {name, kNoVolumes, text, false, text};
}
// The file systems asked for, the lines behind FILESYSTEM before, and after.
AlertRow VolumeLines(const string& name, const std::list<CLoggerFsThresholdConf>& rows,
                     const string& before, const string& after) {
    return {name, Volumes(rows), kCpu + kMemory + kFs + before, true, kCpu + kMemory + kFs + after};
}

INSTANTIATE_TEST_SUITE_P(
    ValueLists, EditAlert,
    testing::Values(
        CpuLine("Cpu", "CPU=(False, 30, 3, 85)", "CPU=(True, 60, 5, 90)"),
        CpuLine("TextOutsideTheParenthesesIsKept", " x CPU= about (False,1,2,3) # note (y)",
                " x CPU= about (True, 60, 5, 90) # note (y)"),
        CpuLine("OldValuesAreNotRead", "CPU=(a,b,c,d)", "CPU=(True, 60, 5, 90)"),
        CpuLine("EmptyFieldsCount", "CPU=(,,,)", "CPU=(True, 60, 5, 90)"),
        CpuLine("EveryLine", "CPU=(False,1,1,1)\nCPU=(False,2,2,2)",
                "CPU=(True, 60, 5, 90)\nCPU=(True, 60, 5, 90)"),
        CpuLine("CommentedLineStays", "#CPU=(False,1,1,1)\nCPU=(False,2,2,2)",
                "#CPU=(False,1,1,1)\nCPU=(True, 60, 5, 90)"),
        CpuLine("LineWithEmptyListStays", "CPU=()\nCPU=(False,2,2,2)",
                "CPU=()\nCPU=(True, 60, 5, 90)"),
        CpuLine("EarlierEqualsSignIsNoValue", "X=1 CPU=(False,1,1,1)\nCPU=(False,2,2,2)",
                "X=1 CPU=(False,1,1,1)\nCPU=(True, 60, 5, 90)"),
        CpuLine("BlankBeforeTheEqualsSignStays", "CPU =(False,1,1,1)\nCPU=(False,2,2,2)",
                "CPU =(False,1,1,1)\nCPU=(True, 60, 5, 90)"),
        CpuLine("CarriageReturnIsKept", "CPU=(False,1,1,1)\r", "CPU=(True, 60, 5, 90)\r"),
        CpuLine("KeyInsideALongerWord", "XCPU=(False,1,1,1)", "XCPU=(True, 60, 5, 90)"),
        // The parentheses are the line's first, not the key's.
        CpuLine("ParenthesesBeforeTheKey", "(see below) CPU=(False,1,1,1)",
                "(True, 60, 5, 90) CPU=(False,1,1,1)"),
        CpuLine("ClosingParenthesisBeforeTheKey", "a) CPU=(False,1,1,1) rest",
                "a) CPU=(True, 60, 5, 90"),
        AlertRow{"AllThree",
                 [](CLoggerConf* conf) {
                     conf->m_UsageMonitorConf[0].m_bMonitoringEnable = false;
                     conf->m_UsageMonitorConf[0].m_uiSamplingInterval = 30;
                     conf->m_UsageMonitorConf[0].m_uiSamplingCount = 3;
                     conf->m_UsageMonitorConf[0].m_iThreshold = 85;
                     conf->m_FsUsageMonitorConf.m_bMonitoringEnable = false;
                     kNoVolumes(conf);
                 },
                 "FILESYSTEM=(x,y,z)\nMEMORY=(1,2,3,4)\nCPU=(True, 60, 5, 90)\n", true,
                 "FILESYSTEM=(False, 300, 2)\nMEMORY=(False, 30, 3, 85)\n"
                 "CPU=(False, 30, 3, 85)\n"},
        AlertRow{"LargeNumbersAreWrittenNegative",
                 [](CLoggerConf* conf) {
                     conf->m_UsageMonitorConf[0].m_uiSamplingInterval = 2147483647U;
                     conf->m_UsageMonitorConf[0].m_uiSamplingCount = 2147483648U;
                     conf->m_UsageMonitorConf[0].m_iThreshold = -1;
                     conf->m_FsUsageMonitorConf.m_uiSamplingInterval = 4294967295U;
                     kNoVolumes(conf);
                 },
                 kCpu + kMemory + kFs, true,
                 "CPU=(True, 2147483647, -2147483648, -1)\n" + kMemory +
                     "FILESYSTEM=(True, -1, 2)\n"},
        AlertRow{"AllKeysOnOneLine", kNoVolumes, "CPU=MEMORY=(a,b,c,d)\n" + kMemory + kFs, true,
                 "CPU=MEMORY=(True, 60, 5, 90)\n" + kMemory + kFs},
        AlertRow{"OtherLinesStay", kNoVolumes,
                 "# Usage\n\n\tRetention = (1,2) \n" + kCpu + "\r\n" + kMemory + kFs + "end\n",
                 true,
                 "# Usage\n\n\tRetention = (1,2) \n" + kCpu + "\r\n" + kMemory + kFs + "end\n"}),
    RowName<AlertRow>);

INSTANTIATE_TEST_SUITE_P(
    Refusals, EditAlert,
    testing::Values(
        AlertRefused("NoLines", ""),
        AlertRow{"OnlyVolumeLines", kNoVolumes, "FSNAME=\"/home\" (90)\n", false, ""},
        AlertRefused("CpuWithThreeFields", "CPU=(True,60,5)\n" + kMemory + kFs),
        AlertRefused("CpuWithFiveFields", "CPU=(True,60,5,80,1)\n" + kMemory + kFs),
        AlertRefused("MemoryWithThreeFields", kCpu + "MEMORY=(True,60,5)\n" + kFs),
        AlertRefused("FileSystemWithTwoFields", kCpu + kMemory + "FILESYSTEM=(True, 60)\n"),
        AlertRefused("FileSystemWithFourFields", kCpu + kMemory + "FILESYSTEM=(True,60,3,1)\n"),
        AlertRefused("CpuMissing", kMemory + kFs), AlertRefused("MemoryMissing", kCpu + kFs),
        AlertRefused("FileSystemMissing", kCpu + kMemory),
        AlertRefused("FileSystemOnlyInAComment", kCpu + kMemory + "#" + kFs),
        // Lines before the bad one are edited by then; the caller writes none of them.
        AlertRow{"BadLineEndsTheEdit", kNoVolumes, "CPU=(False,1,1,1)\nMEMORY=(1)\n" + kFs, false,
                 kCpu + "MEMORY=(1)\n" + kFs}),
    RowName<AlertRow>);

INSTANTIATE_TEST_SUITE_P(
    VolumeLines, EditAlert,
    testing::Values(
        AlertRow{"SampleStaysAsItIs", Nothing, CTestRoot::kAlertConfig, true,
                 CTestRoot::kAlertConfig},
        AlertRow{"OldLinesGatherBehindTheFileSystemLine",
                 Volumes({{"/var", 90, true}, {"/home", 80, false}}),
                 "FSNAME=\"/home\"   (70)\n" + kCpu + kFs + "# text\nFSNAME=\"/var\"   (60)\n" +
                     kMemory,
                 true,
                 kCpu + kFs + "FSNAME=\"/var\"   (90)\n#KZM# \tFSNAME=\"/home\"   (80)\n# text\n" +
                     kMemory},
        VolumeLines("MonitoredAtTheDefault", {{"/new", 80, true}}, "", "FSNAME=\"/new\"   (80)\n"),
        VolumeLines("NewNotMonitoredAtTheDefaultHasNoLine", {{"/new", 80, false}}, "", ""),
        VolumeLines("NewNotMonitoredAtAnotherThreshold", {{"/new", 81, false}}, "",
                    "#KZM# \tFSNAME=\"/new\"   (81)\n"),
        VolumeLines("KnownNotMonitoredAtTheDefaultKeepsALine", {{"/home", 80, false}},
                    "FSNAME=\"/home\" (80)\n", "#KZM# \tFSNAME=\"/home\"   (80)\n"),
        VolumeLines("KnownFromAMarkedLine", {{"/home", 80, false}},
                    "#KZM# \tFSNAME=\"/home\"   (75)\n", "#KZM# \tFSNAME=\"/home\"   (80)\n"),
        VolumeLines("ThresholdZeroIsNotTheDefault", {{"/new", 0, false}}, "",
                    "#KZM# \tFSNAME=\"/new\"   (0)\n"),
        VolumeLines("LineOfAFileSystemThatIsNotInTheRecordGoes", {}, "FSNAME=\"/gone\" (70)\n", ""),
        VolumeLines("MalformedLineStays", {{"/home", 80, false}}, "FSNAME=\"/home\" (0)\n",
                    "FSNAME=\"/home\" (0)\n"),
        VolumeLines("CommentedLineStaysAndIsNotKnown", {{"/home", 80, false}},
                    "# FSNAME=\"/home\" (70)\n", "# FSNAME=\"/home\" (70)\n"),
        VolumeLines("RecordOrderIsKept", {{"/c", 1, true}, {"/a", 2, false}, {"/b", 3, true}}, "",
                    "FSNAME=\"/c\"   (1)\n#KZM# \tFSNAME=\"/a\"   (2)\nFSNAME=\"/b\"   (3)\n"),
        VolumeLines("NegativeThreshold", {{"/x", -5, true}}, "", "FSNAME=\"/x\"   (-5)\n"),
        VolumeLines("NamesAreCopiedByteForByte",
                    {{"/%s%n \xff\x1b[31m", 70, true}, {string(10000, 'x'), 70, true}}, "",
                    "FSNAME=\"/%s%n \xff\x1b[31m\"   (70)\nFSNAME=\"" + string(10000, 'x') +
                        "\"   (70)\n"),
        AlertRow{"TwoFileSystemLinesEachGetTheBlock", Volumes({{"/a", 70, true}}),
                 kFs + kCpu + kFs + kMemory, true,
                 kFs + "FSNAME=\"/a\"   (70)\n" + kCpu + kFs + "FSNAME=\"/a\"   (70)\n" + kMemory},
        AlertRow{"BlockIsNotScannedAgain",
                 Volumes({{"/CPU=(1)", 70, true}, {"/FILESYSTEM=(1)", 70, true}}),
                 kCpu + kMemory + kFs, true,
                 kCpu + kMemory + kFs +
                     "FSNAME=\"/CPU=(1)\"   (70)\nFSNAME=\"/FILESYSTEM=(1)\"   (70)\n"}),
    RowName<AlertRow>);

TEST(EditAlertFields, AnyOtherNumberOfFieldsIsRefused) {
    struct Key {
        string name;
        unsigned int fields;
    };
    for (const Key& key : {Key{"CPU", 4}, Key{"MEMORY", 4}, Key{"FILESYSTEM", 3}}) {
        string list = "True";
        for (unsigned int fields = 1; fields <= 8; ++fields, list += ",1") {
            const string line = key.name + "=(" + list + ")";
            SCOPED_TRACE(line);
            // The other lines are good, and so is a later one of the key.
            Lines lines = Split(line + "\n" + kCpu + kMemory + kFs);
            EXPECT_EQ(fields == key.fields, SampleConf().EditAlert(lines));
            EXPECT_EQ(fields != key.fields, lines.front() == line);
        }
    }
}

TEST(FindItem, FindsExactlyThisElement) {
    Lines list;
    EXPECT_FALSE(CLoggerConf::FindItem(&list, ""));
    list = {"/", "/home"};
    EXPECT_TRUE(CLoggerConf::FindItem(&list, "/home"));
    EXPECT_FALSE(CLoggerConf::FindItem(&list, "/hom"));
    EXPECT_FALSE(CLoggerConf::FindItem(&list, "/home/"));
    EXPECT_FALSE(CLoggerConf::FindItem(&list, "/Home"));
}

} // namespace
