#include "settings/CLoggerSyslogOutputConf.h"

#include "comlib/CIWbemUtil.h"
#include "providerbase/IWbemClassObject.h"
#include "tests/support/CTempFile.h"
#include "tests/support/CTraceCapture.h"
#include "tests/support/TableTest.h"
#include "tests/unit/settings/RecordTest.h"

#include <sstream>

using std::string;

namespace {

// The four switches as 0 or 1 in table order, then the status: "1010 0".
string Describe(const CLoggerSyslogOutputConf& conf) {
    std::ostringstream text;
    text << conf.m_bSyslogOutput << conf.m_bInformationAlert << conf.m_bWarningAlert
         << conf.m_bObstacleAlert << ' ' << conf.m_iStatus;
    return text.str();
}

CLoggerSyslogOutputConf ReadAgentText(const string& text) {
    const CTempFile file(text);
    std::ifstream stream(file.Path());
    return CLoggerSyslogOutputConf(&stream);
}

TraceLines SyslogFlagLine(const string& bits) {
    return {{2, "CLoggerSyslogOutputConf::CLoggerSyslogOutputConf nSetFlag=" + bits}};
}

// ---- Values ----

struct ValueRow {
    string name;
    string line;
    unsigned int keyPos;
    string expected;
};
std::ostream& operator<<(std::ostream& out, const ValueRow& row) {
    return out << '"' << row.line << '"';
}

class GetValueFromString : public testing::TestWithParam<ValueRow> {};

TEST_P(GetValueFromString, IsTheFirstWordBehindTheEqualsSign) {
    const ValueRow& row = GetParam();
    EXPECT_EQ(row.expected, CLoggerSyslogOutputConf::GetValueFromString(row.line, row.keyPos));
}

INSTANTIATE_TEST_SUITE_P(
    Lines, GetValueFromString,
    testing::Values(ValueRow{"Adjacent", "SyslogOutput=True", 0, "True"},
                    ValueRow{"BlanksAround", "SyslogOutput =   False  # note", 0, "False"},
                    ValueRow{"NothingBehind", "SyslogOutput=", 0, ""},
                    ValueRow{"OnlyBlanksBehind", "SyslogOutput=   ", 0, ""},
                    ValueRow{"Commented", "#SyslogOutput=True", 1, ""},
                    ValueRow{"NoEqualsSign", "SyslogOutput True", 0, ""},
                    ValueRow{"TabIsPartOfTheWord", "SyslogOutput=\tTrue", 0, "\tTrue"},
                    ValueRow{"CarriageReturnIsPartOfTheWord", "SyslogOutput=True\r", 0, "True\r"},
                    ValueRow{"CommentWithoutBlankIsPartOfTheWord", "SyslogOutput=True#x", 0,
                             "True#x"},
                    ValueRow{"EarlierEqualsSign", "A=1 SyslogOutput=True", 4, ""}),
    RowName<ValueRow>);

// ---- From agent.cfg ----

struct SyslogFileRow {
    string name;
    string text;
    string expected;
    TraceLines trace;
};
std::ostream& operator<<(std::ostream& out, const SyslogFileRow& row) {
    return out << row.text;
}

class ReadAgentConfig : public testing::TestWithParam<SyslogFileRow> {};

TEST_P(ReadAgentConfig, GivesTheSwitchesTheStatusAndTheTrace) {
    const CTraceCapture trace;
    EXPECT_EQ(GetParam().expected, Describe(ReadAgentText(GetParam().text)));
    EXPECT_EQ(GetParam().trace, trace.Lines());
}

const char kRest[] = "InformationAlert=False\nWarningAlert=True\nObstacleAlert=False\n";

INSTANTIATE_TEST_SUITE_P(
    Files, ReadAgentConfig,
    testing::Values(
        SyslogFileRow{"AllKeys", string("SyslogOutput=True\n") + kRest, "1010 0", {}},
        SyslogFileRow{
            "AllTrue",
            "SyslogOutput=True\nInformationAlert=True\nWarningAlert=True\nObstacleAlert=True\n",
            "1111 0",
            {}},
        SyslogFileRow{
            "AnyOrder",
            "ObstacleAlert=True\nWarningAlert=False\nInformationAlert=True\nSyslogOutput=False\n",
            "0101 0",
            {}},
        SyslogFileRow{"KeyMissing",
                      "SyslogOutput=True\nInformationAlert=False\nWarningAlert=True\n", "0000 1",
                      SyslogFlagLine("0007")},
        SyslogFileRow{"Empty", "", "0000 1", SyslogFlagLine("0000")},
        SyslogFileRow{"OnlyTheLastKey", "ObstacleAlert=True\n", "0000 1", SyslogFlagLine("0008")},
        SyslogFileRow{"LastValidLineWins",
                      string("SyslogOutput=True\n") + kRest + "SyslogOutput=False\n",
                      "0010 0",
                      {}},
        SyslogFileRow{"CommentedLineIsSkipped",
                      string("#SyslogOutput=False\nSyslogOutput=True\n") + kRest,
                      "1010 0",
                      {}},
        SyslogFileRow{
            "TextBehindTheValue", string("SyslogOutput=True # on\n") + kRest, "1010 0", {}},
        SyslogFileRow{"InvalidFirstValue", string("SyslogOutput=yes\n") + kRest, "0000 1",
                      SyslogFlagLine("0000")},
        SyslogFileRow{"LowerCaseValue", string("SyslogOutput=true\n") + kRest, "0000 1",
                      SyslogFlagLine("0000")},
        SyslogFileRow{"UpperCaseValue", string("SyslogOutput=TRUE\n") + kRest, "0000 1",
                      SyslogFlagLine("0000")},
        SyslogFileRow{"NumberAsValue", string("SyslogOutput=1\n") + kRest, "0000 1",
                      SyslogFlagLine("0000")},
        SyslogFileRow{"CarriageReturnBehindTheValue", string("SyslogOutput=True\r\n") + kRest,
                      "0000 1", SyslogFlagLine("0000")},
        SyslogFileRow{
            "InvalidValueAfterSomeKeys",
            "SyslogOutput=True\nInformationAlert=maybe\nWarningAlert=True\nObstacleAlert=True\n",
            "0000 1", SyslogFlagLine("0001")},
        // Once every key had a valid value, an invalid one is not traced and clears nothing.
        SyslogFileRow{"InvalidValueAfterAllKeys",
                      string("SyslogOutput=True\n") + kRest +
                          "SyslogOutput=yes\nWarningAlert=False\n",
                      "1010 1",
                      {}},
        SyslogFileRow{"KeyWithoutValueStaysUnset", string("SyslogOutput=\n") + kRest, "0000 1",
                      SyslogFlagLine("000E")},
        SyslogFileRow{"KeyWithoutValueGoesOnToTheNextKey",
                      string("SyslogOutput=True\n#SyslogOutput\n") + kRest,
                      "1010 0",
                      {}},
        SyslogFileRow{
            "NoFinalNewline",
            "SyslogOutput=True\nInformationAlert=False\nWarningAlert=True\nObstacleAlert=True",
            "1011 0",
            {}},
        SyslogFileRow{
            "BlanksAroundTheEqualsSign", string("  SyslogOutput  =  True\n") + kRest, "1010 0", {}},
        SyslogFileRow{"TabBeforeTheValue", string("SyslogOutput=\tTrue\n") + kRest, "0000 1",
                      SyslogFlagLine("0000")},
        SyslogFileRow{
            "KeyInsideALongerWord", string("MySyslogOutputToo=True\n") + kRest, "1010 0", {}},
        SyslogFileRow{"KeyInOtherCaseIsNotAKey", string("syslogoutput=True\n") + kRest, "0000 1",
                      SyslogFlagLine("000E")},
        SyslogFileRow{"OtherLinesAreIgnored",
                      string("\n# text\nLogLevel=3\nSyslogOutput=True\n") + kRest,
                      "1010 0",
                      {}},
        // The first key of the line whose value can be read takes the line.
        SyslogFileRow{"TwoKeysOnALine",
                      string("SyslogOutput=True WarningAlert=False\n") + kRest,
                      "1010 0",
                      {}},
        SyslogFileRow{"OneValueForTwoKeysIsTheFirstOnes",
                      string(kRest) + "ObstacleAlert SyslogOutput=True\n",
                      "1010 0",
                      {}},
        SyslogFileRow{"FirstKeyCommentedSecondTaken",
                      string("WarningAlert=False #SyslogOutput=True\nSyslogOutput=True\n"
                             "InformationAlert=True\nObstacleAlert=True\n"),
                      "1101 0",
                      {}}),
    RowName<SyslogFileRow>);

TEST(CLoggerSyslogOutputConf, ReadsAStreamThatWasReadToItsEnd) {
    const CTempFile file(string("SyslogOutput=True\n") + kRest);
    std::ifstream stream(file.Path());
    EXPECT_EQ("1010 0", Describe(CLoggerSyslogOutputConf(&stream)));
    EXPECT_EQ("1010 0", Describe(CLoggerSyslogOutputConf(&stream)));
}

TEST(CLoggerSyslogOutputConf, NullStreamFailsWithoutATrace) {
    const CTraceCapture trace;
    EXPECT_EQ("0000 1", Describe(CLoggerSyslogOutputConf(static_cast<std::ifstream*>(nullptr))));
    EXPECT_EQ(TraceLines{}, trace.Lines());
}

TEST(CLoggerSyslogOutputConf, StreamThatCouldNotBeOpenedHasNoKeys) {
    const CTraceCapture trace;
    std::ifstream stream("/nonexistent/agent.cfg");
    EXPECT_EQ("0000 1", Describe(CLoggerSyslogOutputConf(&stream)));
    EXPECT_EQ(SyslogFlagLine("0000"), trace.Lines());
}

// ---- From and to WBEM objects ----

CLoggerSyslogOutputConf Switches(bool output, bool information, bool warning, bool obstacle) {
    CLoggerSyslogOutputConf conf;
    conf.m_bSyslogOutput = output;
    conf.m_bInformationAlert = information;
    conf.m_bWarningAlert = warning;
    conf.m_bObstacleAlert = obstacle;
    return conf;
}

TEST(CLoggerSyslogOutputConf, EveryCombinationSurvivesTheObject) {
    for (unsigned int bits = 0; bits < 16; ++bits) {
        SCOPED_TRACE(bits);
        const CLoggerSyslogOutputConf conf =
            Switches((bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0, (bits & 8) != 0);
        IWbemClassObject object;
        ASSERT_TRUE(conf.ConvertToIWbemClassObject(&object));
        EXPECT_EQ(Describe(conf), Describe(CLoggerSyslogOutputConf(&object)));
    }
}

TEST(CLoggerSyslogOutputConf, WritesFourBooleansInOrder) {
    IWbemClassObject object;
    ASSERT_TRUE(Switches(true, false, true, false).ConvertToIWbemClassObject(&object));
    std::vector<string> names;
    for (const auto& property : object.GetProperties()) {
        names.push_back(property.m_sName);
        EXPECT_EQ(WbemType::Boolean, property.m_type) << property.m_sName;
    }
    EXPECT_EQ(
        (std::vector<string>{"SyslogOutput", "InformationAlert", "WarningAlert", "ObstacleAlert"}),
        names);
}

TEST(CLoggerSyslogOutputConf, NeedsEachPropertyOfTheObject) {
    for (const LoggerSyslogSwitch& missing : kLoggerSyslogSwitches) {
        SCOPED_TRACE(missing.m_pName);
        IWbemClassObject object;
        for (const LoggerSyslogSwitch& entry : kLoggerSyslogSwitches) {
            if (entry.m_pName != missing.m_pName) {
                CIWbemUtil::setBoolToIWbemClassObject(&object, entry.m_pName, true);
            }
        }
        const CTraceCapture trace;
        EXPECT_EQ("0000 1", Describe(CLoggerSyslogOutputConf(&object)));
        EXPECT_EQ((TraceLines{{2, "CLoggerSyslogOutputConf::CLoggerSyslogOutputConf "
                                  "getBoolFromIWbemClassObject is FAILED 80041002"}}),
                  trace.Lines());
    }
}

TEST(CLoggerSyslogOutputConf, PropertyOfAnotherTypeFails) {
    IWbemClassObject object;
    Switches(true, true, true, true).ConvertToIWbemClassObject(&object);
    CIWbemUtil::setStringToIWbemClassObject(&object, "WarningAlert", "True");
    const CTraceCapture trace;
    EXPECT_EQ("0000 1", Describe(CLoggerSyslogOutputConf(&object)));
    EXPECT_EQ((TraceLines{{2, "CLoggerSyslogOutputConf::CLoggerSyslogOutputConf "
                              "getBoolFromIWbemClassObject is FAILED 80041005"}}),
              trace.Lines());
}

TEST(CLoggerSyslogOutputConf, NullObjectFailsWithoutATrace) {
    const CTraceCapture trace;
    EXPECT_EQ("0000 1", Describe(CLoggerSyslogOutputConf(static_cast<IWbemClassObject*>(nullptr))));
    EXPECT_FALSE(CLoggerSyslogOutputConf().ConvertToIWbemClassObject(nullptr));
    EXPECT_EQ(TraceLines{}, trace.Lines());
}

TEST(CLoggerSyslogOutputConf, PropertyThatCannotBeSetFailsAndKeepsThoseBefore) {
    for (std::size_t refused = 0; refused < kLoggerSyslogSwitches.size(); ++refused) {
        SCOPED_TRACE(kLoggerSyslogSwitches[refused].m_pName);
        IWbemClassObject object;
        object.DefineProperty(kLoggerSyslogSwitches[refused].m_pName, WbemType::String);
        const CTraceCapture trace;
        EXPECT_FALSE(Switches(true, true, true, true).ConvertToIWbemClassObject(&object));
        EXPECT_EQ((TraceLines{{2, "CLoggerSyslogOutputConf::ConvertToIWbemClassObject "
                                  "setBoolToIWbemClassObject is FAILED 80041005"}}),
                  trace.Lines());
        EXPECT_EQ(refused + 1, object.GetProperties().size());
    }
}

// ---- Comparison and dump ----

struct SyslogCompareRow {
    string name;
    CLoggerSyslogOutputConf left;
    CLoggerSyslogOutputConf right;
    bool expected;
    TraceLines trace;
};
std::ostream& operator<<(std::ostream& out, const SyslogCompareRow& row) {
    return out << Describe(row.left) << " and " << Describe(row.right);
}

class CompareSyslog : public testing::TestWithParam<SyslogCompareRow> {};

TEST_P(CompareSyslog, NamesTheFirstDifference) {
    const CTraceCapture trace;
    EXPECT_EQ(GetParam().expected, GetParam().left.Compare(&GetParam().right));
    EXPECT_EQ(GetParam().trace, trace.Lines());
}

INSTANTIATE_TEST_SUITE_P(
    Records, CompareSyslog,
    testing::Values(
        SyslogCompareRow{"Equal",
                         Switches(true, false, true, false),
                         Switches(true, false, true, false),
                         true,
                         {}},
        SyslogCompareRow{"OnlyTheStatusDiffers",
                         CLoggerSyslogOutputConf(),
                         WithStatus(CLoggerSyslogOutputConf(), 1),
                         true,
                         {}},
        SyslogCompareRow{
            "SyslogOutput",
            Switches(true, true, true, true),
            Switches(false, false, false, false),
            false,
            {{2, "CLoggerSyslogOutputConf::Compare SyslogOutput not same. SyslogOutput1=1 "
                 "SyslogOutput2=0"}}},
        SyslogCompareRow{"InformationAlert",
                         Switches(true, false, true, true),
                         Switches(true, true, false, false),
                         false,
                         {{2, "CLoggerSyslogOutputConf::Compare InformationAlert not same. "
                              "InformationAlert1=0 InformationAlert2=1"}}},
        SyslogCompareRow{
            "WarningAlert",
            Switches(true, true, true, true),
            Switches(true, true, false, false),
            false,
            {{2, "CLoggerSyslogOutputConf::Compare WarningAlert not same. WarningAlert1=1 "
                 "WarningAlert2=0"}}},
        SyslogCompareRow{
            "ObstacleAlert",
            Switches(true, true, true, false),
            Switches(true, true, true, true),
            false,
            {{2, "CLoggerSyslogOutputConf::Compare ObstacleAlert not same. ObstacleAlert1=0 "
                 "ObstacleAlert2=1"}}}),
    RowName<SyslogCompareRow>);

TEST(CLoggerSyslogOutputConf, DumpsItsSwitches) {
    const CTraceCapture trace;
    Switches(true, false, true, false).OutPutMemberToDebugLog();
    EXPECT_EQ((TraceLines{{4, "CLoggerSyslogOutputConf::OutPutMemberToDebugLog[START]"},
                          {1, "m_bSyslogOutput=1"},
                          {1, "m_bInformationAlert=0"},
                          {1, "m_bWarningAlert=1"},
                          {1, "m_bObstacleAlert=0"},
                          {4, "CLoggerSyslogOutputConf::OutPutMemberToDebugLog[END]"}}),
              trace.Lines());
}

TEST(CLoggerSyslogOutputConf, BeginsWithEverythingOff) {
    EXPECT_EQ("0000 0", Describe(CLoggerSyslogOutputConf()));
    CLoggerSyslogOutputConf conf = Switches(true, true, true, true);
    conf.m_iStatus = 1;
    conf.InitMember();
    EXPECT_EQ("0000 0", Describe(conf));
}

} // namespace
