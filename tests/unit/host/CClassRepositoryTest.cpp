#include "host/CClassRepository.h"

#include "host/CCimXmlReader.h"
#include "tests/support/TableTest.h"

using std::string;

namespace {

struct Releaser {
    void operator()(IWbemClassObject* object) const { object->Release(); }
};
using ReleasedObject = std::unique_ptr<IWbemClassObject, Releaser>;

// The repository of the class definitions as they are installed.
CClassRepository& InstalledClasses() {
    static CClassRepository repository = [] {
        string error;
        auto classes =
            CCimXmlReader::ReadFile(KZM_TEST_SCHEMA "/VELTARO_ToolServiceLogger.xml", &error);
        EXPECT_TRUE(classes) << error;
        return CClassRepository(classes.value_or(std::vector<CCimClass>()));
    }();
    return repository;
}

ReleasedObject GetClass(const string& name) {
    IWbemClassObject* object = nullptr;
    EXPECT_EQ(WbemResult::kSuccess,
              InstalledClasses().GetObject(name, 0, nullptr, &object, nullptr));
    return ReleasedObject(object);
}

// As in: "VolumeName string, Threshold sint32"
string PropertiesOf(const IWbemClassObject& object) {
    static const char* const kTypeNames[] = {"null",   "boolean", "uint32",     "sint32",
                                             "string", "object",  "object list"};
    string text;
    for (const IWbemClassObject::Property& property : object.GetProperties()) {
        text += text.empty() ? "" : ", ";
        text += property.m_sName + " " + kTypeNames[static_cast<std::size_t>(property.m_type)];
        text += property.m_sEmbeddedClass.empty() ? "" : " " + property.m_sEmbeddedClass;
        text += property.m_bDefined ? "" : " undefined";
    }
    return text;
}

struct ClassRow {
    string name;
    string properties;
};
std::ostream& operator<<(std::ostream& out, const ClassRow& row) {
    return out << row.name;
}

string ClassName(const testing::TestParamInfo<ClassRow>& info) {
    return info.param.name;
}

class InstalledClass : public testing::TestWithParam<ClassRow> {};

TEST_P(InstalledClass, HasItsProperties) {
    const ReleasedObject definition = GetClass("VELTARO_" + GetParam().name);
    ASSERT_NE(nullptr, definition);
    EXPECT_EQ("VELTARO_" + GetParam().name, definition->GetClassName());
    EXPECT_EQ(GetParam().properties, PropertiesOf(*definition));
}

INSTANTIATE_TEST_SUITE_P(
    Classes, InstalledClass,
    testing::Values(
        ClassRow{"ToolServiceLogger", ""},
        ClassRow{"LoggerConf", "SyslogOutputConf object VELTARO_LoggerSyslogOutputConf, "
                               "UsageMonitorConfCpu object VELTARO_LoggerUsageMonitorConf, "
                               "UsageMonitorConfMemory object VELTARO_LoggerUsageMonitorConf, "
                               "FsUsageMonitorConf object VELTARO_LoggerFsUsageMonitorConf"},
        ClassRow{"LoggerSyslogOutputConf", "SyslogOutput boolean, InformationAlert boolean, "
                                           "WarningAlert boolean, ObstacleAlert boolean"},
        ClassRow{"LoggerUsageMonitorConf", "MonitoringEnable boolean, SamplingInterval uint32, "
                                           "SamplingCount uint32, Threshold sint32"},
        ClassRow{"LoggerFsUsageMonitorConf",
                 "MonitoringEnable boolean, SamplingInterval uint32, SamplingCount uint32, "
                 "FsThresholdConfList object list VELTARO_LoggerFsThresholdConf"},
        ClassRow{"LoggerFsThresholdConf",
                 "VolumeName string, Threshold sint32, VolMonitoringEnable boolean"}),
    ClassName);

struct MethodRow {
    string name;
    string in;
    string out;
};
std::ostream& operator<<(std::ostream& out, const MethodRow& row) {
    return out << row.name;
}

class InstalledMethod : public testing::TestWithParam<MethodRow> {};

TEST_P(InstalledMethod, HasItsParameters) {
    const ReleasedObject definition = GetClass("VELTARO_ToolServiceLogger");
    IWbemClassObject* in = nullptr;
    IWbemClassObject* out = nullptr;
    ASSERT_EQ(WbemResult::kSuccess, definition->GetMethod(GetParam().name.c_str(), 0, &in, &out));
    const ReleasedObject inOwner(in);
    const ReleasedObject outOwner(out);
    EXPECT_EQ(GetParam().in, PropertiesOf(*in));
    EXPECT_EQ(GetParam().out, PropertiesOf(*out));
}

INSTANTIATE_TEST_SUITE_P(
    Methods, InstalledMethod,
    testing::Values(
        MethodRow{"GetParameter", "", "ReturnValue uint32, LoggerConf object VELTARO_LoggerConf"},
        MethodRow{"SetParameter", "LoggerConf object VELTARO_LoggerConf", "ReturnValue uint32"}),
    RowName<MethodRow>);

TEST(ClassRepository, HandsOutACopyForEachQuestion) {
    const ReleasedObject first = GetClass("VELTARO_LoggerConf");
    first->DefineProperty("Added", WbemType::Boolean);
    const ReleasedObject second = GetClass("VELTARO_LoggerConf");
    EXPECT_EQ(nullptr, second->Get("Added"));
}

TEST(ClassRepository, LeavesTheOutPointerAloneOnFailure) {
    struct {
        string path;
        int flags;
        HRESULT expected;
    } const rows[] = {
        {"VELTARO_Unknown", 0, WbemResult::kNotFound},
        {"", 0, WbemResult::kNotFound},
        {"veltaro_loggerconf", 0, WbemResult::kNotFound},
        {"VELTARO_LoggerConf ", 0, WbemResult::kNotFound},
        {"VELTARO_LoggerConf", 1, WbemResult::kInvalidParameter},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        IWbemClassObject untouched;
        IWbemClassObject* object = &untouched;
        EXPECT_EQ(row.expected,
                  InstalledClasses().GetObject(row.path, row.flags, nullptr, &object, nullptr));
        EXPECT_EQ(&untouched, object);
    }
}

TEST(ClassRepository, RefusesANullOutPointer) {
    EXPECT_EQ(WbemResult::kInvalidParameter,
              InstalledClasses().GetObject("VELTARO_LoggerConf", 0, nullptr, nullptr, nullptr));
}

TEST(ClassRepository, KnowsWhichClassesItHolds) {
    EXPECT_TRUE(InstalledClasses().Holds("VELTARO_LoggerConf"));
    EXPECT_FALSE(InstalledClasses().Holds("VELTARO_Logger"));
}

TEST(ClassRepository, GivesParametersToBothSidesWhenTheyAreInAndOut) {
    CCimParameter parameter;
    parameter.m_sName = "Both";
    parameter.m_type = WbemType::SInt32;
    parameter.m_bOut = true;
    CCimMethod method;
    method.m_sName = "M";
    method.m_parameters.push_back(parameter);
    CCimClass definition;
    definition.m_sName = "C";
    definition.m_methods.push_back(method);
    CClassRepository repository({definition});

    IWbemClassObject* object = nullptr;
    ASSERT_EQ(WbemResult::kSuccess, repository.GetObject("C", 0, nullptr, &object, nullptr));
    const ReleasedObject owner(object);
    IWbemClassObject* in = nullptr;
    IWbemClassObject* out = nullptr;
    ASSERT_EQ(WbemResult::kSuccess, object->GetMethod("M", 0, &in, &out));
    const ReleasedObject inOwner(in);
    const ReleasedObject outOwner(out);
    EXPECT_EQ("Both sint32", PropertiesOf(*in));
    EXPECT_EQ("ReturnValue uint32, Both sint32", PropertiesOf(*out));
}

} // namespace
