#include "host/CProviderHost.h"

#include "comlib/CIWbemUtil.h"
#include "comlib/ShowMessage.h"
#include "tests/support/CTempFile.h"
#include "tests/support/TableTest.h"

#include <dlfcn.h>
#include <malloc.h>

#include <filesystem>

using std::string;

namespace {

const string kDefinitions = KZM_TEST_SCHEMA "/VELTARO_ToolServiceLogger.xml";

string Library(const string& name) {
    return KZM_TEST_PROVIDERS "/provider_" + name + ".so";
}

bool IsLoaded(const string& library) {
    void* handle = dlopen(library.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr) {
        return false;
    }
    dlclose(handle);
    return true;
}

std::unique_ptr<CProviderHost> OpenGoodHost() {
    string error;
    auto host = CProviderHost::Open(Library("good"), kDefinitions, &error);
    EXPECT_NE(nullptr, host) << error;
    return host;
}

// ---- Opening ----

struct OpenRow {
    string name;
    string library;
    string definitions;
    string error; // of which {L} is the library, {D} the file of definitions
};
std::ostream& operator<<(std::ostream& out, const OpenRow& row) {
    return out << row.library << " with " << row.definitions;
}

string Fill(string text, const string& placeholder, const string& value) {
    for (std::size_t at = text.find(placeholder); at != string::npos;
         at = text.find(placeholder, at + value.size())) {
        text.replace(at, placeholder.size(), value);
    }
    return text;
}

class OpenFails : public testing::TestWithParam<OpenRow> {};

TEST_P(OpenFails, WithOneLineThatNamesTheFile) {
    const OpenRow& row = GetParam();
    string error;
    EXPECT_EQ(nullptr, CProviderHost::Open(row.library, row.definitions, &error));
    EXPECT_EQ(Fill(Fill(row.error, "{L}", row.library), "{D}", row.definitions), error);
    const bool isPath = row.library.find('/') != string::npos;
    EXPECT_FALSE(isPath && IsLoaded(row.library));
}

const char kCannotLoad[] = "; install the provider library or name another file";
const char kNoFit[] = "; install a provider library that fits this host";

INSTANTIATE_TEST_SUITE_P(
    Library, OpenFails,
    testing::Values(
        OpenRow{"Missing", "/no/such.so", kDefinitions,
                string("{L}: cannot be loaded ({L}: cannot open shared object file: No such file "
                       "or directory)") +
                    kCannotLoad},
        OpenRow{"NoSharedObject", kDefinitions, kDefinitions,
                string("{L}: cannot be loaded ({L}: invalid ELF header)") + kCannotLoad},
        OpenRow{"EmptyName", "", kDefinitions,
                string("{L}: cannot be loaded (./: cannot read file data: Is a directory)") +
                    kCannotLoad},
        OpenRow{"NotSearchedForInTheSystem", "libexpat.so.1", kDefinitions,
                string("{L}: cannot be loaded (./{L}: cannot open shared object file: No such "
                       "file or directory)") +
                    kCannotLoad},
        // Before any call, not in the middle of one.
        OpenRow{"LacksAFunction", Library("lacks_function"), kDefinitions,
                string("{L}: cannot be loaded ({L}: undefined symbol: NobodyHasThis)") +
                    kCannotLoad},
        OpenRow{"NoCreate", Library("without_create"), kDefinitions,
                string("{L}: is not a provider library: it exports no function create") + kNoFit},
        OpenRow{"CreateGivesNull", Library("create_gives_null"), kDefinitions,
                string("{L}: its function create returned no provider object") + kNoFit},
        OpenRow{"CreateThrows", Library("create_throws"), kDefinitions,
                string("{L}: its function create threw an exception: the provider's own text") +
                    kNoFit},
        OpenRow{"CreateThrowsInt", Library("create_throws_int"), kDefinitions,
                string("{L}: its function create threw an exception of an unknown type") + kNoFit}),
    RowName<OpenRow>);

INSTANTIATE_TEST_SUITE_P(
    Definitions, OpenFails,
    testing::Values(
        OpenRow{"MissingDefinitions", Library("good"), "/no/such.xml",
                "{D}: cannot be read: No such file or directory; install the class definitions or "
                "name another file"},
        OpenRow{"DefinitionsAreAFolder", Library("good"), "/",
                "{D}: cannot be read: it is not a regular file; install the class definitions or "
                "name another file"}),
    RowName<OpenRow>);

TEST(OpenFailsFor, DefinitionsThatAreNotGood) {
    struct {
        string text;
        string error;
    } const rows[] = {
        {"", "line 1, column 1: no element found"},
        {"<CIM>\n<DECL", "line 2, column 1: unclosed token"},
        {"<!DOCTYPE CIM><CIM/>", "line 1, column 14: a document type declaration is not allowed"},
        {"<CIM><CLASS NAME='a&#10;b'/></CIM>",
         "line 1: CLASS \"a\\x0Ab\" is not understood inside CIM"},
        {"<CIM/>", "does not define the class VELTARO_ToolServiceLogger"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const CTempFile definitions(row.text);
        string error;
        EXPECT_EQ(nullptr, CProviderHost::Open(Library("good"), definitions.Path(), &error));
        EXPECT_EQ(definitions.Path() + ": " + row.error +
                      "; install the class definitions or name another file",
                  error);
    }
}

TEST(Open, TakesANameWithoutASlashFromTheCurrentFolder) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(KZM_TEST_PROVIDERS);
    string error;
    EXPECT_NE(nullptr, CProviderHost::Open("provider_good.so", kDefinitions, &error)) << error;
    std::filesystem::current_path(before);
}

// ---- The end of a host ----

bool wasLoadedWhenDestroyed = false;
string classWhenDestroyed;

TEST(Close, DestroysTheProviderThenItsClassesAndUnloadsItsLibrary) {
    wasLoadedWhenDestroyed = false;
    classWhenDestroyed.clear();
    {
        const auto host = OpenGoodHost();
        SetShowMessageHook([](const char* text, const char* caption) {
            if (string(caption) == "TestProvider") {
                wasLoadedWhenDestroyed = IsLoaded(Library("good"));
                classWhenDestroyed = text;
            }
        });
        EXPECT_TRUE(IsLoaded(Library("good")));
        EXPECT_EQ(nullptr, dlsym(RTLD_DEFAULT, "create")); // it is no other library's
        mallopt(M_PERTURB, 0x55);                          // what is freed is not as before
    }
    mallopt(M_PERTURB, 0);
    SetShowMessageHook(nullptr);
    EXPECT_TRUE(wasLoadedWhenDestroyed);
    EXPECT_EQ("VELTARO_ToolServiceLogger", classWhenDestroyed);
    EXPECT_FALSE(IsLoaded(Library("good")));
}

// ---- Calls ----

TEST(Call, HandsOverItsArgumentsAndReturnsACopyOfTheOutput) {
    CCallOutcome outcome;
    {
        const auto host = OpenGoodHost();
        ASSERT_NE(nullptr, host);
        IWbemClassObject in;
        CIWbemUtil::setIntToIWbemClassObject(&in, "Number", -3);
        outcome = host->Call("VELTARO_Any", "GetParameter", &in);
    } // the output outlives the library

    EXPECT_EQ("", outcome.m_sError);
    EXPECT_EQ(WbemResult::kSuccess, outcome.m_status);
    EXPECT_EQ(176U, outcome.m_uiMethodResult);
    IWbemClassObject* output = outcome.m_output.get();
    string text;
    EXPECT_EQ(0, CIWbemUtil::getStringFromIWbemClassObject(output, "ClassName", &text));
    EXPECT_EQ("VELTARO_Any", text);
    EXPECT_EQ(0, CIWbemUtil::getStringFromIWbemClassObject(output, "MethodName", &text));
    EXPECT_EQ("GetParameter", text);
    int number = 1;
    EXPECT_EQ(0, CIWbemUtil::getIntFromIWbemClassObject(output, "Flags", &number));
    EXPECT_EQ(0, number);
    bool hasContext = false;
    EXPECT_EQ(0, CIWbemUtil::getBoolFromIWbemClassObject(output, "HasContext", &hasContext));
    EXPECT_TRUE(hasContext);
    IWbemClassObject* in = nullptr;
    ASSERT_EQ(0, CIWbemUtil::getParameterClassFromIWbemClassObject(output, "In", &in));
    EXPECT_EQ(0, CIWbemUtil::getIntFromIWbemClassObject(in, "Number", &number));
    EXPECT_EQ(-3, number);
}

TEST(Call, GivesTheProviderItsClassDefinition) {
    const auto host = OpenGoodHost();
    ASSERT_NE(nullptr, host);
    const CCallOutcome outcome = host->Call("VELTARO_ToolServiceLogger", "GetParameter", nullptr);
    IWbemClassObject* definition = nullptr;
    ASSERT_EQ(0, CIWbemUtil::getParameterClassFromIWbemClassObject(outcome.m_output.get(), "Class",
                                                                   &definition));
    EXPECT_EQ("VELTARO_ToolServiceLogger", definition->GetClassName());
}

TEST(Call, NeedsNoInParametersAndCanBeRepeated) {
    const auto host = OpenGoodHost();
    ASSERT_NE(nullptr, host);
    for (int i = 0; i < 3; ++i) {
        const CCallOutcome outcome = host->Call("C", "GetParameter", nullptr);
        EXPECT_EQ("", outcome.m_sError);
        EXPECT_EQ(176U, outcome.m_uiMethodResult);
        EXPECT_EQ(nullptr, std::get_if<CWbemObjectPtr>(outcome.m_output->Get("In")));
    }
}

TEST(Call, PassesAFailingStatusThrough) {
    const auto host = OpenGoodHost();
    ASSERT_NE(nullptr, host);
    const CCallOutcome outcome = host->Call("C", "NoSuchMethod", nullptr);
    EXPECT_EQ("", outcome.m_sError);
    EXPECT_EQ(WbemResult::kNotSupported, outcome.m_status);
    EXPECT_EQ(nullptr, outcome.m_output);
}

struct CallRow {
    string name;
    string library;
    string error;
    HRESULT status;
    bool hasOutput;
};
std::ostream& operator<<(std::ostream& out, const CallRow& row) {
    return out << row.library;
}

class MisbehavingProvider : public testing::TestWithParam<CallRow> {};

TEST_P(MisbehavingProvider, IsReportedWithWhatArrived) {
    const CallRow& row = GetParam();
    string error;
    const auto host = CProviderHost::Open(Library(row.library), kDefinitions, &error);
    ASSERT_NE(nullptr, host) << error;
    const CCallOutcome outcome = host->Call("C", "GetParameter", nullptr);
    EXPECT_EQ("The provider broke the rules of a method call: " + row.error, outcome.m_sError);
    EXPECT_EQ(row.status, outcome.m_status);
    EXPECT_EQ(row.hasOutput, outcome.m_output != nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Providers, MisbehavingProvider,
    testing::Values(
        CallRow{"NoStatus", "sets_no_status", "it returned without calling SetStatus.",
                WbemResult::kFailed, true},
        CallRow{"StatusTwice", "sets_status_twice", "it called SetStatus more than once.",
                WbemResult::kSuccess, true},
        CallRow{"NoObject", "indicates_nothing",
                "it reported success without delivering an output object.", WbemResult::kSuccess,
                false},
        CallRow{"Throws", "throws",
                "it threw an exception out of ExecMethodAsync (the provider's own text).",
                WbemResult::kFailed, false},
        CallRow{"ThrowsBehindItsAnswer", "throws_behind_its_answer",
                "it threw an exception out of ExecMethodAsync (the provider's own text).",
                WbemResult::kSuccess, true},
        CallRow{"ThrowsInt", "throws_int",
                "it threw an exception out of ExecMethodAsync (of an unknown type).",
                WbemResult::kFailed, false}),
    RowName<CallRow>);

} // namespace
