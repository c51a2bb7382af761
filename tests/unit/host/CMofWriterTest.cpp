#include "host/CMofWriter.h"

#include "tests/support/CTestRoot.h"
#include "tests/support/TableTest.h"

#include <array>
#include <cstdio>
#include <cstdlib>

using std::string;

namespace {

// ---- Qualifiers ----

struct QualifierRow {
    string name;
    CCimQualifier qualifier;
    string expected;
};
std::ostream& operator<<(std::ostream& out, const QualifierRow& row) {
    return out << row.qualifier.m_sName;
}

class MofQualifier : public testing::TestWithParam<QualifierRow> {};

TEST_P(MofQualifier, IsWritten) {
    CCimClass definition;
    definition.m_sName = "C";
    definition.m_qualifiers = {GetParam().qualifier};
    EXPECT_EQ("[" + GetParam().expected + "]\nclass C\n{\n};\n", CMofWriter::Write({definition}));
}

CCimQualifier TextQualifier(const string& value) {
    return {"Q", WbemType::String, false, {value}};
}

INSTANTIATE_TEST_SUITE_P(
    Values, MofQualifier,
    testing::Values(
        QualifierRow{"True", {"Key", WbemType::Boolean, false, {"true"}}, "Key"},
        QualifierRow{"False", {"In", WbemType::Boolean, false, {"false"}}, "In(false)"},
        QualifierRow{"Number", {"Max", WbemType::SInt32, false, {"-5"}}, "Max(-5)"},
        QualifierRow{"Texts", {"V", WbemType::String, true, {"a", "b"}}, "V{\"a\", \"b\"}"},
        QualifierRow{"Numbers", {"V", WbemType::UInt32, true, {"1", "2"}}, "V{1, 2}"},
        QualifierRow{"EmptyList", {"V", WbemType::String, true, {}}, "V{}"},
        QualifierRow{"EmptyText", TextQualifier(""), "Q(\"\")"},
        QualifierRow{"Escapes", TextQualifier("\"a\\b\"\n\r\t"), R"(Q("\"a\\b\"\n\r\t"))"},
        QualifierRow{"ExactlyOneLine", TextQualifier(string(68, 'x') + " end"),
                     "Q(\"" + string(68, 'x') + " end\")"},
        QualifierRow{"BrokenBetweenWords", TextQualifier(string(60, 'x') + " one two three four"),
                     "Q(\n    \"" + string(60, 'x') + " one two \"\n    \"three four\")"},
        QualifierRow{"LongWord", TextQualifier(string(90, 'x') + " end"),
                     "Q(\n    \"" + string(90, 'x') + " \"\n    \"end\")"},
        QualifierRow{"BlankAtTheEnd", TextQualifier(string(90, 'x') + " "),
                     "Q(\"" + string(90, 'x') + " \")"},
        QualifierRow{"OnlyALongWord", TextQualifier(string(90, 'x')),
                     "Q(\"" + string(90, 'x') + "\")"}),
    RowName<QualifierRow>);

// ---- Classes ----

TEST(MofClass, HoldsPropertiesThenMethods) {
    CCimClass definition;
    definition.m_sName = "C";
    definition.m_properties = {{"Plain", WbemType::SInt32, "", {}},
                               {"List", WbemType::ObjectArray, "D", {}}};
    CCimParameter first;
    first.m_sName = "First";
    first.m_qualifiers = {{"In", WbemType::Boolean, false, {"true"}},
                          {"Out", WbemType::Boolean, false, {"true"}}};
    CCimParameter second;
    second.m_sName = "Second";
    second.m_type = WbemType::Boolean;
    definition.m_methods = {{"M", WbemType::UInt32, {first, second}, {}},
                            {"Empty", WbemType::UInt32, {}, {}}};
    EXPECT_EQ("class C\n"
              "{\n"
              "    sint32 Plain;\n"
              "\n"
              "    string List[];\n"
              "\n"
              "    uint32 M(\n"
              "        [In,\n"
              "         Out]\n"
              "        string First,\n"
              "        boolean Second);\n"
              "\n"
              "    uint32 Empty();\n"
              "};\n",
              CMofWriter::Write({definition}));
}

// ---- The installed file ----

string OutputOf(const string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"),
                                                     [](FILE* file) { return pclose(file); });
    string output;
    std::array<char, 4096> buffer;
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe.get())) {
        output.append(buffer.data(), count);
    }
    return output;
}

// Set KZM_UPDATE_GOLDEN=1 to write the file anew after a change of the definitions.
TEST(InstalledMof, IsWhatTheProgramMakesOfTheDefinitions) {
    const string file = KZM_TEST_SCHEMA "/VELTARO_ToolServiceLogger.mof";
    const string made =
        OutputOf(KZM_TEST_MOF_FROM_XML " '" KZM_TEST_SCHEMA "/VELTARO_ToolServiceLogger.xml'");
    ASSERT_NE("", made);
    const char* update = std::getenv("KZM_UPDATE_GOLDEN");
    if (update != nullptr && string(update) == "1") {
        WriteFile(file, made);
    }
    EXPECT_EQ(ReadFile(file), made);
}

TEST(MofProgram, FailsWithoutDefinitions) {
    const string program = KZM_TEST_MOF_FROM_XML;
    EXPECT_EQ("usage: mof_from_xml DEFINITIONS.xml\n1\n", OutputOf(program + " 2>&1; echo $?"));
    EXPECT_EQ("mof_from_xml: /no/such.xml: cannot be read: No such file or directory\n1\n",
              OutputOf(program + " /no/such.xml 2>&1; echo $?"));
    EXPECT_EQ("1\n", OutputOf(program + " '" KZM_TEST_SCHEMA "/VELTARO_ToolServiceLogger.xml'"
                                        " >/dev/full 2>/dev/null; echo $?"));
}

} // namespace
