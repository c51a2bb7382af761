// GetClass, EnumerateClasses and EnumerateClassNames.

#include "tests/support/TableTest.h"
#include "tests/unit/wbemd/operations/Asking.h"
#include "tests/unit/wbemd/operations/Requests.h"

using namespace asking;
using namespace requests;
using std::string;

namespace {

class ClassOperations : public testing::TestWithParam<CRow> {};

TEST_P(ClassOperations, AreAnsweredSo) {
    EXPECT_EQ(GetParam().wanted, Ask(GetParam().request));
}

const string kUsage = "VELTARO_LoggerUsageMonitorConf";
const string kUnits = "Time between two samples: the number that stands in the agent's settings, "
                      "in the agent's own unit.";

string Description(const string& text) {
    return "<QUALIFIER NAME=\"Description\" TYPE=\"string\"><VALUE>" + text +
           "</VALUE></QUALIFIER>";
}

string Property(const string& name, const string& type, const string& description,
                const string& attributes = {}) {
    return "<PROPERTY NAME=\"" + name + "\" TYPE=\"" + type + "\"" + attributes + ">" +
           (description.empty() ? "" : Description(description)) + "</PROPERTY>";
}

string Class(const string& content) {
    return "<CLASS NAME=\"" + kUsage + "\">" + content + "</CLASS>";
}

const string kOfClass =
    Description("How the agent monitors the usage of one resource, the CPU or the memory.");
const string kEnable = Property("MonitoringEnable", "boolean", "The usage is monitored.");
const string kInterval = Property("SamplingInterval", "uint32", kUnits);
const string kCount =
    Property("SamplingCount", "uint32", "Number of samples, as it stands in the agent's settings.");
const string kThreshold =
    Property("Threshold", "sint32", "Usage at which an alert is raised, in percent.");
const string kWhole = Class(kOfClass + kEnable + kInterval + kCount + kThreshold);
const string kBare =
    Class(Property("MonitoringEnable", "boolean", "") + Property("SamplingInterval", "uint32", "") +
          Property("SamplingCount", "uint32", "") + Property("Threshold", "sint32", ""));
const string kOrigin = " CLASSORIGIN=\"VELTARO_LoggerUsageMonitorConf\"";
const string kBareWithOrigin = Class(Property("MonitoringEnable", "boolean", "", kOrigin) +
                                     Property("SamplingInterval", "uint32", "", kOrigin) +
                                     Property("SamplingCount", "uint32", "", kOrigin) +
                                     Property("Threshold", "sint32", "", kOrigin));

CRow Get(const string& name, const string& parameters, const string& wanted) {
    return {name, Intrinsic("GetClass", ClassName(kUsage) + parameters),
            Returned("GetClass", wanted)};
}

INSTANTIATE_TEST_SUITE_P(
    GetClass, ClassOperations,
    testing::Values(
        Get("Whole", "", kWhole), Get("Local", Flag("LocalOnly", "TRUE"), kWhole),
        Get("NotLocal", Flag("LocalOnly", "FALSE"), kWhole),
        Get("Qualifiers", Flag("IncludeQualifiers", "true"), kWhole),
        Get("NoQualifiers", Flag("IncludeQualifiers", "False"), kBare),
        Get("NoOrigin", Flag("IncludeClassOrigin", "FALSE"), kWhole),
        Get("Origin", Flag("includeCLASSorigin", "TRUE") + Flag("IncludeQualifiers", "FALSE"),
            kBareWithOrigin),
        Get("AllProperties", Parameter("PropertyList", ""), kWhole),
        Get("NoProperties", PropertyList({}), Class(kOfClass)),
        Get("TwoProperties", PropertyList({"threshold", "SamplingCOUNT"}),
            Class(kOfClass + kCount + kThreshold)),
        Get("PropertiesTwice", PropertyList({"Threshold", "Threshold"}),
            Class(kOfClass + kThreshold)),
        Get("UnknownProperties", PropertyList({"Other", "", "Thresholds"}), Class(kOfClass)),
        Get("PropertyBare", PropertyList({"Threshold"}) + Flag("IncludeQualifiers", "FALSE"),
            Class(Property("Threshold", "sint32", ""))),
        CRow{"OtherCase", Intrinsic("GETCLASS", ClassName("veltaro_loggerusagemonitorconf")),
             Returned("GETCLASS", kWhole)},
        CRow{"ElsewhereInSpelling", Intrinsic("GetClass", ClassName(kUsage), "/ROOT/cimv2/"),
             Returned("GetClass", kWhole)},
        CRow{"NamespaceInOneName",
             GetClassWith("<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"cimv2\"/>",
                          "<NAMESPACE NAME=\"root/cimv2\"/>"),
             Ask(requests::GetClass())}),
    RowName<CRow>);

// Methods stay whatever properties are asked for.
TEST(ClassOperations, LeaveTheMethods) {
    EXPECT_EQ(Ask(requests::GetClass()),
              Ask(Intrinsic("GetClass", ClassName(kClass) + PropertyList({}))));
}

TEST(ClassOperations, SayWhatIsEmbeddedByAQualifier) {
    const string embedded = "<QUALIFIER NAME=\"EmbeddedInstance\" TYPE=\"string\"><VALUE>"
                            "VELTARO_LoggerFsThresholdConf</VALUE></QUALIFIER>";
    EXPECT_EQ(
        Returned("GetClass", "<CLASS NAME=\"VELTARO_LoggerFsUsageMonitorConf\">" +
                                 Description("How the agent monitors the usage of file systems.") +
                                 "<PROPERTY.ARRAY NAME=\"FsThresholdConfList\" TYPE=\"string\">" +
                                 Description("One entry for each mounted file system.") + embedded +
                                 "</PROPERTY.ARRAY></CLASS>"),
        Ask(Intrinsic("GetClass", ClassName("VELTARO_LoggerFsUsageMonitorConf") +
                                      PropertyList({"FsThresholdConfList"}))));
}

TEST(ClassOperations, ShowStaticMethods) {
    const string answer = Ask(requests::GetClass());
    for (const string method : {"GetParameter", "SetParameter"}) {
        EXPECT_NE(string::npos,
                  answer.find("<METHOD NAME=\"" + method +
                              "\" TYPE=\"uint32\"><QUALIFIER NAME=\""
                              "Static\" TYPE=\"boolean\"><VALUE>TRUE</VALUE></QUALIFIER>"))
            << answer;
    }
    EXPECT_NE(string::npos, answer.find("is written \\xHH, with its two hexadecimal digits, and a "
                                        "backslash \\\\."));
}

string Names(const std::initializer_list<string>& names) {
    string list;
    for (const string& name : names) {
        list += "<CLASSNAME NAME=\"" + name + "\"></CLASSNAME>";
    }
    return Returned("EnumerateClassNames", list);
}

CRow Enumerated(const string& name, const string& parameters, const string& wanted,
                const string& space = "root/cimv2") {
    return {name, Intrinsic("EnumerateClassNames", parameters, space), wanted};
}

const string kAllNames = Names({"VELTARO_LoggerSyslogOutputConf", "VELTARO_LoggerUsageMonitorConf",
                                "VELTARO_LoggerFsThresholdConf", "VELTARO_LoggerFsUsageMonitorConf",
                                "VELTARO_LoggerConf", "VELTARO_ToolServiceLogger"});

INSTANTIATE_TEST_SUITE_P(
    EnumerateClassNames, ClassOperations,
    testing::Values(Enumerated("AllNames", "", kAllNames),
                    Enumerated("AllNamesDeep", Flag("DeepInheritance", "TRUE"), kAllNames),
                    Enumerated("NamesBelowNull", Parameter("ClassName", ""), kAllNames),
                    Enumerated("NamesBelowAClass", ClassName(kClass), Names({})),
                    Enumerated("NamesBelowAClassDeep",
                               ClassName(kClass) + Flag("DeepInheritance", "TRUE"), Names({})),
                    Enumerated("NamesOfInterop", "", Names({"CIM_ObjectManager", "CIM_Namespace"}),
                               "interop")),
    RowName<CRow>);

TEST(ClassOperations, EnumerateAllClasses) {
    string all;
    for (const string name : {"VELTARO_LoggerSyslogOutputConf", "VELTARO_LoggerUsageMonitorConf",
                              "VELTARO_LoggerFsThresholdConf", "VELTARO_LoggerFsUsageMonitorConf",
                              "VELTARO_LoggerConf", "VELTARO_ToolServiceLogger"}) {
        const string one = Ask(Intrinsic("GetClass", ClassName(name)));
        const std::size_t begin = one.find("<CLASS ");
        all += one.substr(begin, one.find("</IRETURNVALUE>") - begin);
    }
    EXPECT_EQ(Returned("EnumerateClasses", all), Ask(Intrinsic("EnumerateClasses", "")));
}

INSTANTIATE_TEST_SUITE_P(
    EnumerateClasses, ClassOperations,
    testing::Values(
        CRow{"ClassesBelowAClass", Intrinsic("EnumerateClasses", ClassName(kClass)),
             Returned("EnumerateClasses", "")},
        CRow{"ClassesBelowAClassDeep",
             Intrinsic("EnumerateClasses", ClassName(kClass) + Flag("DeepInheritance", "TRUE") +
                                               Flag("LocalOnly", "FALSE") +
                                               Flag("IncludeQualifiers", "TRUE") +
                                               Flag("IncludeClassOrigin", "TRUE")),
             Returned("EnumerateClasses", "")},
        CRow{"ClassesDeep", Intrinsic("EnumerateClasses", Flag("DeepInheritance", "TRUE")),
             Ask(Intrinsic("EnumerateClasses", ""))}),
    RowName<CRow>);

string NoClass(const string& operation, unsigned code, const string& name,
               const string& space = "root/cimv2") {
    return Failed(operation, code,
                  "There is no class &quot;" + name + "&quot; in the namespace " + space + ".");
}

string NoNamespace(const string& name) {
    return Failed("GetClass", 3,
                  "There is no namespace &quot;" + name +
                      "&quot; here, but root/cimv2 and interop.");
}

INSTANTIATE_TEST_SUITE_P(
    Unknown, ClassOperations,
    testing::Values(
        CRow{"UnknownClass", Intrinsic("GetClass", ClassName("VELTARO_Other")),
             NoClass("GetClass", 6, "VELTARO_Other")},
        CRow{"UnknownNonAsciiClass", Intrinsic("GetClass", ClassName("\xC3\xA9")),
             NoClass("GetClass", 6, "\\xC3\\xA9")},
        CRow{"EmptyClass", Intrinsic("GetClass", ClassName("")), NoClass("GetClass", 6, "")},
        CRow{"ClassOfInterop", Intrinsic("GetClass", ClassName("CIM_Namespace")),
             NoClass("GetClass", 6, "CIM_Namespace")},
        CRow{"ClassOfCimv2", Intrinsic("GetClass", ClassName(kClass), "interop"),
             NoClass("GetClass", 6, kClass, "interop")},
        CRow{"ClassesBelowUnknown", Intrinsic("EnumerateClasses", ClassName("X")),
             NoClass("EnumerateClasses", 5, "X")},
        CRow{"NamesBelowUnknown", Intrinsic("EnumerateClassNames", ClassName("X")),
             NoClass("EnumerateClassNames", 5, "X")},
        CRow{"UnknownNamespace", Intrinsic("GetClass", ClassName(kClass), "root/cimv3"),
             NoNamespace("root/cimv3")},
        CRow{"EmptyNamespace", Intrinsic("GetClass", ClassName(kClass), ""), NoNamespace("")},
        CRow{"SlashesAlone", Intrinsic("GetClass", ClassName(kClass), "//"), NoNamespace("")},
        CRow{"EmptyMiddle", Intrinsic("GetClass", ClassName(kClass), "root//cimv2"),
             NoNamespace("root//cimv2")},
        CRow{"PartOfANamespace", Intrinsic("GetClass", ClassName(kClass), "root"),
             NoNamespace("root")},
        CRow{"UnknownOperation", Intrinsic("DropEverything", ""),
             Failed("DropEverything", 7,
                    "The operation &quot;DropEverything&quot; is not served here.")},
        CRow{"KnownOperation", Intrinsic("ModifyInstance", Parameter("A", "")),
             Failed("ModifyInstance", 7,
                    "The operation &quot;ModifyInstance&quot; is not served here.")},
        CRow{"MethodAsOperation", Intrinsic("GetParameter", ""),
             Failed("GetParameter", 7,
                    "The operation &quot;GetParameter&quot; is not served here.")}),
    RowName<CRow>);

CRow Bad(const string& name, const string& parameters, const string& problem,
         const string& operation = "GetClass") {
    return {name, Intrinsic(operation, parameters), Failed(operation, 4, problem)};
}

const string kNoFlag = "The parameter &quot;LocalOnly&quot; must be TRUE or FALSE.";
const string kNoClassName =
    "The parameter &quot;ClassName&quot; must hold one CLASSNAME with the attribute NAME alone.";
const string kNoList = "The parameter &quot;PropertyList&quot; must hold one VALUE.ARRAY.";
const string kNoNames = "The parameter &quot;PropertyList&quot; must hold a list of VALUE "
                        "elements, each with a name.";

INSTANTIATE_TEST_SUITE_P(
    BadParameters, ClassOperations,
    testing::Values(
        Bad("ClassMissing", "", "The parameter &quot;ClassName&quot; is missing."),
        Bad("ClassNull", Parameter("ClassName", ""), kNoClassName),
        Bad("ClassTwice", ClassName(kUsage) + Parameter("CLASSNAME", ""),
            "The parameter &quot;ClassName&quot; is given twice."),
        Bad("ClassAsText", Flag("ClassName", kUsage), kNoClassName),
        Bad("ClassTwiceInOne",
            Parameter("ClassName", "<CLASSNAME NAME=\"a\"/><CLASSNAME NAME=\"b\"/>"), kNoClassName),
        Bad("ClassBesideText", Parameter("ClassName", "x<CLASSNAME NAME=\"a\"/>"), kNoClassName),
        Bad("ClassAroundText", Parameter("ClassName", "<CLASSNAME NAME=\"a\">x</CLASSNAME>"),
            kNoClassName),
        Bad("ClassAroundElement", Parameter("ClassName", "<CLASSNAME NAME=\"a\"><X/></CLASSNAME>"),
            kNoClassName),
        Bad("ClassWithoutName", Parameter("ClassName", "<CLASSNAME/>"), kNoClassName),
        Bad("ClassWithOther", Parameter("ClassName", "<CLASSNAME CLASS=\"a\"/>"), kNoClassName),
        Bad("ClassWithMore", Parameter("ClassName", "<CLASSNAME NAME=\"a\" X=\"\"/>"),
            kNoClassName),
        Bad("EnumeratedClassAsText", Flag("ClassName", kUsage), kNoClassName, "EnumerateClasses"),
        Bad("FlagOther", ClassName(kUsage) + Flag("LocalOnly", "yes"), kNoFlag),
        Bad("FlagWithBlank", ClassName(kUsage) + Flag("LocalOnly", " TRUE"), kNoFlag),
        Bad("FlagEmpty", ClassName(kUsage) + Flag("LocalOnly", ""), kNoFlag),
        Bad("FlagNull", ClassName(kUsage) + Parameter("LocalOnly", ""), kNoFlag),
        Bad("FlagAsArray",
            ClassName(kUsage) +
                Parameter("LocalOnly", "<VALUE.ARRAY><VALUE>TRUE</VALUE></VALUE.ARRAY>"),
            kNoFlag),
        Bad("FlagWithAttribute",
            ClassName(kUsage) + Parameter("LocalOnly", "<VALUE X=\"\">TRUE</VALUE>"), kNoFlag),
        Bad("FlagWithElement",
            ClassName(kUsage) + Parameter("LocalOnly", "<VALUE>TRUE<X/></VALUE>"), kNoFlag),
        Bad("FlagTwice", ClassName(kUsage) + Flag("LocalOnly", "TRUE") + Flag("localonly", "TRUE"),
            "The parameter &quot;LocalOnly&quot; is given twice."),
        Bad("ListAsText", ClassName(kUsage) + Flag("PropertyList", "a"), kNoList),
        Bad("ListAsBareText", ClassName(kUsage) + Parameter("PropertyList", "a"), kNoList),
        Bad("ListWithAttribute",
            ClassName(kUsage) + Parameter("PropertyList", "<VALUE.ARRAY X=\"\"/>"), kNoList),
        Bad("ListWithText",
            ClassName(kUsage) + Parameter("PropertyList", "<VALUE.ARRAY>a</VALUE.ARRAY>"), kNoList),
        Bad("ListWithNull",
            ClassName(kUsage) +
                Parameter("PropertyList", "<VALUE.ARRAY><VALUE.NULL/></VALUE.ARRAY>"),
            kNoNames),
        Bad("ListInAList",
            ClassName(kUsage) + Parameter("PropertyList", "<VALUE.ARRAY><VALUE><VALUE/></VALUE>"
                                                          "</VALUE.ARRAY>"),
            kNoNames),
        Bad("ListTwice", ClassName(kUsage) + PropertyList({}) + PropertyList({}),
            "The parameter &quot;PropertyList&quot; is given twice."),
        Bad("Unknown", ClassName(kUsage) + Flag("DeepInheritance", "TRUE"),
            "The operation has no parameter &quot;DeepInheritance&quot;."),
        Bad("UnknownOfNames", Flag("LocalOnly", "TRUE"),
            "The operation has no parameter &quot;LocalOnly&quot;.", "EnumerateClassNames"),
        Bad("UnknownOfClasses", PropertyList({}),
            "The operation has no parameter &quot;PropertyList&quot;.", "EnumerateClasses"),
        Bad("TheFirstCounts",
            Flag("Other", "") + ClassName(kUsage) + PropertyList({}) + Flag("LocalOnly", ""),
            kNoFlag)),
    RowName<CRow>);

} // namespace
