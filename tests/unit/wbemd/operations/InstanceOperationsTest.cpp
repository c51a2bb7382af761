// EnumerateInstances, EnumerateInstanceNames and GetInstance.

#include "tests/support/SampleConf.h"
#include "tests/support/TableTest.h"
#include "tests/unit/wbemd/operations/Asking.h"
#include "tests/unit/wbemd/operations/Requests.h"

using namespace asking;
using namespace requests;
using std::string;
using std::vector;

namespace {

class InstanceOperations : public testing::TestWithParam<CRow> {};

TEST_P(InstanceOperations, AreAnsweredSo) {
    EXPECT_EQ(GetParam().wanted, Ask(GetParam().request));
}

using Values = vector<std::pair<string, string>>;

const Values kManagerKeys = {{"SystemCreationClassName", "CIM_ComputerSystem"},
                             {"SystemName", "testhost"},
                             {"CreationClassName", "CIM_ObjectManager"},
                             {"Name", "kzmwbemd"}};

Values NamespaceKeys(const string& name) {
    return {{"SystemCreationClassName", "CIM_ComputerSystem"},
            {"SystemName", "testhost"},
            {"ObjectManagerCreationClassName", "CIM_ObjectManager"},
            {"ObjectManagerName", "kzmwbemd"},
            {"CreationClassName", "CIM_Namespace"},
            {"Name", name}};
}

string Name(const string& className, const Values& keys) {
    string text = "<INSTANCENAME CLASSNAME=\"" + className + "\">";
    for (const auto& [key, value] : keys) {
        text += "<KEYBINDING NAME=\"" + key + "\"><KEYVALUE VALUETYPE=\"string\">" + value +
                "</KEYVALUE></KEYBINDING>";
    }
    return text + "</INSTANCENAME>";
}

string InstanceProperty(const string& name, const string& type, const string& value,
                        const string& origin = {}) {
    return "<PROPERTY NAME=\"" + name + "\" TYPE=\"" + type + "\"" +
           (origin.empty() ? "" : " CLASSORIGIN=\"" + origin + "\"") + "><VALUE>" + value +
           "</VALUE></PROPERTY>";
}

string Properties(const Values& values, const string& origin = {}) {
    string text;
    for (const auto& [name, value] : values) {
        text += InstanceProperty(name, "string", value, origin);
    }
    return text;
}

string Instance(const string& className, const string& properties) {
    return "<INSTANCE CLASSNAME=\"" + className + "\">" + properties + "</INSTANCE>";
}

string Manager(const string& origin = {}) {
    return Instance("CIM_ObjectManager",
                    Properties(kManagerKeys, origin) +
                        Properties({{"ElementName", "KZM management server"},
                                    {"Description", "Serves the settings of the log-monitoring "
                                                    "agent of this system."},
                                    {"Version", KZM_VERSION}},
                                   origin));
}

string Namespace(const string& name, const string& origin = {}) {
    return Instance("CIM_Namespace", Properties(NamespaceKeys(name), origin) +
                                         InstanceProperty("ClassInfo", "uint32", "1", origin));
}

string Named(const string& name, const string& instance) {
    return "<VALUE.NAMEDINSTANCE>" + name + instance + "</VALUE.NAMEDINSTANCE>";
}

const string kBoth =
    Named(Name("CIM_Namespace", NamespaceKeys("root/cimv2")), Namespace("root/cimv2")) +
    Named(Name("CIM_Namespace", NamespaceKeys("interop")), Namespace("interop"));

CRow Enumerate(const string& name, const string& parameters, const string& wanted,
               const string& space = "interop") {
    return {name, Intrinsic("EnumerateInstances", parameters, space),
            Returned("EnumerateInstances", wanted)};
}

INSTANTIATE_TEST_SUITE_P(
    EnumerateInstances, InstanceOperations,
    testing::Values(
        Enumerate("Namespaces", ClassName("CIM_Namespace"), kBoth),
        Enumerate("NamespacesWithFlags",
                  ClassName("cim_namespace") + Flag("DeepInheritance", "FALSE") +
                      Flag("LocalOnly", "FALSE") + Flag("IncludeQualifiers", "TRUE"),
                  kBoth),
        Enumerate(
            "NamespacesInPart",
            ClassName("CIM_Namespace") + PropertyList({"classINFO", "Name", "Other"}),
            Named(Name("CIM_Namespace", NamespaceKeys("root/cimv2")),
                  Instance("CIM_Namespace", InstanceProperty("Name", "string", "root/cimv2") +
                                                InstanceProperty("ClassInfo", "uint32", "1"))) +
                Named(Name("CIM_Namespace", NamespaceKeys("interop")),
                      Instance("CIM_Namespace", InstanceProperty("Name", "string", "interop") +
                                                    InstanceProperty("ClassInfo", "uint32", "1")))),
        Enumerate("Manager", ClassName("CIM_ObjectManager"),
                  Named(Name("CIM_ObjectManager", kManagerKeys), Manager())),
        Enumerate("ManagerWithOrigin",
                  ClassName("CIM_ObjectManager") + Flag("IncludeClassOrigin", "TRUE"),
                  Named(Name("CIM_ObjectManager", kManagerKeys), Manager("CIM_ObjectManager"))),
        Enumerate("OurClass", ClassName(kClass), "", "root/cimv2"),
        Enumerate("OurRecord", ClassName("VELTARO_LoggerConf"), "", "root/cimv2")),
    RowName<CRow>);

CRow EnumerateNames(const string& name, const string& className, const string& space,
                    const string& wanted) {
    return {name, Intrinsic("EnumerateInstanceNames", ClassName(className), space),
            Returned("EnumerateInstanceNames", wanted)};
}

INSTANTIATE_TEST_SUITE_P(
    EnumerateInstanceNames, InstanceOperations,
    testing::Values(EnumerateNames("NamesOfNamespaces", "CIM_Namespace", "/Interop",
                                   Name("CIM_Namespace", NamespaceKeys("root/cimv2")) +
                                       Name("CIM_Namespace", NamespaceKeys("interop"))),
                    EnumerateNames("NameOfManager", "CIM_ObjectManager", "interop",
                                   Name("CIM_ObjectManager", kManagerKeys)),
                    EnumerateNames("NamesOfOurClass", kClass, "root/cimv2", "")),
    RowName<CRow>);

CRow GetInstance(const string& name, const string& instanceName, const string& wanted,
                 const string& parameters = {}) {
    return {
        name,
        Intrinsic("GetInstance", Parameter("InstanceName", instanceName) + parameters, "interop"),
        wanted};
}

string Got(const string& instance) {
    return Returned("GetInstance", instance);
}

Values Reversed(Values values) {
    std::reverse(values.begin(), values.end());
    return values;
}

Values With(Values values, const string& name, const string& value) {
    values.emplace_back(name, value);
    return values;
}

Values Without(Values values) {
    values.pop_back();
    return values;
}

const string kManagerName = Name("CIM_ObjectManager", kManagerKeys);

INSTANTIATE_TEST_SUITE_P(
    GetInstance, InstanceOperations,
    testing::Values(
        GetInstance("GetManager", kManagerName, Got(Manager())),
        GetInstance("GetManagerInPart", kManagerName,
                    Got(Instance("CIM_ObjectManager",
                                 InstanceProperty("Version", "string", KZM_VERSION))),
                    PropertyList({"version"})),
        GetInstance("GetManagerWithOrigin", kManagerName, Got(Manager("CIM_ObjectManager")),
                    Flag("IncludeClassOrigin", "TRUE") + Flag("LocalOnly", "FALSE") +
                        Flag("IncludeQualifiers", "FALSE")),
        GetInstance("GetNamespace", Name("CIM_Namespace", NamespaceKeys("interop")),
                    Got(Namespace("interop"))),
        GetInstance("KeysInAnyOrder", Name("CIM_ObjectManager", Reversed(kManagerKeys)),
                    Got(Manager())),
        GetInstance("KeysInOtherCase",
                    Replace(Replace(kManagerName, "NAME=\"SystemName\"", "NAME=\"SYSTEMNAME\""),
                            "\"CIM_ObjectManager\"", "\"cim_objectmanager\""),
                    Got(Manager())),
        GetInstance("KeyTyped",
                    Replace(kManagerName, "VALUETYPE=\"string\"",
                            "VALUETYPE=\"string\" TYPE=\"string\""),
                    Got(Manager())),
        GetInstance("KeyUntyped", Replace(kManagerName, " VALUETYPE=\"string\"", ""),
                    Got(Manager()))),
    RowName<CRow>);

string Keys(const string& keys) {
    return "<INSTANCENAME CLASSNAME=\"CIM_ObjectManager\">" + keys + "</INSTANCENAME>";
}

const string kNone =
    Failed("GetInstance", 6, "There is no such instance in the namespace interop.");

INSTANTIATE_TEST_SUITE_P(
    NoInstance, InstanceOperations,
    testing::Values(
        GetInstance("OtherValue", Name("CIM_Namespace", NamespaceKeys("other")), kNone),
        GetInstance("ValueInOtherCase", Name("CIM_Namespace", NamespaceKeys("INTEROP")), kNone),
        GetInstance("KeyMissing", Name("CIM_ObjectManager", Without(kManagerKeys)), kNone),
        GetInstance("KeyTooMany", Name("CIM_ObjectManager", With(kManagerKeys, "Version", "1")),
                    kNone),
        GetInstance("KeyTwice",
                    Name("CIM_ObjectManager",
                         With(Without(kManagerKeys), "SystemName", "testhost")),
                    kNone),
        GetInstance("KeyUnknown",
                    Name("CIM_ObjectManager", With(Without(kManagerKeys), "N", "kzmwbemd")), kNone),
        GetInstance("KeyAsNumber", Replace(kManagerName, "\"string\"", "\"numeric\""), kNone),
        GetInstance("KeyAsReference",
                    Keys("<KEYBINDING NAME=\"Name\"><VALUE.REFERENCE/></KEYBINDING>"), kNone),
        GetInstance("NoKeys", Name("CIM_ObjectManager", {}), kNone),
        GetInstance(
            "ValueAlone",
            "<INSTANCENAME CLASSNAME=\"CIM_ObjectManager\"><KEYVALUE>x</KEYVALUE></INSTANCENAME>",
            kNone),
        GetInstance(
            "ReferenceAlone",
            "<INSTANCENAME CLASSNAME=\"CIM_ObjectManager\"><VALUE.REFERENCE/></INSTANCENAME>",
            kNone),
        GetInstance("ClassUnknown", Name("CIM_Other", {}), kNone, Flag("Other", "")),
        GetInstance("ClassOfOtherInstance", Name("CIM_Namespace", kManagerKeys), kNone),
        CRow{"InstanceOfOurClass",
             Intrinsic("GetInstance", Parameter("InstanceName", Name(kClass, {}))),
             Failed("GetInstance", 6, "There is no such instance in the namespace root/cimv2.")},
        CRow{"EnumeratedClassUnknown", Intrinsic("EnumerateInstances", ClassName("CIM_Namespace")),
             Failed("EnumerateInstances", 5,
                    "There is no class &quot;CIM_Namespace&quot; in the namespace root/cimv2.")},
        CRow{"NamedClassUnknown", Intrinsic("EnumerateInstanceNames", ClassName(kClass), "interop"),
             Failed("EnumerateInstanceNames", 5,
                    "There is no class &quot;VELTARO_ToolServiceLogger&quot; in the namespace "
                    "interop.")}),
    RowName<CRow>);

CRow BadName(const string& name, const string& content, const string& problem) {
    return GetInstance(name, content, Failed("GetInstance", 4, problem));
}

const string kHolds = "The parameter &quot;InstanceName&quot; holds no instance name: line 2: ";
const string kMustHold = "The parameter &quot;InstanceName&quot; must hold one INSTANCENAME.";

INSTANTIATE_TEST_SUITE_P(
    BadParameters, InstanceOperations,
    testing::Values(
        CRow{"NameMissing", Intrinsic("GetInstance", "", "interop"),
             Failed("GetInstance", 4, "The parameter &quot;InstanceName&quot; is missing.")},
        BadName("NameNull", "", kMustHold), BadName("NameAsText", "<VALUE>x</VALUE>", kMustHold),
        BadName("NameWithoutClass", "<INSTANCENAME/>",
                kHolds + "INSTANCENAME has no attribute CLASSNAME."),
        BadName("NameWithMore", "<INSTANCENAME CLASSNAME=\"x\" Y=\"\"/>",
                kHolds + "INSTANCENAME has an attribute Y that is not understood."),
        BadName("NameWithText", Keys("x"),
                kHolds + "INSTANCENAME holds text where only elements are expected."),
        BadName("NameWithOther", Keys("<VALUE/>"),
                kHolds + "VALUE is not understood inside INSTANCENAME."),
        BadName("KeyWithoutName", Keys("<KEYBINDING><KEYVALUE/></KEYBINDING>"),
                kHolds + "KEYBINDING has no attribute NAME."),
        BadName("KeyWithMore", Keys("<KEYBINDING NAME=\"a\" X=\"\"><KEYVALUE/></KEYBINDING>"),
                kHolds + "KEYBINDING &quot;a&quot; has an attribute X that is not understood."),
        BadName("KeyWithoutValue", Keys("<KEYBINDING NAME=\"a\"/>"),
                kHolds + "KEYBINDING &quot;a&quot; must hold one value."),
        BadName("KeyWithTwoValues",
                Keys("<KEYBINDING NAME=\"a\"><KEYVALUE/><KEYVALUE/></KEYBINDING>"),
                kHolds + "KEYBINDING &quot;a&quot; must hold one value."),
        BadName("KeyWithOther", Keys("<KEYBINDING NAME=\"a\"><VALUE/></KEYBINDING>"),
                kHolds + "VALUE is not understood inside KEYBINDING."),
        BadName("ValueWithMore", Keys("<KEYVALUE X=\"\"/>"),
                kHolds + "KEYVALUE has an attribute X that is not understood."),
        BadName("ValueWithElement", Keys("<KEYVALUE><X/></KEYVALUE>"),
                kHolds + "X is not understood inside KEYVALUE."),
        BadName("ValueBesideKey",
                Keys("<KEYVALUE/><KEYBINDING NAME=\"a\"><KEYVALUE/></KEYBINDING>"),
                kHolds + "INSTANCENAME holds more than one key, of which one has no name."),
        GetInstance("FlagWrong", kManagerName,
                    Failed("GetInstance", 4,
                           "The parameter &quot;LocalOnly&quot; must be TRUE or FALSE."),
                    Flag("LocalOnly", "")),
        GetInstance("ParameterUnknown", kManagerName,
                    Failed("GetInstance", 4,
                           "The operation has no parameter &quot;DeepInheritance&quot;."),
                    Flag("DeepInheritance", "TRUE")),
        CRow{"UnknownOfInstances",
             Intrinsic("EnumerateInstances", ClassName("CIM_Namespace") + Flag("Other", ""),
                       "interop"),
             Failed("EnumerateInstances", 4, "The operation has no parameter &quot;Other&quot;.")},
        CRow{"UnknownOfInstanceNames",
             Intrinsic("EnumerateInstanceNames",
                       ClassName("CIM_Namespace") + Flag("LocalOnly", "TRUE"), "interop"),
             Failed("EnumerateInstanceNames", 4,
                    "The operation has no parameter &quot;LocalOnly&quot;.")},
        CRow{"ClassMissing", Intrinsic("EnumerateInstances", "", "interop"),
             Failed("EnumerateInstances", 4, "The parameter &quot;ClassName&quot; is missing.")}),
    RowName<CRow>);

} // namespace
