#include "settings/CLoggerFsThresholdConf.h"

#include "comlib/CIWbemUtil.h"
#include "providerbase/IWbemClassObject.h"
#include "tests/support/CTraceCapture.h"
#include "tests/support/TableTest.h"

#include <sstream>

using std::string;

namespace {

// "name threshold enable status"
string Describe(const CLoggerFsThresholdConf& conf) {
    std::ostringstream text;
    text << conf.m_sVolumeName << ' ' << conf.m_iThreshold << ' ' << conf.m_bVolMonitoringEnable
         << ' ' << conf.m_iStatus;
    return text.str();
}

struct RowProperty {
    string name; // of the property
    string kind; // of the operation that reads and sets it
    WbemType other;
};
const std::vector<RowProperty> kProperties = {{"VolumeName", "String", WbemType::SInt32},
                                              {"Threshold", "Int", WbemType::String},
                                              {"VolMonitoringEnable", "Bool", WbemType::String}};

TEST(CLoggerFsThresholdConf, BeginsEmpty) {
    EXPECT_EQ(" 0 0 0", Describe(CLoggerFsThresholdConf()));
    CLoggerFsThresholdConf conf("/home", 90, true);
    conf.m_iStatus = 1;
    conf.InitMember();
    EXPECT_EQ(" 0 0 0", Describe(conf));
}

TEST(CLoggerFsThresholdConf, TakesItsValues) {
    EXPECT_EQ("/home 90 1 0", Describe(CLoggerFsThresholdConf("/home", 90, true)));
}

TEST(CLoggerFsThresholdConf, IsCopied) {
    const CLoggerFsThresholdConf conf("/home", 90, true);
    CLoggerFsThresholdConf copy("/mnt", 1, false);
    copy = conf;
    EXPECT_EQ("/home 90 1 0", Describe(copy));
    EXPECT_EQ("/home 90 1 0", Describe(conf));
}

TEST(CLoggerFsThresholdConf, SurvivesTheObject) {
    for (const CLoggerFsThresholdConf& conf :
         {CLoggerFsThresholdConf("/home", 90, true), CLoggerFsThresholdConf("", -1, false),
          CLoggerFsThresholdConf("/mnt/\xff %s \"x\"\n", 0, true)}) {
        IWbemClassObject object;
        ASSERT_TRUE(conf.ConvertToIWbemClassObject(&object));
        EXPECT_EQ(Describe(conf), Describe(CLoggerFsThresholdConf(&object)));
    }
}

TEST(CLoggerFsThresholdConf, NeedsEachPropertyOfTheObject) {
    for (const RowProperty& missing : kProperties) {
        SCOPED_TRACE(missing.name);
        IWbemClassObject object;
        CLoggerFsThresholdConf("/home", 90, true).ConvertToIWbemClassObject(&object);
        object.Put(missing.name.c_str(), {});
        const CTraceCapture trace;
        // No member keeps what was read before the failure.
        EXPECT_EQ(" 0 0 1", Describe(CLoggerFsThresholdConf(&object)));
        EXPECT_EQ((TraceLines{{2, "CLoggerFsThresholdConf::CLoggerFsThresholdConf get" +
                                      missing.kind + "FromIWbemClassObject is FAILED 80041002"}}),
                  trace.Lines());
    }
}

TEST(CLoggerFsThresholdConf, PropertiesAreReadInOrderUntilOneFails) {
    for (auto missing = kProperties.begin(); missing != kProperties.end(); ++missing) {
        SCOPED_TRACE(missing->name);
        IWbemClassObject object;
        CLoggerFsThresholdConf("/home", 90, true).ConvertToIWbemClassObject(&object);
        object.Put(missing->name.c_str(), {});
        for (auto later = std::next(missing); later != kProperties.end(); ++later) {
            object.Put(later->name.c_str(), CWbemObjectArray{}); // fails with another code
        }
        const CTraceCapture trace;
        EXPECT_EQ(" 0 0 1", Describe(CLoggerFsThresholdConf(&object)));
        EXPECT_EQ((TraceLines{{2, "CLoggerFsThresholdConf::CLoggerFsThresholdConf get" +
                                      missing->kind + "FromIWbemClassObject is FAILED 80041002"}}),
                  trace.Lines());
    }
}

TEST(CLoggerFsThresholdConf, PropertyThatCannotBeSetFails) {
    for (const RowProperty& refused : kProperties) {
        SCOPED_TRACE(refused.name);
        IWbemClassObject object;
        object.DefineProperty(refused.name, refused.other);
        const CTraceCapture trace;
        EXPECT_FALSE(CLoggerFsThresholdConf("/home", 90, true).ConvertToIWbemClassObject(&object));
        EXPECT_EQ((TraceLines{{2, "CLoggerFsThresholdConf::ConvertToIWbemClassObject set" +
                                      refused.kind + "ToIWbemClassObject is FAILED 80041005"}}),
                  trace.Lines());
    }
}

TEST(CLoggerFsThresholdConf, NullObjectFailsWithoutATrace) {
    const CTraceCapture trace;
    EXPECT_EQ(" 0 0 1", Describe(CLoggerFsThresholdConf(nullptr)));
    EXPECT_FALSE(CLoggerFsThresholdConf().ConvertToIWbemClassObject(nullptr));
    EXPECT_EQ(TraceLines{}, trace.Lines());
}

struct CompareRow {
    string name;
    CLoggerFsThresholdConf right;
    bool expected;
    TraceLines trace;
};
std::ostream& operator<<(std::ostream& out, const CompareRow& row) {
    return out << Describe(row.right);
}

class CompareRowOfList : public testing::TestWithParam<CompareRow> {};

TEST_P(CompareRowOfList, NamesTheFirstDifference) {
    const CTraceCapture trace;
    EXPECT_EQ(GetParam().expected,
              CLoggerFsThresholdConf("/home", 90, true).Compare(GetParam().right));
    EXPECT_EQ(GetParam().trace, trace.Lines());
}

CLoggerFsThresholdConf Failed(CLoggerFsThresholdConf conf) {
    conf.m_iStatus = 1;
    return conf;
}

TraceLines NameDifference(const string& other) {
    return {{2, "CLoggerFsThresholdConf::Compare VolumeName not same. VolumeName1=/home "
                "VolumeName2=" +
                    other}};
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CompareRowOfList,
    testing::Values(
        CompareRow{"Equal", {"/home", 90, true}, true, {}},
        CompareRow{"OnlyTheStatusDiffers", Failed({"/home", 90, true}), true, {}},
        CompareRow{"TrailingSlash", {"/home/", 90, true}, false, NameDifference("/home/")},
        CompareRow{"LetterCase", {"/Home", 80, false}, false, NameDifference("/Home")},
        CompareRow{"Prefix", {"/hom", 90, true}, false, NameDifference("/hom")},
        CompareRow{"FormatDirectiveInTheName", {"/%s%n", 90, true}, false, NameDifference("/%s%n")},
        CompareRow{"Threshold",
                   {"/home", 91, false},
                   false,
                   {{2, "CLoggerFsThresholdConf::Compare Threshold not same. Threshold1=90 "
                        "Threshold2=91"}}},
        CompareRow{"Enable",
                   {"/home", 90, false},
                   false,
                   {{2, "CLoggerFsThresholdConf::Compare VolMonitoringEnable not same. "
                        "VolMonitoringEnable1=1 VolMonitoringEnable2=0"}}}),
    RowName<CompareRow>);

TEST(CLoggerFsThresholdConf, DumpsItsValues) {
    const CTraceCapture trace;
    CLoggerFsThresholdConf("/%d", 90, true).OutPutMemberToDebugLog();
    EXPECT_EQ((TraceLines{{4, "CLoggerFsThresholdConf::OutPutMemberToDebugLog[START]"},
                          {1, "m_sVolumeName=/%d"},
                          {1, "m_iThreshold=90"},
                          {1, "m_bVolMonitoringEnable=1"},
                          {4, "CLoggerFsThresholdConf::OutPutMemberToDebugLog[END]"}}),
              trace.Lines());
}

} // namespace
