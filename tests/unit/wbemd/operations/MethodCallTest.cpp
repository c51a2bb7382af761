// Which calls come out of requests, and which requests are answered at once.

#include "serverbase/Frames.h"
#include "tests/support/TableTest.h"
#include "tests/unit/host/ObjectDump.h"
#include "tests/unit/wbemd/operations/Asking.h"
#include "tests/unit/wbemd/operations/Requests.h"
#include "tests/unit/wbemd/operations/SampleInstances.h"

using namespace asking;
using namespace requests;
using messages::Right;
using std::string;

namespace {

string Value(const string& text) {
    return "<VALUE>" + text + "</VALUE>";
}

const string kTyped = " PARAMTYPE=\"string\" EmbeddedObject=\"instance\"";

TEST(MethodCall, OfGetParameterHasNoParameters) {
    const wbemd::CPendingCall call = AskCall(Method("getPARAMETER"));
    EXPECT_EQ("GetParameter", call.m_method);
    EXPECT_FALSE(call.m_changes);
    EXPECT_EQ("", call.m_inParameters);
    EXPECT_EQ("1001", call.m_messageId);
    EXPECT_EQ("getPARAMETER", call.m_spelledMethod);
}

string WantedParameters() {
    IWbemClassObject parameters;
    parameters.Put("LoggerConf", samples::Settings());
    return Dump(parameters);
}

struct CGoodRow {
    string name;
    string parameter;
};
std::ostream& operator<<(std::ostream& out, const CGoodRow& row) {
    return out << row.parameter;
}

class GoodParameters : public testing::TestWithParam<CGoodRow> {};

TEST_P(GoodParameters, BecomeTheObjectOfTheCall) {
    const wbemd::CPendingCall call = AskCall(Method("SetParameter", GetParam().parameter));
    EXPECT_EQ("SetParameter", call.m_method);
    EXPECT_TRUE(call.m_changes);
    const auto parameters = messages::DecodeObject(call.m_inParameters);
    ASSERT_NE(nullptr, parameters);
    EXPECT_EQ(WantedParameters(), Dump(*parameters));
}

const string kText = samples::SettingsText();

TEST(MethodCall, MayHaveTenThousandFileSystems) {
    constexpr int kMore = 9'998; // than the sample has
    const string begin = Escape("<VALUE.ARRAY>");
    const string end = Escape("</VALUE>");
    const std::size_t first = kText.find(begin) + begin.size();
    const string entry = kText.substr(first, kText.find(end, first) + end.size() - first);
    string entries;
    for (int i = 0; i < kMore; ++i) {
        entries += entry;
    }
    const string text = string(kText).insert(first, entries);
    const CRequestText request = Method("SetParameter", InParameter(Value(Escape(text))));
    EXPECT_GT(request.m_body.size(), 5'000'000U);
    const auto parameters = messages::DecodeObject(AskCall(request).m_inParameters);
    ASSERT_NE(nullptr, parameters);
    const string dump = Dump(*parameters);
    std::size_t count = 0;
    for (std::size_t at = dump.find("VolumeName"); at != string::npos;
         at = dump.find("VolumeName", at + 1)) {
        ++count;
    }
    EXPECT_EQ(10'000U, count);
}

string Renamed(string parameter) {
    return parameter.replace(parameter.find("LoggerConf"), 10, "LOGGERconf");
}

INSTANTIATE_TEST_SUITE_P(
    Written, GoodParameters,
    testing::Values(
        CGoodRow{"Escaped", InParameter(Value(Escape(kText)))},
        CGoodRow{"InCdata", InParameter(Value("<![CDATA[" + kText + "]]>"))},
        CGoodRow{"Typed", InParameter(Value(Escape(kText)), kTyped)},
        CGoodRow{"AsAnObject", InParameter(Value(Escape(kText)), " PARAMTYPE=\"string\" "
                                                                 "EmbeddedObject=\"object\"")},
        CGoodRow{"InOldSpelling",
                 InParameter(Value(Escape(kText)), " EMBEDDEDOBJECT=\"instance\"")},
        CGoodRow{"InOtherCase", Renamed(InParameter(Value(Escape(kText))))},
        CGoodRow{"WithWhiteSpace", InParameter("\n <VALUE>\n " + Escape(kText) + "\n </VALUE>\n")},
        CGoodRow{"WithDeclarationAndComments",
                 InParameter(Value(Escape("<?xml version=\"1.0\"?>\n<!-- a -->" + kText +
                                          "<!-- b -->")))}),
    RowName<CGoodRow>);

class BadCalls : public testing::TestWithParam<CRow> {};

TEST_P(BadCalls, AreAnsweredSo) {
    EXPECT_EQ(GetParam().wanted, Ask(GetParam().request));
}

CRow Set(const string& name, const string& parameters, const string& problem) {
    return {name, Method("SetParameter", parameters), MethodFailed("SetParameter", 4, problem)};
}

string Of(const string& problem) {
    return "The parameter &quot;LoggerConf&quot; " + problem;
}

const string kElements = Of("holds XML elements where their text belongs: write the markup of the "
                            "instance as &amp;lt; and &amp;gt;, or put it into a CDATA section.");

INSTANTIATE_TEST_SUITE_P(
    Parameters, BadCalls,
    testing::Values(
        Set("Missing", "", Of("is missing.")),
        Set("Null", InParameter(""),
            Of("is NULL, but must "
               "have a value.")),
        Set("NullInBlanks", InParameter(" \n"), Of("is NULL, but must have a value.")),
        Set("Twice", InParameter(Value(Escape(kText))) + Renamed(InParameter("")),
            Of("is given twice.")),
        Set("Unknown", InParameter(Value(Escape(kText))) + "<PARAMVALUE NAME=\"Other\"/>",
            "The method SetParameter has no in-parameter &quot;Other&quot;."),
        Set("BareText", InParameter(Escape(kText)), Of("holds text outside of a VALUE.")),
        Set("TypedAsNumber", InParameter(Value(Escape(kText)), " PARAMTYPE=\"uint32\""),
            Of("must have the PARAMTYPE string, or none.")),
        Set("TwoValues", InParameter(Value("a") + Value("b")), Of("holds more than one value.")),
        Set("Array", InParameter("<VALUE.ARRAY>" + Value(Escape(kText)) + "</VALUE.ARRAY>"),
            Of("holds an array, but must be one value.")),
        Set("Instance", InParameter("<INSTANCE CLASSNAME=\"VELTARO_LoggerConf\"/>"),
            Of("must hold a VALUE with an instance as text.")),
        Set("Reference", InParameter("<VALUE.REFERENCE/>"),
            Of("must hold a VALUE with an instance as text.")),
        Set("ValueWithAttribute", InParameter("<VALUE X=\"\">a</VALUE>"),
            Of("has a VALUE with attributes, which it cannot have.")),
        Set("UnescapedMarkup", InParameter(Value(kText)), kElements),
        Set("MarkupBesideText", InParameter(Value("text<X/>")), kElements),
        Set("Empty", InParameter(Value("")),
            "VELTARO_LoggerConf in LoggerConf: the text is empty; give the text of an INSTANCE "
            "element (a client that takes values apart at commas may have lost it)."),
        Set("OtherClass", InParameter(Value("&lt;INSTANCE CLASSNAME=\"X\"/>")),
            "VELTARO_LoggerConf in LoggerConf: the instance is of the class &quot;X&quot;; give "
            "one of VELTARO_LoggerConf."),
        Set("Incomplete", InParameter(Value("&lt;INSTANCE CLASSNAME=\"VELTARO_LoggerConf\"/>")),
            "VELTARO_LoggerConf.SyslogOutputConf in LoggerConf: is missing; give every property of "
            "the class."),
        CRow{"OutParameterGivenAsInput", Method("GetParameter", InParameter("")),
             MethodFailed("GetParameter", 4,
                          "The method GetParameter has no in-parameter &quot;LoggerConf&quot;.")}),
    RowName<CRow>);

CRequestText OnInstance(const string& className) {
    CRequestText request =
        Simple("<METHODCALL NAME=\"GetParameter\"><LOCALINSTANCEPATH>" + NamespacePath() +
               "<INSTANCENAME CLASSNAME=\"" + className +
               "\"><KEYBINDING NAME=\"Name\"><KEYVALUE>a"
               "</KEYVALUE></KEYBINDING></INSTANCENAME></LOCALINSTANCEPATH></METHODCALL>");
    request.m_head.m_cimMethod = "GetParameter";
    request.m_head.m_cimObject = "root%2Fcimv2%3A" + className + ".Name%3D%22a%22";
    return request;
}

const string kNoInstance =
    MethodFailed("GetParameter", 6,
                 "There is no such instance. The methods are static: call them on the class.");

INSTANTIATE_TEST_SUITE_P(
    Targets, BadCalls,
    testing::Values(
        CRow{"OnAnInstance", OnInstance(kClass), kNoInstance},
        CRow{"OnAnInstanceOfNoClass", OnInstance("Other"), kNoInstance},
        CRow{"OnAnUnknownClass", Method("GetParameter", "", "VELTARO_Other"),
             MethodFailed("GetParameter", 5,
                          "There is no class &quot;VELTARO_Other&quot; in the namespace "
                          "root/cimv2.")},
        CRow{"OnAClassOfInterop", Method("GetParameter", "", "CIM_ObjectManager"),
             MethodFailed("GetParameter", 5,
                          "There is no class &quot;CIM_ObjectManager&quot; in the namespace "
                          "root/cimv2.")},
        CRow{"InInterop", Method("GetParameter", "", kClass, "interop"),
             MethodFailed("GetParameter", 5,
                          "There is no class &quot;VELTARO_ToolServiceLogger&quot; in the "
                          "namespace interop.")},
        CRow{"InAnUnknownNamespace", Method("GetParameter", "", kClass, "root"),
             MethodFailed("GetParameter", 3,
                          "There is no namespace &quot;root&quot; here, but root/cimv2 and "
                          "interop.")},
        CRow{"UnknownMethod", Method("Format"),
             MethodFailed("Format", 17,
                          "The class VELTARO_ToolServiceLogger has no method "
                          "&quot;Format&quot;.")},
        CRow{"OperationAsMethod", Method("GetClass"),
             MethodFailed("GetClass", 17,
                          "The class VELTARO_ToolServiceLogger has no method "
                          "&quot;GetClass&quot;.")},
        CRow{"MethodOfAClassWithoutMethods", Method("GetParameter", "", "veltaro_loggerconf"),
             MethodFailed("GetParameter", 17,
                          "The class VELTARO_LoggerConf has no method "
                          "&quot;GetParameter&quot;.")},
        CRow{"MethodOfAClassOfInterop", Method("GetParameter", "", "CIM_Namespace", "interop"),
             MethodFailed("GetParameter", 17,
                          "The class CIM_Namespace has no method &quot;GetParameter&quot;.")}),
    RowName<CRow>);

TEST(MethodCall, NeedsItsRight) {
    const CRequestText set = Method("SetParameter", InParameter(Value(Escape(kText))));
    const string mayNot = MethodFailed("SetParameter", 2,
                                       "This user may not change the settings. The administrator "
                                       "of the server says who may.");
    EXPECT_EQ(mayNot, Ask(set, Right::None));
    EXPECT_EQ(mayNot, Ask(set, Right::Read));
    EXPECT_EQ("SetParameter", AskCall(set, Right::Change).m_method);
    EXPECT_EQ(MethodFailed("GetParameter", 2,
                           "This user may not read the settings. The administrator of the server "
                           "says who may."),
              Ask(Method("GetParameter"), Right::None));
}

TEST(MethodCall, OfAnotherSpellingOfItsNamespace) {
    CRequestText request = Method("GetParameter", "", kClass, "/Root/CIMV2/");
    EXPECT_EQ("GetParameter", AskCall(request).m_method);
    request.m_head.m_cimObject = "root%2Fcimv2%3AVeltaro_ToolServiceLogger";
    EXPECT_EQ("GetParameter", AskCall(request).m_method);
}

} // namespace
