#include "settings/CLoggerUsageMonitorConf.h"

#include "comlib/CIWbemUtil.h"
#include "providerbase/IWbemClassObject.h"
#include "tests/support/CTempFile.h"
#include "tests/support/CTraceCapture.h"
#include "tests/support/TableTest.h"
#include "tests/unit/settings/RecordTest.h"

#include <sstream>

using std::string;

namespace {

// "enable interval count threshold status"
string Describe(const CLoggerUsageMonitorConf& conf) {
    std::ostringstream text;
    text << conf.m_bMonitoringEnable << ' ' << conf.m_uiSamplingInterval << ' '
         << conf.m_uiSamplingCount << ' ' << conf.m_iThreshold << ' ' << conf.m_iStatus;
    return text.str();
}

const char kUsageFailed[] = "0 0 0 0 1";

TraceLines UsageFlagLine(const string& bits) {
    return {{2, "CLoggerUsageMonitorConf::CLoggerUsageMonitorConf nSetFlag=" + bits}};
}

CLoggerUsageMonitorConf Monitor(bool enable, unsigned int interval, unsigned int count,
                                int threshold) {
    CLoggerUsageMonitorConf conf;
    conf.m_bMonitoringEnable = enable;
    conf.m_uiSamplingInterval = interval;
    conf.m_uiSamplingCount = count;
    conf.m_iThreshold = threshold;
    return conf;
}

// ---- Value lists ----

struct UsageListRow {
    string name;
    string line;
    unsigned int keyPos;
    string expected;
};
std::ostream& operator<<(std::ostream& out, const UsageListRow& row) {
    return out << '"' << row.line << '"';
}

class GetValueList : public testing::TestWithParam<UsageListRow> {};

TEST_P(GetValueList, IsTheTextBetweenTheParentheses) {
    const UsageListRow& row = GetParam();
    EXPECT_EQ(row.expected, CLoggerUsageMonitorConf::GetValueListFromString(row.line, row.keyPos));
}

INSTANTIATE_TEST_SUITE_P(
    Lines, GetValueList,
    testing::Values(UsageListRow{"Plain", "CPU=(True,60,5,80)", 0, "True,60,5,80"},
                    UsageListRow{"BlanksAreKept", "CPU = ( True, 60 )", 0, " True, 60 "},
                    UsageListRow{"Empty", "CPU=()", 0, ""},
                    UsageListRow{"NoParentheses", "CPU=True,60,5,80", 0, ""},
                    UsageListRow{"Commented", "#CPU=(True,60,5,80)", 1, ""},
                    UsageListRow{"NoClosing", "CPU=(True,60", 0, ""},
                    UsageListRow{"NoOpening", "CPU=True,60)", 0, ""},
                    UsageListRow{"WrongWayRound", "CPU=)True(", 0, ""},
                    UsageListRow{"WrongWayRoundSideBySide", "CPU=)(True", 0, ""},
                    UsageListRow{"ClosingBeforeThePair", "CPU=) (True)", 0, ""},
                    UsageListRow{"ParenthesesBeforeTheEqualsSign", "(x) CPU=(True)", 4, "True"},
                    UsageListRow{"EarlierEqualsSign", "X=1 CPU=(True,60,5,80)", 4, ""},
                    UsageListRow{"NestedEndsAtTheFirstClosing", "CPU=((a),b)", 0, "(a"},
                    UsageListRow{"TextBehindIsIgnored", "CPU=(a) (b)", 0, "a"}),
    RowName<UsageListRow>);

// ---- From alert.cfg ----

struct UsageFileRow {
    string name;
    string text;
    string key;
    string expected;
    TraceLines trace;
};
std::ostream& operator<<(std::ostream& out, const UsageFileRow& row) {
    return out << row.key << " in\n" << row.text;
}

class ReadAlertConfig : public testing::TestWithParam<UsageFileRow> {};

TEST_P(ReadAlertConfig, GivesTheValuesTheStatusAndTheTrace) {
    const CTempFile file(GetParam().text);
    std::ifstream stream(file.Path());
    const CTraceCapture trace;
    EXPECT_EQ(GetParam().expected, Describe(CLoggerUsageMonitorConf(&stream, GetParam().key)));
    EXPECT_EQ(GetParam().trace, trace.Lines());
}

INSTANTIATE_TEST_SUITE_P(
    Files, ReadAlertConfig,
    testing::Values(
        UsageFileRow{"Good", "CPU=(True,60,5,80)\n", "CPU", "1 60 5 80 0", {}},
        UsageFileRow{
            "GoodWithBlanks", "  CPU=( True, 60, 5, 80 ) # note\n", "CPU", "1 60 5 80 0", {}},
        UsageFileRow{"ThreeFields", "CPU=(True,60,5)\n", "CPU", kUsageFailed,
                     UsageFlagLine("0000")},
        UsageFileRow{"FiveFields", "CPU=(True,60,5,80,1)\n", "CPU", kUsageFailed,
                     UsageFlagLine("0000")},
        UsageFileRow{"TrailingComma", "CPU=(True,60,5,80,)\n", "CPU", kUsageFailed,
                     UsageFlagLine("0000")},
        UsageFileRow{"EmptyFieldIsZero", "CPU=(True,,5,80)\n", "CPU", "1 0 5 80 0", {}},
        UsageFileRow{"NeitherTrueNorFalse", "CPU=(on,60,5,80)\n", "CPU", kUsageFailed,
                     UsageFlagLine("000E")},
        UsageFileRow{"SwitchInOtherCase", "CPU=(true,60,5,80)\n", "CPU", kUsageFailed,
                     UsageFlagLine("000E")},
        UsageFileRow{"SwitchInsideAWord", "CPU=(UnTrueish,60,5,80)\n", "CPU", "1 60 5 80 0", {}},
        UsageFileRow{
            "BothSwitchWordsAreTrue", "CPU=(TrueFalse,60,5,80)\n", "CPU", "1 60 5 80 0", {}},
        UsageFileRow{"BothSwitchWordsTheOtherWayAreTrue",
                     "CPU=(False True,60,5,80)\n",
                     "CPU",
                     "1 60 5 80 0",
                     {}},
        UsageFileRow{"NoNumberIsZero", "CPU=(False,abc,5,80)\n", "CPU", "0 0 5 80 0", {}},
        UsageFileRow{"TrailingTextIsIgnored", "CPU=(False,60s,5x,80%)\n", "CPU", "0 60 5 80 0", {}},
        UsageFileRow{"NegativeNumbersWrap",
                     "CPU=(False,-1,-2,-3)\n",
                     "CPU",
                     "0 4294967295 4294967294 -3 0",
                     {}},
        UsageFileRow{"NoRangeCheck", "CPU=(True,0,0,150)\n", "CPU", "1 0 0 150 0", {}},
        UsageFileRow{"LargestUnsigned",
                     "CPU=(True,4294967295,4294967296,80)\n",
                     "CPU",
                     "1 4294967295 0 80 0",
                     {}},
        UsageFileRow{"CommentedLineIsSkipped",
                     "#CPU=(True,1,1,1)\nCPU=(False,2,2,2)\n",
                     "CPU",
                     "0 2 2 2 0",
                     {}},
        UsageFileRow{"FirstOfTwoLinesIsUsed",
                     "CPU=(True,1,1,1)\nCPU=(False,2,2,2)\n",
                     "CPU",
                     "1 1 1 1 0",
                     {}},
        UsageFileRow{"FirstLineIsUsedEvenWhenMalformed", "CPU=(True)\nCPU=(False,2,2,2)\n", "CPU",
                     kUsageFailed, UsageFlagLine("0000")},
        UsageFileRow{
            "LineWithEmptyListIsSkipped", "CPU=()\nCPU=(False,2,2,2)\n", "CPU", "0 2 2 2 0", {}},
        UsageFileRow{"BlankBeforeTheEqualsSign", "CPU =(True,60,5,80)\n", "CPU", kUsageFailed,
                     UsageFlagLine("0000")},
        UsageFileRow{"OtherKeyIsNotTaken", "MEMORY=(True,60,5,80)\n", "CPU", kUsageFailed,
                     UsageFlagLine("0000")},
        UsageFileRow{"OtherKeyIsNotTakenEither", "CPU=(True,60,5,80)\n", "MEMORY", kUsageFailed,
                     UsageFlagLine("0000")},
        UsageFileRow{
            "Memory", "CPU=(True,1,1,1)\nMEMORY=(False,30,3,85)\n", "MEMORY", "0 30 3 85 0", {}},
        UsageFileRow{"KeyInsideALongerWord", "XCPU=(True,1,1,1)\n", "CPU", "1 1 1 1 0", {}},
        UsageFileRow{"EarlierEqualsSign", "X=1 CPU=(True,1,1,1)\n", "CPU", kUsageFailed,
                     UsageFlagLine("0000")},
        UsageFileRow{
            "CarriageReturnBehindTheList", "CPU=(True,60,5,80)\r\n", "CPU", "1 60 5 80 0", {}},
        UsageFileRow{"NoFinalNewline", "CPU=(True,60,5,80)", "CPU", "1 60 5 80 0", {}},
        UsageFileRow{"EmptyFile", "", "CPU", kUsageFailed, UsageFlagLine("0000")},
        UsageFileRow{"EmptyKey", "CPU=(True,60,5,80)\n", "", kUsageFailed, {}}),
    RowName<UsageFileRow>);

TEST(CLoggerUsageMonitorConf, ReadsTheSameStreamForEveryKey) {
    const CTempFile file("MEMORY=(False,30,3,85)\nCPU=(True,60,5,80)\n");
    std::ifstream stream(file.Path());
    EXPECT_EQ("1 60 5 80 0", Describe(CLoggerUsageMonitorConf(&stream, "CPU")));
    EXPECT_EQ("0 30 3 85 0", Describe(CLoggerUsageMonitorConf(&stream, "MEMORY")));
    EXPECT_EQ(kUsageFailed, Describe(CLoggerUsageMonitorConf(&stream, "DISK")));
    EXPECT_EQ("1 60 5 80 0", Describe(CLoggerUsageMonitorConf(&stream, "CPU")));
}

TEST(CLoggerUsageMonitorConf, NullsFailWithoutATrace) {
    const CTraceCapture trace;
    EXPECT_EQ(kUsageFailed, Describe(CLoggerUsageMonitorConf(nullptr, "CPU")));
    EXPECT_EQ(kUsageFailed, Describe(CLoggerUsageMonitorConf(nullptr)));
    EXPECT_FALSE(CLoggerUsageMonitorConf().ConvertToIWbemClassObject(nullptr));
    EXPECT_EQ(TraceLines{}, trace.Lines());
}

// ---- From and to WBEM objects ----

const std::vector<PropertyRow> kUsageProperties = {{"MonitoringEnable", "Bool"},
                                                   {"SamplingInterval", "UInt"},
                                                   {"SamplingCount", "UInt"},
                                                   {"Threshold", "Int"}};

TEST(CLoggerUsageMonitorConf, ExtremeValuesSurviveTheObject) {
    const CLoggerUsageMonitorConf conf = Monitor(true, 4294967295U, 0, -2147483647 - 1);
    IWbemClassObject object;
    ASSERT_TRUE(conf.ConvertToIWbemClassObject(&object));
    EXPECT_EQ("1 4294967295 0 -2147483648 0", Describe(CLoggerUsageMonitorConf(&object)));
}

TEST(CLoggerUsageMonitorConf, WritesItsPropertiesInOrder) {
    IWbemClassObject object;
    ASSERT_TRUE(Monitor(true, 1, 2, 3).ConvertToIWbemClassObject(&object));
    ASSERT_EQ(kUsageProperties.size(), object.GetProperties().size());
    const WbemType types[] = {WbemType::Boolean, WbemType::UInt32, WbemType::UInt32,
                              WbemType::SInt32};
    for (std::size_t i = 0; i < kUsageProperties.size(); ++i) {
        EXPECT_EQ(kUsageProperties[i].name, object.GetProperties()[i].m_sName);
        EXPECT_EQ(types[i], object.GetProperties()[i].m_type);
    }
}

TEST(CLoggerUsageMonitorConf, NeedsEachPropertyOfTheObject) {
    for (const PropertyRow& missing : kUsageProperties) {
        SCOPED_TRACE(missing.name);
        IWbemClassObject object;
        Monitor(true, 60, 5, 80).ConvertToIWbemClassObject(&object);
        object.Put(missing.name.c_str(), {});
        const CTraceCapture trace;
        EXPECT_EQ(kUsageFailed, Describe(CLoggerUsageMonitorConf(&object)));
        EXPECT_EQ((TraceLines{{2, "CLoggerUsageMonitorConf::CLoggerUsageMonitorConf get" +
                                      missing.kind + "FromIWbemClassObject is FAILED 80041002"}}),
                  trace.Lines());
    }
}

TEST(CLoggerUsageMonitorConf, PropertiesAreReadInOrderUntilOneFails) {
    for (auto missing = kUsageProperties.begin(); missing != kUsageProperties.end(); ++missing) {
        SCOPED_TRACE(missing->name);
        IWbemClassObject object;
        Monitor(true, 60, 5, 80).ConvertToIWbemClassObject(&object);
        object.Put(missing->name.c_str(), {});
        for (auto later = std::next(missing); later != kUsageProperties.end(); ++later) {
            object.Put(later->name.c_str(), CWbemObjectArray{}); // fails with another code
        }
        const CTraceCapture trace;
        EXPECT_EQ(kUsageFailed, Describe(CLoggerUsageMonitorConf(&object)));
        EXPECT_EQ((TraceLines{{2, "CLoggerUsageMonitorConf::CLoggerUsageMonitorConf get" +
                                      missing->kind + "FromIWbemClassObject is FAILED 80041002"}}),
                  trace.Lines());
    }
}

TEST(CLoggerUsageMonitorConf, PropertyThatCannotBeSetFails) {
    for (const PropertyRow& refused : kUsageProperties) {
        SCOPED_TRACE(refused.name);
        IWbemClassObject object;
        object.DefineProperty(refused.name, WbemType::String);
        const CTraceCapture trace;
        EXPECT_FALSE(Monitor(true, 60, 5, 80).ConvertToIWbemClassObject(&object));
        EXPECT_EQ((TraceLines{{2, "CLoggerUsageMonitorConf::ConvertToIWbemClassObject set" +
                                      refused.kind + "ToIWbemClassObject is FAILED 80041005"}}),
                  trace.Lines());
    }
}

// ---- Comparison and dump ----

struct UsageCompareRow {
    string name;
    CLoggerUsageMonitorConf right;
    bool expected;
    TraceLines trace;
};
std::ostream& operator<<(std::ostream& out, const UsageCompareRow& row) {
    return out << Describe(row.right);
}

class CompareMonitor : public testing::TestWithParam<UsageCompareRow> {};

TEST_P(CompareMonitor, NamesTheFirstDifference) {
    const CTraceCapture trace;
    EXPECT_EQ(GetParam().expected, Monitor(true, 60, 5, 80).Compare(&GetParam().right));
    EXPECT_EQ(GetParam().trace, trace.Lines());
}

TraceLines Difference(const string& field, const string& left, const string& right) {
    return {{2, "CLoggerUsageMonitorConf::Compare " + field + " not same. " + field + "1=" + left +
                    " " + field + "2=" + right}};
}

INSTANTIATE_TEST_SUITE_P(
    Records, CompareMonitor,
    testing::Values(UsageCompareRow{"Equal", Monitor(true, 60, 5, 80), true, {}},
                    UsageCompareRow{
                        "OnlyTheStatusDiffers", WithStatus(Monitor(true, 60, 5, 80), 1), true, {}},
                    UsageCompareRow{"Enable", Monitor(false, 1, 2, 3), false,
                                    Difference("MonitoringEnable", "1", "0")},
                    UsageCompareRow{"Interval", Monitor(true, 61, 2, 3), false,
                                    Difference("SamplingInterval", "60", "61")},
                    UsageCompareRow{"LargeIntervalIsShownSigned", Monitor(true, 4294967295U, 2, 3),
                                    false, Difference("SamplingInterval", "60", "-1")},
                    UsageCompareRow{"Count", Monitor(true, 60, 6, 3), false,
                                    Difference("SamplingCount", "5", "6")},
                    UsageCompareRow{"Threshold", Monitor(true, 60, 5, -80), false,
                                    Difference("Threshold", "80", "-80")}),
    RowName<UsageCompareRow>);

TEST(CLoggerUsageMonitorConf, DumpsItsValuesSigned) {
    const CTraceCapture trace;
    Monitor(true, 4294967295U, 5, -80).OutPutMemberToDebugLog();
    EXPECT_EQ((TraceLines{{4, "CLoggerUsageMonitorConf::OutPutMemberToDebugLog[START]"},
                          {1, "m_bMonitoringEnable=1"},
                          {1, "m_uiSamplingInterval=-1"},
                          {1, "m_uiSamplingCount=5"},
                          {1, "m_iThreshold=-80"},
                          {4, "CLoggerUsageMonitorConf::OutPutMemberToDebugLog[END]"}}),
              trace.Lines());
}

TEST(CLoggerUsageMonitorConf, BeginsWithEverythingOff) {
    EXPECT_EQ("0 0 0 0 0", Describe(CLoggerUsageMonitorConf()));
    CLoggerUsageMonitorConf conf = WithStatus(Monitor(true, 1, 2, 3), 1);
    conf.InitMember();
    EXPECT_EQ("0 0 0 0 0", Describe(conf));
}

} // namespace
