// Writing the settings and proving that they were written.

#include "tests/support/CFileSizeLimit.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/CWithoutFilePrivileges.h"
#include "tests/unit/provider/ScriptedRequest.h"

#include "KzmPaths.h"

#include <sys/stat.h>
#include <unistd.h>

#include <functional>

using std::string;
using Rows = std::list<CLoggerFsThresholdConf>;
using Prepare = std::function<void(const CTestRoot&)>;
using Change = std::function<void(CLoggerConf*)>;

namespace {

struct WriteRow {
    string name;
    Prepare prepare;
    Change change;               // of the settings that differ from the sample in both files
    std::vector<string> reasons; // the lines of level 2; success when there is none
    string agent;                // what the files hold afterwards
    string alert;
};
std::ostream& operator<<(std::ostream& out, const WriteRow& row) {
    return out << row.name;
}

class VerifiedWrite : public testing::TestWithParam<WriteRow> {
protected:
    VerifiedWrite() { CScript::Reset(); }
};

TEST_P(VerifiedWrite, EndsAsDocumented) {
    const CTestRoot root;
    GetParam().prepare(root);
    CLoggerConf conf = ChangedConf();
    GetParam().change(&conf);
    CScript::Get().m_notes.clear();
    bool isWritten = false;
    {
        const CWithoutFilePrivileges privileges;
        isWritten = CVELTARO_ToolServiceLogger::EditConfigFile(&conf);
    }
    EXPECT_EQ(GetParam().reasons.empty(), isWritten);
    EXPECT_EQ(WriteTrace(GetParam().reasons), FlowTrace());
    EXPECT_EQ(Notes{}, NotesOf("ExecuteCommand"));
    chmod(KzmPaths::kAgentConfig, 0644);
    chmod(KzmPaths::kAlertConfig, 0644);
    if (access(KzmPaths::kAgentConfig, F_OK) == 0) {
        EXPECT_EQ(GetParam().agent, ReadFile(KzmPaths::kAgentConfig));
    }
    if (access(KzmPaths::kAlertConfig, F_OK) == 0) {
        EXPECT_EQ(GetParam().alert, ReadFile(KzmPaths::kAlertConfig));
    }
}

const string kSampleAgent = CTestRoot::kAgentConfig;
const string kSampleAlert = CTestRoot::kAlertConfig;

void NoPreparation(const CTestRoot& /*root*/) {}
void NoChange(CLoggerConf* /*conf*/) {}

Change Volumes(const Rows& rows) {
    return [rows](CLoggerConf* conf) { conf->m_FsUsageMonitorConf.m_FsThresholdConfList = rows; };
}

// What alert.cfg holds with this block of FSNAME lines.
string WithBlock(const string& block) {
    return Replace(ChangedAlert(), "FSNAME=\"/home\"   (90)\n#KZM# \tFSNAME=\"/data\"   (75)\n",
                   block);
}

const char kWriteFailure[] =
    "CVELTARO_ToolServiceLogger::EditConfigFile() LoggerConfEdit->EditConfigFile failure";
const char kStatusError[] = "CVELTARO_ToolServiceLogger::EditConfigFile() CLoggerConf status error";
const char kNotSame[] = "CVELTARO_ToolServiceLogger::EditConfigFile() compare not same";

// ---- The write itself fails ----

WriteRow NotWritten(const string& name, const Prepare& prepare, const string& reason,
                    const string& agent, const string& alert) {
    return {name,  prepare, NoChange, {"CLoggerConf::EditConfigFile() " + reason, kWriteFailure},
            agent, alert};
}

INSTANTIATE_TEST_SUITE_P(
    NotWritten, VerifiedWrite,
    testing::Values(
        NotWritten(
            "AgentMissing", [](const CTestRoot&) { unlink(KzmPaths::kAgentConfig); },
            "agent.cfg open error", "", kSampleAlert),
        NotWritten(
            "AgentNotEditable", [](const CTestRoot& root) { root.SetAgentConfig("Other=1"); },
            "EditAgent failure", "Other=1", kSampleAlert),
        NotWritten(
            "AgentReadOnly", [](const CTestRoot&) { chmod(KzmPaths::kAgentConfig, 0400); },
            "agent.cfg open error", kSampleAgent, kSampleAlert),
        NotWritten(
            "AlertMissing", [](const CTestRoot&) { unlink(KzmPaths::kAlertConfig); },
            "alert.cfg open error", ChangedAgent(), ""),
        NotWritten(
            "AlertNotEditable", [](const CTestRoot& root) { root.SetAlertConfig("Other=1"); },
            "EditAlert failure", ChangedAgent(), "Other=1"),
        NotWritten(
            "AlertReadOnly", [](const CTestRoot&) { chmod(KzmPaths::kAlertConfig, 0400); },
            "alert.cfg open error", ChangedAgent(), kSampleAlert)),
    RowName<WriteRow>);

// ---- The files hold what was asked for ----

WriteRow Written(const string& name, const Change& change, const string& alert) {
    return {name, NoPreparation, change, {}, ChangedAgent(), alert};
}

INSTANTIATE_TEST_SUITE_P(
    Written, VerifiedWrite,
    testing::Values(
        Written("Changed", NoChange, ChangedAlert()),
        WriteRow{"EqualFilesAreWrittenAllTheSame",
                 [](const CTestRoot& root) {
                     root.SetAgentConfig(kSampleAgent + "last");
                     root.SetAlertConfig(kSampleAlert + "last");
                 },
                 [](CLoggerConf* conf) { *conf = SampleConf(); },
                 {},
                 kSampleAgent + "last\n",
                 kSampleAlert + "last\n"},
        Written("OrderOfTheRowsDoesNotMatter",
                Volumes({{"/data", 75, false}, {"/home", 90, true}, {"/", 80, false}}),
                WithBlock("#KZM# \tFSNAME=\"/data\"   (75)\nFSNAME=\"/home\"   (90)\n")),
        Written("DefaultRowThatNeedsNoLine",
                Volumes({{"/", 80, false}, {"/home", 80, false}, {"/data", 80, true}}),
                WithBlock("#KZM# \tFSNAME=\"/home\"   (80)\nFSNAME=\"/data\"   (80)\n")),
        Written("NegativeThreshold",
                Volumes({{"/", -1, true}, {"/home", 90, true}, {"/data", 75, false}}),
                WithBlock("FSNAME=\"/\"   (-1)\nFSNAME=\"/home\"   (90)\n"
                          "#KZM# \tFSNAME=\"/data\"   (75)\n")),
        // The file holds a negative number, which reads back as the one that was asked for.
        Written(
            "IntervalAboveTheSignedRange",
            [](CLoggerConf* conf) {
                conf->m_UsageMonitorConf[CLoggerConf::kCpu].m_uiSamplingInterval = 2147483648U;
                conf->m_FsUsageMonitorConf.m_uiSamplingCount = 4294967295U;
            },
            Replace(Replace(ChangedAlert(), "CPU=(True, 60", "CPU=(True, -2147483648"),
                    "FILESYSTEM=(True, 300, 2", "FILESYSTEM=(True, 300, -1")),
        WriteRow{"NameWithBlanksAndBytes",
                 [](const CTestRoot& root) { root.SetMountOutput("x on /a #(\xFF) type y\n"); },
                 Volumes({{"/a #(\xFF)", 70, true}}),
                 {},
                 ChangedAgent(),
                 WithBlock("FSNAME=\"/a #(\xFF)\"   (70)\n")}),
    RowName<WriteRow>);

// ---- The files were written but cannot be read back ----

const char kVolumesBad[] = "CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf nSetFlag=0007";

INSTANTIATE_TEST_SUITE_P(
    Unreadable, VerifiedWrite,
    testing::Values(WriteRow{"EmptyName",
                             NoPreparation,
                             Volumes({{"", 70, true}}),
                             {kVolumesBad, kStatusError},
                             ChangedAgent(),
                             WithBlock("FSNAME=\"\"   (70)\n")},
                    WriteRow{"NewlineInAName",
                             NoPreparation,
                             Volumes({{"/a\nb", 70, true}}),
                             {kVolumesBad, kStatusError},
                             ChangedAgent(),
                             WithBlock("FSNAME=\"/a\nb\"   (70)\n")},
                    WriteRow{"ThresholdOfZero",
                             NoPreparation,
                             Volumes({{"/", 0, true}}),
                             {kVolumesBad, kStatusError},
                             ChangedAgent(),
                             WithBlock("FSNAME=\"/\"   (0)\n")},
                    WriteRow{
                        "MountTableWithAnEmptyName",
                        [](const CTestRoot& root) { root.SetMountOutput("x on  type y\n"); },
                        NoChange,
                        {"CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf GetMountPointList() "
                         "failure",
                         kStatusError},
                        ChangedAgent(),
                        ChangedAlert()}),
    RowName<WriteRow>);

// ---- The files were written but read back different ----

// With the reason of the file-system part.
WriteRow FsDiffers(const string& name, const Rows& rows, const string& reason,
                   const string& block) {
    return {name,           NoPreparation,
            Volumes(rows),  {reason, "CLoggerConf::Compare FsUsageMonitorConf not same.", kNotSame},
            ChangedAgent(), WithBlock(block)};
}
string NotFound(const string& name) {
    return "CLoggerFsUsageMonitorConf::Compare VolumeName not same. VolumeName1(" + name +
           ") not found.";
}

INSTANTIATE_TEST_SUITE_P(
    Different, VerifiedWrite,
    testing::Values(
        FsDiffers("QuoteInAName", {{"/home\"x", 90, true}, {"/", 80, false}, {"/data", 80, false}},
                  NotFound("/home\"x"),
                  "FSNAME=\"/home\"x\"   (90)\n#KZM# \tFSNAME=\"/data\"   (80)\n"),
        FsDiffers(
            "NameThatIsNotMounted",
            {{"/", 80, false}, {"/home", 90, true}, {"/data", 75, false}, {"/gone", 70, true}},
            NotFound("/gone"),
            "FSNAME=\"/home\"   (90)\n#KZM# \tFSNAME=\"/data\"   (75)\n"
            "FSNAME=\"/gone\"   (70)\n"),
        FsDiffers("MountedFileSystemLeftOut", {{"/", 80, false}, {"/home", 90, true}},
                  "CLoggerFsUsageMonitorConf::Compare FsList size is not same. FsList1.size=2 "
                  "FsList2.size=3",
                  "FSNAME=\"/home\"   (90)\n"),
        FsDiffers("NameGivenTwice", {{"/home", 90, true}, {"/home", 91, true}},
                  "CLoggerFsThresholdConf::Compare Threshold not same. Threshold1=90 Threshold2=91",
                  "FSNAME=\"/home\"   (90)\nFSNAME=\"/home\"   (91)\n"),
        WriteRow{"MarkerInAName",
                 [](const CTestRoot& root) { root.SetMountOutput("x on /#KZM# a type y\n"); },
                 Volumes({{"/#KZM# a", 70, true}}),
                 {"CLoggerFsThresholdConf::Compare VolMonitoringEnable not same. "
                  "VolMonitoringEnable1=1 VolMonitoringEnable2=0",
                  "CLoggerConf::Compare FsUsageMonitorConf not same.", kNotSame},
                 ChangedAgent(),
                 WithBlock("FSNAME=\"/#KZM# a\"   (70)\n")},
        // The value word is replaced where it first stands in the line.
        WriteRow{"SameWordBeforeTheKey",
                 [](const CTestRoot& root) {
                     root.SetAgentConfig("False InformationAlert=False\nSyslogOutput=True\n"
                                         "WarningAlert=True\nObstacleAlert=True\n");
                 },
                 NoChange,
                 {"CLoggerSyslogOutputConf::Compare InformationAlert not same. "
                  "InformationAlert1=1 InformationAlert2=0",
                  "CLoggerConf::Compare SyslogOutputConf not same.", kNotSame},
                 "True InformationAlert=False\nSyslogOutput=True\nWarningAlert=True\n"
                 "ObstacleAlert=True\n",
                 ChangedAlert()},
        // The value list is written into the line's first parentheses.
        WriteRow{"ParenthesesBeforeTheKey",
                 [](const CTestRoot& root) {
                     root.SetAlertConfig("() " + kSampleAlert.substr(kSampleAlert.find("CPU")));
                 },
                 NoChange,
                 {"CLoggerUsageMonitorConf::Compare Threshold not same. Threshold1=95 "
                  "Threshold2=90",
                  "CLoggerConf::Compare UsageMonitorConfCpu not same.", kNotSame},
                 ChangedAgent(),
                 "(True, 60, 5, 95) " + kSampleAlert.substr(kSampleAlert.find("CPU"))}),
    RowName<WriteRow>);

// ---- Between the write and the reading back ----

class VerifiedWriteSteps : public testing::Test {
protected:
    VerifiedWriteSteps() { CScript::Reset(); }
};

// Does this once the files are written, just before they are read back.
void BeforeReadingBack(const std::function<void()>& action) {
    CScript::Get().m_onNote = [action](const string& note) {
        if (note == Trace(4, "CLoggerConf::CLoggerConf() [START]")) {
            action();
        }
    };
}

TEST_F(VerifiedWriteSteps, FileThatIsGoneAfterTheWriteFails) {
    const CTestRoot root;
    CLoggerConf conf = ChangedConf();
    BeforeReadingBack([] { unlink(KzmPaths::kAlertConfig); });
    CScript::Get().m_notes.clear();
    EXPECT_FALSE(CVELTARO_ToolServiceLogger::EditConfigFile(&conf));
    EXPECT_EQ(WriteTrace({"CLoggerConf::CLoggerConf alert.cfg open error", kStatusError}),
              FlowTrace());
    EXPECT_EQ(ChangedAgent(), ReadFile(KzmPaths::kAgentConfig));
}

TEST_F(VerifiedWriteSteps, FileThatSomebodyChangesAfterTheWriteFails) {
    const CTestRoot root;
    CLoggerConf conf = ChangedConf();
    BeforeReadingBack([&root] { root.SetAgentConfig(kSampleAgent); });
    CScript::Get().m_notes.clear();
    EXPECT_FALSE(CVELTARO_ToolServiceLogger::EditConfigFile(&conf));
    EXPECT_EQ(WriteTrace({"CLoggerSyslogOutputConf::Compare InformationAlert not same. "
                          "InformationAlert1=1 InformationAlert2=0",
                          "CLoggerConf::Compare SyslogOutputConf not same.", kNotSame}),
              FlowTrace());
}

TEST_F(VerifiedWriteSteps, WriteThatBreaksOffIsFoundByReadingBack) {
    const CTestRoot root;
    CLoggerConf conf = ChangedConf();
    CScript::Get().m_notes.clear();
    constexpr rlim_t kBytes = 60;
    {
        const CFileSizeLimit limit(kBytes);
        EXPECT_FALSE(CVELTARO_ToolServiceLogger::EditConfigFile(&conf));
    }
    EXPECT_EQ(WriteTrace(
                  {"CLoggerSyslogOutputConf::CLoggerSyslogOutputConf nSetFlag=0001", kStatusError}),
              FlowTrace());
    EXPECT_EQ(ChangedAgent().substr(0, kBytes), ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(ChangedAlert().substr(0, kBytes), ReadFile(KzmPaths::kAlertConfig));
}

TEST_F(VerifiedWriteSteps, TracesInOrder) {
    const CTestRoot root;
    CLoggerConf conf = ChangedConf();
    CScript::Get().m_notes.clear();
    EXPECT_TRUE(CVELTARO_ToolServiceLogger::EditConfigFile(&conf));
    EXPECT_EQ((Notes{Trace(4, kWrite + " [START]"), Trace(4, "CLoggerConf::CLoggerConf() [START]"),
                     Trace(4, "CLoggerConf::CLoggerConf() [END]"), Trace(4, kWrite + " [END]")}),
              CScript::Get().m_notes);
}

} // namespace
