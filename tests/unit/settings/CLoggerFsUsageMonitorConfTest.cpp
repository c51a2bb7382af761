#include "settings/CLoggerFsUsageMonitorConf.h"

#include "comlib/CIWbemUtil.h"
#include "providerbase/IWbemClassObject.h"
#include "tests/support/CTempFile.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/CTraceCapture.h"
#include "tests/support/TableTest.h"
#include "tests/unit/settings/RecordTest.h"

#include <sstream>

using std::string;
using Rows = std::list<CLoggerFsThresholdConf>;

namespace {

// "enable interval count status", then "name threshold enable" of each row.
string Describe(const CLoggerFsUsageMonitorConf& conf) {
    std::ostringstream text;
    text << conf.m_bMonitoringEnable << ' ' << conf.m_uiSamplingInterval << ' '
         << conf.m_uiSamplingCount << ' ' << conf.m_iStatus;
    for (const CLoggerFsThresholdConf& row : conf.m_FsThresholdConfList) {
        text << " | " << row.m_sVolumeName << ' ' << row.m_iThreshold << ' '
             << row.m_bVolMonitoringEnable;
    }
    return text.str();
}

const char kFsFailed[] = "0 0 0 1";

TraceLines FsFlagLine(const string& bits) {
    return {{2, "CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf nSetFlag=" + bits}};
}

CLoggerFsUsageMonitorConf FsMonitor(bool enable, unsigned int interval, unsigned int count,
                                    const Rows& rows) {
    CLoggerFsUsageMonitorConf conf;
    conf.m_bMonitoringEnable = enable;
    conf.m_uiSamplingInterval = interval;
    conf.m_uiSamplingCount = count;
    conf.m_FsThresholdConfList = rows;
    return conf;
}

// ---- FSNAME lines ----

struct VolumeRow {
    string name;
    string line;
    int expected;
    string volume;
    int threshold;
    bool enable;
};
std::ostream& operator<<(std::ostream& out, const VolumeRow& row) {
    return out << '"' << row.line << '"';
}

class ParseVolumeLine : public testing::TestWithParam<VolumeRow> {};

TEST_P(ParseVolumeLine, GivesKindNameThresholdAndSwitch) {
    const VolumeRow& row = GetParam();
    string volume = "before";
    int threshold = -1;
    bool enable = !row.enable;
    const auto keyPos = static_cast<unsigned int>(row.line.find("FSNAME="));
    EXPECT_EQ(row.expected, CLoggerFsUsageMonitorConf::GetVolumeThresholdFromString(
                                row.line, keyPos, &volume, &threshold, &enable));
    EXPECT_EQ(row.volume, volume);
    EXPECT_EQ(row.threshold, threshold);
    EXPECT_EQ(row.enable, enable);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, ParseVolumeLine,
    testing::Values(
        VolumeRow{"Monitored", "FSNAME=\"/home\"   (90)", 0, "/home", 90, true},
        VolumeRow{"NotMonitored", "#KZM# \tFSNAME=\"/data\"   (75)", 0, "/data", 75, false},
        VolumeRow{"MarkerAnywhereInTheLine", "FSNAME=\"/data\" (75) #KZM# ", 0, "/data", 75, false},
        VolumeRow{"MarkerWithoutItsBlankIsAComment", "#KZM#\tFSNAME=\"/data\" (75)", 255, "", 0,
                  false},
        VolumeRow{"OrdinaryComment", "# FSNAME=\"/home\" (90)", 255, "", 0, false},
        VolumeRow{"EarlierEqualsSign", "X=1 FSNAME=\"/home\" (90)", 255, "", 0, false},
        VolumeRow{"MarkerUsesTheFirstEqualsSign", "#KZM# A=\"/a\" (1) FSNAME=\"/b\" (2)", 0, "/a",
                  1, false},
        VolumeRow{"CommentBehind", "FSNAME=\"/home\" (90) # note", 0, "/home", 90, true},
        VolumeRow{"BlanksAround", "  FSNAME= \"/home\"(  90 )", 0, "/home", 90, true},
        VolumeRow{"TextBetweenNameAndThreshold", "FSNAME=\"/home\" at (90)", 0, "/home", 90, true},
        VolumeRow{"BlanksInTheName", "FSNAME=\"/my files\" (90)", 0, "/my files", 90, true},
        VolumeRow{"ParenthesesInTheName", "FSNAME=\"/a(1)\" (90)", 0, "/a(1)", 90, true},
        VolumeRow{"CommentMarkInTheName", "FSNAME=\"/a#b\" (90)", 0, "/a#b", 90, true},
        VolumeRow{"BytesBeyondAscii", "FSNAME=\"/\xff\xc3\" (90)", 0, "/\xff\xc3", 90, true},
        VolumeRow{"NegativeThreshold", "FSNAME=\"/home\" (-5)", 0, "/home", -5, true},
        VolumeRow{"TextBehindTheNumber", "FSNAME=\"/home\" (90%)", 0, "/home", 90, true},
        VolumeRow{"CarriageReturn", "FSNAME=\"/home\" (90)\r", 0, "/home", 90, true},
        VolumeRow{"ThresholdZero", "FSNAME=\"/home\" (0)", 1, "/home", 0, true},
        VolumeRow{"ThresholdWithoutANumber", "FSNAME=\"/home\" (x)", 1, "/home", 0, true},
        VolumeRow{"ThresholdThatReadsAsZero", "FSNAME=\"/home\" (4294967296)", 1, "/home", 0, true},
        VolumeRow{"EmptyParentheses", "FSNAME=\"/home\" ()", 1, "/home", 0, true},
        VolumeRow{"EmptyName", "FSNAME=\"\" (90)", 1, "", 90, true},
        VolumeRow{"NoQuotes", "FSNAME=/home (90)", 1, "", 0, true},
        VolumeRow{"NoClosingQuote", "FSNAME=\"/home (90)", 1, "", 0, true},
        VolumeRow{"NoParentheses", "FSNAME=\"/home\" 90", 1, "/home", 0, true},
        VolumeRow{"NoClosingParenthesis", "FSNAME=\"/home\" (90", 1, "/home", 0, true},
        VolumeRow{"NoOpeningParenthesis", "FSNAME=\"/home\" 90)", 1, "/home", 0, true},
        VolumeRow{"ClosingParenthesisBeforeThePair", "FSNAME=\"/home\" ) (90)", 0, "/home", 90,
                  true},
        VolumeRow{"MarkedButMalformed", "#KZM# \tFSNAME=\"/data\"   (0)", 1, "/data", 0, false}),
    RowName<VolumeRow>);

struct FsListRow {
    string name;
    string line;
    string expected;
};
std::ostream& operator<<(std::ostream& out, const FsListRow& row) {
    return out << '"' << row.line << '"';
}

class GetFsValueList : public testing::TestWithParam<FsListRow> {};

TEST_P(GetFsValueList, IsTheTextBetweenTheParentheses) {
    EXPECT_EQ(GetParam().expected,
              CLoggerFsUsageMonitorConf::GetValueListFromString(
                  GetParam().line, static_cast<unsigned int>(GetParam().line.find("FILESYSTEM"))));
}

INSTANTIATE_TEST_SUITE_P(Lines, GetFsValueList,
                         testing::Values(FsListRow{"Plain", "FILESYSTEM=(True,60,3)", "True,60,3"},
                                         FsListRow{"BlanksAreKept", "FILESYSTEM=( True )",
                                                   " True "},
                                         FsListRow{"Empty", "FILESYSTEM=()", ""},
                                         FsListRow{"Commented", "# FILESYSTEM=(True,60,3)", ""},
                                         FsListRow{"WrongWayRound", "FILESYSTEM=)(", ""},
                                         FsListRow{"NoParentheses", "FILESYSTEM=True,60,3", ""}),
                         RowName<FsListRow>);

// ---- From alert.cfg and the mount table ----

struct FsFileRow {
    string name;
    string text;
    string expected;
    TraceLines trace;
};
std::ostream& operator<<(std::ostream& out, const FsFileRow& row) {
    return out << row.text;
}

class ReadFileSystems : public testing::TestWithParam<FsFileRow> {};

CLoggerFsUsageMonitorConf ReadAlertText(const string& text, const string& key = "FILESYSTEM") {
    const CTempFile file(text);
    std::ifstream stream(file.Path());
    return {&stream, key};
}

TEST_P(ReadFileSystems, MergesTheFileWithTheMountTable) {
    const CTestRoot root;
    const CTraceCapture trace;
    EXPECT_EQ(GetParam().expected, Describe(ReadAlertText(GetParam().text)));
    EXPECT_EQ(GetParam().trace, trace.Lines());
}

const char kMounted[] = " | / 80 0 | /home 80 0 | /data 80 0";
const char kGood[] = "FILESYSTEM=(True,60,3)\n";

INSTANTIATE_TEST_SUITE_P(
    Files, ReadFileSystems,
    testing::Values(
        FsFileRow{"OnlyTheFileSystemLine", kGood, string("1 60 3 0") + kMounted, {}},
        FsFileRow{
            "BlanksInTheList", "FILESYSTEM=( False, 60, 3 )\n", string("0 60 3 0") + kMounted, {}},
        FsFileRow{"TwoFields", "FILESYSTEM=(True,60)\n", kFsFailed, FsFlagLine("0008")},
        FsFileRow{"FourFields", "FILESYSTEM=(True,60,3,1)\n", kFsFailed, FsFlagLine("0008")},
        FsFileRow{"OneField", "FILESYSTEM=(True)\n", kFsFailed, FsFlagLine("0008")},
        FsFileRow{"TrailingComma", "FILESYSTEM=(True,60,3,)\n", kFsFailed, FsFlagLine("0008")},
        FsFileRow{"FiveFields", "FILESYSTEM=(True,60,3,1,1)\n", kFsFailed, FsFlagLine("0008")},
        FsFileRow{"NeitherTrueNorFalse", "FILESYSTEM=(on,60,3)\n", kFsFailed, FsFlagLine("000E")},
        FsFileRow{"BothSwitchWordsAreTrue",
                  "FILESYSTEM=(FalseTrue,60,3)\n",
                  string("1 60 3 0") + kMounted,
                  {}},
        FsFileRow{"NoFileSystemLine", "FSNAME=\"/home\" (90)\n", kFsFailed, FsFlagLine("0008")},
        FsFileRow{"EmptyFile", "", kFsFailed, FsFlagLine("0008")},
        FsFileRow{"EmptyListIsNoList",
                  "FILESYSTEM=()\nFILESYSTEM=(True,60,3)\n",
                  string("1 60 3 0") + kMounted,
                  {}},
        FsFileRow{"CommentedFileSystemLine", "#FILESYSTEM=(True,60,3)\n", kFsFailed,
                  FsFlagLine("0008")},
        FsFileRow{"LaterLineOverrides",
                  string(kGood) + "FILESYSTEM=(False,10,2)\n",
                  string("0 10 2 0") + kMounted,
                  {}},
        FsFileRow{"LaterLineWithoutSwitchKeepsIt",
                  string(kGood) + "FILESYSTEM=(on,10,2)\n",
                  string("1 10 2 0") + kMounted,
                  {}},
        FsFileRow{"BadLineAfterAGoodOneEndsTheReading",
                  string("FSNAME=\"/home\" (90)\n") + kGood + "FILESYSTEM=(True,60)\n" +
                      "FSNAME=\"/data\" (70)\n",
                  "1 60 3 0 | / 80 0 | /home 90 1 | /data 80 0",
                  {}},
        FsFileRow{"Monitored",
                  string(kGood) + "FSNAME=\"/home\"   (90)\n",
                  "1 60 3 0 | / 80 0 | /home 90 1 | /data 80 0",
                  {}},
        FsFileRow{"NotMonitored",
                  string(kGood) + "#KZM# \tFSNAME=\"/home\"   (90)\n",
                  "1 60 3 0 | / 80 0 | /home 90 0 | /data 80 0",
                  {}},
        FsFileRow{"OrdinaryComment",
                  string(kGood) + "# FSNAME=\"/home\"   (90)\n",
                  string("1 60 3 0") + kMounted,
                  {}},
        FsFileRow{"AboveTheFileSystemLine",
                  string("FSNAME=\"/home\"   (90)\n") + kGood,
                  "1 60 3 0 | / 80 0 | /home 90 1 | /data 80 0",
                  {}},
        FsFileRow{"NotMounted",
                  string(kGood) + "FSNAME=\"/gone\" (90)\n",
                  string("1 60 3 0") + kMounted,
                  {}},
        FsFileRow{"NameInOtherCaseIsNotMounted",
                  string(kGood) + "FSNAME=\"/Home\" (90)\n",
                  string("1 60 3 0") + kMounted,
                  {}},
        FsFileRow{"LastOfTwoLinesWins",
                  string(kGood) + "FSNAME=\"/home\" (90)\n#KZM# \tFSNAME=\"/home\" (70)\n",
                  "1 60 3 0 | / 80 0 | /home 70 0 | /data 80 0",
                  {}},
        FsFileRow{"ThresholdZero", string(kGood) + "FSNAME=\"/home\" (0)\n", kFsFailed,
                  FsFlagLine("0007")},
        FsFileRow{"NoClosingQuote", string(kGood) + "FSNAME=\"/home (90)\n", kFsFailed,
                  FsFlagLine("0007")},
        FsFileRow{"MalformedLineEndsTheReading", string("FSNAME=\"/home\" (0)\n") + kGood,
                  kFsFailed, FsFlagLine("0000")},
        FsFileRow{"MalformedLineOfAFileSystemThatIsNotMounted",
                  string(kGood) + "FSNAME=\"/gone\" (0)\n", kFsFailed, FsFlagLine("0007")},
        FsFileRow{"NegativeThreshold",
                  string(kGood) + "FSNAME=\"/home\" (-5)\n",
                  "1 60 3 0 | / 80 0 | /home -5 1 | /data 80 0",
                  {}},
        FsFileRow{"BothKeysOnOneLine",
                  "FILESYSTEM=(True,60,3) FSNAME=\"/home\" (90)\n",
                  string("1 60 3 0") + kMounted,
                  {}},
        FsFileRow{"FileSystemIsReadBeforeAVolumeOfTheSameLine",
                  "FILESYSTEM=(True,60) FSNAME=\"/home\" (0) #KZM# \n", kFsFailed,
                  FsFlagLine("0008")},
        FsFileRow{"CarriageReturns",
                  "FILESYSTEM=(True,60,3)\r\nFSNAME=\"/home\"   (90)\r\n",
                  "1 60 3 0 | / 80 0 | /home 90 1 | /data 80 0",
                  {}},
        FsFileRow{"NoFinalNewline",
                  string(kGood) + "FSNAME=\"/home\"   (90)",
                  "1 60 3 0 | / 80 0 | /home 90 1 | /data 80 0",
                  {}}),
    RowName<FsFileRow>);

TEST(CLoggerFsUsageMonitorConf, EmptyMountPointFailsTheRecord) {
    const CTestRoot root;
    root.SetMountOutput("a on / type ext4 (rw)\nx on  type y\n");
    const CTraceCapture trace;
    EXPECT_EQ(kFsFailed, Describe(ReadAlertText(kGood)));
    EXPECT_EQ((TraceLines{{2, "CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf "
                              "GetMountPointList() failure"}}),
              trace.Lines());
}

TEST(CLoggerFsUsageMonitorConf, NothingMountedIsAnEmptyList) {
    const CTestRoot root;
    root.SetMountOutput("");
    EXPECT_EQ("1 60 3 0", Describe(ReadAlertText(string(kGood) + "FSNAME=\"/home\" (90)\n")));
}

TEST(CLoggerFsUsageMonitorConf, OtherKeysAndNullsFailWithoutATrace) {
    const CTestRoot root;
    const CTraceCapture trace;
    for (const char* key : {"", "CPU", "FILESYSTEM=", "filesystem"}) {
        EXPECT_EQ(kFsFailed, Describe(ReadAlertText(kGood, key))) << key;
    }
    EXPECT_EQ(kFsFailed, Describe(CLoggerFsUsageMonitorConf(nullptr, "FILESYSTEM")));
    EXPECT_EQ(kFsFailed, Describe(CLoggerFsUsageMonitorConf(nullptr)));
    EXPECT_EQ(TraceLines{}, trace.Lines());
}

// ---- From and to WBEM objects ----

const Rows kTwoRows = {{"/", 80, false}, {"/home", 90, true}};

TEST(CLoggerFsUsageMonitorConf, SurvivesTheObject) {
    IWbemClassObject object;
    ASSERT_TRUE(FsMonitor(true, 60, 3, kTwoRows).ConvertToIWbemClassObject(&object));
    EXPECT_EQ("1 60 3 0 | / 80 0 | /home 90 1", Describe(CLoggerFsUsageMonitorConf(&object)));
}

TEST(CLoggerFsUsageMonitorConf, WritesAnEmptyArray) {
    IWbemClassObject object;
    ASSERT_TRUE(FsMonitor(false, 0, 0, {}).ConvertToIWbemClassObject(&object));
    ASSERT_EQ(4U, object.GetProperties().size());
    EXPECT_EQ("FsThresholdConfList", object.GetProperties()[3].m_sName);
    EXPECT_EQ(WbemType::ObjectArray, object.GetProperties()[3].m_type);
    EXPECT_EQ("0 0 0 0", Describe(CLoggerFsUsageMonitorConf(&object)));
}

const std::vector<PropertyRow> kFsProperties = {{"MonitoringEnable", "Bool"},
                                                {"SamplingInterval", "UInt"},
                                                {"SamplingCount", "UInt"},
                                                {"FsThresholdConfList", "ParameterClassArray"}};

TEST(CLoggerFsUsageMonitorConf, NeedsEachPropertyOfTheObject) {
    for (const PropertyRow& missing : kFsProperties) {
        SCOPED_TRACE(missing.name);
        IWbemClassObject object;
        FsMonitor(true, 60, 3, kTwoRows).ConvertToIWbemClassObject(&object);
        object.Put(missing.name.c_str(), {});
        const CTraceCapture trace;
        EXPECT_EQ(kFsFailed, Describe(CLoggerFsUsageMonitorConf(&object)));
        EXPECT_EQ((TraceLines{{2, "CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf get" +
                                      missing.kind + "FromIWbemClassObject is FAILED 80041002"}}),
                  trace.Lines());
    }
}

TEST(CLoggerFsUsageMonitorConf, BadRowFailsTheRecordWithTheRowsOwnTrace) {
    IWbemClassObject good;
    CLoggerFsThresholdConf("/", 80, false).ConvertToIWbemClassObject(&good);
    IWbemClassObject bad;
    CLoggerFsThresholdConf("/home", 90, true).ConvertToIWbemClassObject(&bad);
    bad.Put("Threshold", {});
    std::vector<IWbemClassObject*> rows{&good, &bad, &good};
    IWbemClassObject object;
    FsMonitor(true, 60, 3, {}).ConvertToIWbemClassObject(&object);
    CIWbemUtil::setParameterClassArrayToIWbemClassObject(&object, "FsThresholdConfList", &rows);
    const CTraceCapture trace;
    EXPECT_EQ(kFsFailed, Describe(CLoggerFsUsageMonitorConf(&object)));
    EXPECT_EQ((TraceLines{{2, "CLoggerFsThresholdConf::CLoggerFsThresholdConf "
                              "getIntFromIWbemClassObject is FAILED 80041002"}}),
              trace.Lines());
}

TEST(CLoggerFsUsageMonitorConf, PropertyThatCannotBeSetFails) {
    for (const PropertyRow& refused : kFsProperties) {
        SCOPED_TRACE(refused.name);
        IWbemClassObject object;
        object.DefineProperty(refused.name, WbemType::String);
        const CTraceCapture trace;
        EXPECT_FALSE(FsMonitor(true, 60, 3, kTwoRows).ConvertToIWbemClassObject(&object));
        EXPECT_EQ((TraceLines{{2, "CLoggerFsUsageMonitorConf::ConvertToIWbemClassObject set" +
                                      refused.kind + "ToIWbemClassObject is FAILED 80041005"}}),
                  trace.Lines());
    }
}

TEST(CLoggerFsUsageMonitorConf, NullObjectCannotBeWritten) {
    const CTraceCapture trace;
    EXPECT_FALSE(CLoggerFsUsageMonitorConf().ConvertToIWbemClassObject(nullptr));
    EXPECT_EQ((TraceLines{{2, "CLoggerFsUsageMonitorConf::ConvertToIWbemClassObject "
                              "setBoolToIWbemClassObject is FAILED 80041008"}}),
              trace.Lines());
}

// ---- Comparison and dump ----

struct FsCompareRow {
    string name;
    CLoggerFsUsageMonitorConf left;
    CLoggerFsUsageMonitorConf right;
    bool expected;
    TraceLines trace;
};
std::ostream& operator<<(std::ostream& out, const FsCompareRow& row) {
    return out << Describe(row.left) << "\nand\n" << Describe(row.right);
}

class CompareFileSystems : public testing::TestWithParam<FsCompareRow> {};

TEST_P(CompareFileSystems, NamesTheFirstDifference) {
    const CTraceCapture trace;
    EXPECT_EQ(GetParam().expected, GetParam().left.Compare(&GetParam().right));
    EXPECT_EQ(GetParam().trace, trace.Lines());
}

CLoggerFsUsageMonitorConf WithRows(const Rows& rows) {
    return FsMonitor(true, 60, 3, rows);
}

const CLoggerFsThresholdConf kRootRow("/", 80, false);
const CLoggerFsThresholdConf kHomeRow("/home", 90, true);

TraceLines Difference(const string& text) {
    return {{2, "CLoggerFsUsageMonitorConf::Compare " + text}};
}

INSTANTIATE_TEST_SUITE_P(
    Records, CompareFileSystems,
    testing::Values(
        FsCompareRow{"Equal", WithRows(kTwoRows), WithRows(kTwoRows), true, {}},
        FsCompareRow{"OnlyTheStatusDiffers",
                     CLoggerFsUsageMonitorConf(),
                     WithStatus(CLoggerFsUsageMonitorConf(), 1),
                     true,
                     {}},
        FsCompareRow{
            "OtherOrder", WithRows({kRootRow, kHomeRow}), WithRows({kHomeRow, kRootRow}), true, {}},
        FsCompareRow{
            "Enable", FsMonitor(true, 1, 2, {}), FsMonitor(false, 3, 4, {}), false,
            Difference("MonitoringEnable not same. MonitoringEnable1=1 MonitoringEnable2=0")},
        FsCompareRow{
            "Interval", FsMonitor(true, 1, 2, {}), FsMonitor(true, 3, 4, {}), false,
            Difference("SamplingInterval not same. SamplingInterval1=1 SamplingInterval2=3")},
        FsCompareRow{"Count", FsMonitor(true, 1, 2, {}), FsMonitor(true, 1, 4, kTwoRows), false,
                     Difference("SamplingCount not same. SamplingCount1=2 SamplingCount2=4")},
        FsCompareRow{"ExtraRowInTheOther", WithRows({kRootRow}), WithRows({kRootRow, kHomeRow}),
                     false, Difference("FsList size is not same. FsList1.size=1 FsList2.size=2")},
        FsCompareRow{"RowMissingInTheOther", WithRows({kRootRow, kHomeRow}), WithRows({kRootRow}),
                     false, Difference("VolumeName not same. VolumeName1(/home) not found.")},
        FsCompareRow{"RowDiffers",
                     WithRows({kRootRow, kHomeRow}),
                     WithRows({kRootRow, {"/home", 91, true}}),
                     false,
                     {{2, "CLoggerFsThresholdConf::Compare Threshold not same. Threshold1=90 "
                          "Threshold2=91"}}},
        FsCompareRow{"FirstRowOfANameCounts",
                     WithRows({kHomeRow}),
                     WithRows({{"/home", 91, true}, kHomeRow}),
                     false,
                     {{2, "CLoggerFsThresholdConf::Compare Threshold not same. Threshold1=90 "
                          "Threshold2=91"}}},
        FsCompareRow{"RepeatedRowIsOnlyMissedByTheSize", WithRows({kHomeRow, kHomeRow}),
                     WithRows({kHomeRow}), false,
                     Difference("FsList size is not same. FsList1.size=2 FsList2.size=1")},
        FsCompareRow{"RepeatedRowCanStandForAnother",
                     WithRows({kHomeRow, kHomeRow}),
                     WithRows({kHomeRow, kRootRow}),
                     true,
                     {}}),
    RowName<FsCompareRow>);

TEST(CLoggerFsUsageMonitorConf, DumpsItsValuesAndRows) {
    const CTraceCapture trace;
    FsMonitor(true, 4294967295U, 3, {kHomeRow}).OutPutMemberToDebugLog();
    EXPECT_EQ((TraceLines{{4, "CLoggerFsUsageMonitorConf::OutPutMemberToDebugLog[START]"},
                          {1, "m_bMonitoringEnable=1"},
                          {1, "m_uiSamplingInterval=-1"},
                          {1, "m_uiSamplingCount=3"},
                          {4, "CLoggerFsThresholdConf::OutPutMemberToDebugLog[START]"},
                          {1, "m_sVolumeName=/home"},
                          {1, "m_iThreshold=90"},
                          {1, "m_bVolMonitoringEnable=1"},
                          {4, "CLoggerFsThresholdConf::OutPutMemberToDebugLog[END]"},
                          {4, "CLoggerFsUsageMonitorConf::OutPutMemberToDebugLog[END]"}}),
              trace.Lines());
}

TEST(CLoggerFsUsageMonitorConf, BeginsWithEverythingOff) {
    EXPECT_EQ("0 0 0 0", Describe(CLoggerFsUsageMonitorConf()));
    CLoggerFsUsageMonitorConf conf = FsMonitor(true, 60, 3, kTwoRows);
    conf.m_iStatus = 1;
    conf.InitMember();
    EXPECT_EQ("0 0 0 0", Describe(conf));
}

} // namespace
