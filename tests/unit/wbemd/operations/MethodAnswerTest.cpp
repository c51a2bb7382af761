// How the end of a call is told.

#include "serverbase/Frames.h"
#include "tests/support/TableTest.h"
#include "tests/unit/wbemd/operations/Asking.h"
#include "tests/unit/wbemd/operations/Requests.h"
#include "tests/unit/wbemd/operations/SampleInstances.h"

#include "host/CCimXmlReader.h"
#include "host/InstanceText.h"

using namespace asking;
using messages::CallResult;
using messages::CCallAnswer;
using std::string;

namespace {

const wbemd::CPendingCall kGetCall = {"GetParameter", "", "1001", "getparameter", {}, false};
const wbemd::CPendingCall kSetCall = {"SetParameter", "x", "1001", "SetParameter", {}};

CCallAnswer Done(std::uint32_t value, const IWbemClassObject& output) {
    return {CallResult::Done, value, messages::EncodeObject(output)};
}

IWbemClassObject Output(std::uint32_t value) {
    IWbemClassObject output;
    output.Put("ReturnValue", value);
    return output;
}

string ReturnValue(const string& value) {
    return "<RETURNVALUE PARAMTYPE=\"uint32\"><VALUE>" + value + "</VALUE></RETURNVALUE>";
}

TEST(MethodAnswer, HasTheReturnValueAlone) {
    EXPECT_EQ(MethodReturned("SetParameter", ReturnValue("0")),
              Finish(kSetCall, Done(0, Output(0))));
    EXPECT_EQ(MethodReturned("SetParameter", ReturnValue("176")),
              Finish(kSetCall, Done(176, Output(176))));
    EXPECT_EQ(MethodReturned("getparameter", ReturnValue("2147483649")),
              Finish(kGetCall, Done(2147483649, Output(2147483649))));
    EXPECT_EQ(MethodReturned("getparameter", ReturnValue("2147483650")),
              Finish(kGetCall, {CallResult::Done, 2147483650, ""}));
}

string InstanceText(const IWbemClassObject& object) {
    string error;
    const auto classes =
        CCimXmlReader::ReadFile(SCHEMA_FOLDER "/VELTARO_ToolServiceLogger.xml", &error);
    return cim::InstanceText(object, "VELTARO_LoggerConf", *classes, &error).value_or(error);
}

TEST(MethodAnswer, HasTheOutParametersBehindIt) {
    IWbemClassObject output;
    output.Put("LoggerConf", samples::Settings());
    output.Put("ReturnValue", std::uint32_t{0});
    output.Put("Other", string("left out"));
    EXPECT_EQ(
        MethodReturned("getparameter", ReturnValue("0") +
                                           "<PARAMVALUE NAME=\"LoggerConf\" PARAMTYPE=\"string\" "
                                           "EmbeddedObject=\"instance\"><VALUE>" +
                                           requests::Escape(InstanceText(*samples::Settings())) +
                                           "</VALUE></PARAMVALUE>"),
        Finish(kGetCall, Done(0, output)));
}

// What was written before is taken again only for the same answer, and what the request is told
// apart by is its own each time.
TEST(MethodAnswer, IsTheSameHoweverOftenItWasGiven) {
    IWbemClassObject output;
    output.Put("LoggerConf", samples::Settings());
    const CCallAnswer settings = Done(0, output);
    const string first = Finish(kGetCall, settings);
    EXPECT_EQ(first, Finish(kGetCall, settings));
    const wbemd::CPendingCall other = {"GetParameter", "", "&<\"'", "GETPARAMETER", {}};
    const string renamed = "<MESSAGE ID=\"&amp;&lt;&quot;'\" PROTOCOLVERSION=\"1.0\"><SIMPLERSP>"
                           "<METHODRESPONSE NAME=\"GETPARAMETER\">";
    const std::size_t begin = first.find("<MESSAGE");
    const std::size_t end = first.find("<RETURNVALUE");
    string wanted = first;
    wanted.replace(begin, end - begin, renamed);
    EXPECT_EQ(wanted, Finish(other, settings));
    EXPECT_EQ(MethodReturned("getparameter", ReturnValue("7")),
              Finish(kGetCall, Done(7, Output(7))));
    EXPECT_EQ(first, Finish(kGetCall, settings));
    EXPECT_EQ(MethodReturned("SetParameter", ReturnValue("0")), Finish(kSetCall, settings));
}

TEST(MethodAnswer, LeavesOutWhatIsNotSet) {
    IWbemClassObject output = Output(0);
    output.Put("LoggerConf", std::monostate());
    EXPECT_EQ(MethodReturned("getparameter", ReturnValue("0")), Finish(kGetCall, Done(0, output)));
    output.Put("LoggerConf", samples::Settings());
    EXPECT_EQ(MethodReturned("SetParameter", ReturnValue("0")), Finish(kSetCall, Done(0, output)))
        << "an in-parameter is not given back";
}

TEST(MethodAnswer, TellsOfAnObjectThatDoesNotFit) {
    const string wanted = MethodFailed("getparameter", 1,
                                       "What the provider answered does not fit the class. The "
                                       "method has ended; its return value was 7.");
    EXPECT_EQ(wanted, Finish(kGetCall, {CallResult::Done, 7, "no object"}));
    IWbemClassObject output;
    output.Put("LoggerConf", string("text"));
    EXPECT_EQ(wanted, Finish(kGetCall, Done(7, output)));
    output.Put("LoggerConf", std::make_unique<IWbemClassObject>("Other"));
    EXPECT_EQ(wanted, Finish(kGetCall, Done(7, output)));
}

struct CEndRow {
    string name;
    CallResult result;
    unsigned code;
    string text;
};
std::ostream& operator<<(std::ostream& out, const CEndRow& row) {
    return out << static_cast<unsigned>(row.result);
}

class Ends : public testing::TestWithParam<CEndRow> {};

TEST_P(Ends, AreErrors) {
    CCallAnswer answer;
    answer.m_result = GetParam().result;
    EXPECT_EQ(MethodFailed("SetParameter", GetParam().code, GetParam().text),
              Finish(kSetCall, answer));
}

INSTANTIATE_TEST_SUITE_P(
    Calls, Ends,
    testing::Values(
        CEndRow{"NotAllowed", CallResult::NotAllowed, 2,
                "This user may not change the settings. The administrator of the server says who "
                "may."},
        CEndRow{"NoMethod", CallResult::NoMethod, 17, "The provider has no such method."},
        CEndRow{"NotAvailable", CallResult::NotAvailable, 16,
                "The provider cannot be used. The log of the server says why."},
        CEndRow{"QueueFull", CallResult::QueueFull, 1,
                "Too many calls wait for the provider. Try again later."},
        CEndRow{"ShuttingDown", CallResult::ShuttingDown, 1,
                "The server is shutting down. Try again later."},
        CEndRow{"NotKept", CallResult::NotKept, 1,
                "Nothing was changed, because the present settings could not be kept in the "
                "history. The log of the server says why."},
        CEndRow{"TimedOut", CallResult::TimedOut, 1,
                "The method took too long and was given up. A change may be half done: read the "
                "settings before anything else."},
        CEndRow{"Died", CallResult::Died, 1,
                "The provider ended in the middle of the call. A change may be half done: read the "
                "settings before anything else."},
        CEndRow{"Unknown", CallResult::Unknown, 1,
                "The daemon that calls the provider gave no answer in time. Whether the method was "
                "called is not known: read the settings before anything else."},
        CEndRow{"Failed", CallResult::Failed, 1, "The server failed. Its log says why."}),
    RowName<CEndRow>);

TEST(MethodAnswer, TellsWhoMayNotRead) {
    CCallAnswer answer;
    answer.m_result = CallResult::NotAllowed;
    EXPECT_EQ(MethodFailed("getparameter", 2,
                           "This user may not read the settings. The administrator of the server "
                           "says who may."),
              Finish(kGetCall, answer));
}

TEST(MethodAnswer, AsksForOtherCredentials) {
    CCallAnswer answer;
    answer.m_result = CallResult::WrongCredentials;
    EXPECT_EQ("401 open\nContent-Type: text/plain; charset=\"utf-8\"\n"
              "WWW-Authenticate: Basic realm=\"kzmwbemd\"\n\n"
              "A user and a password that are right are needed.\n",
              Finish(kSetCall, answer));
}

} // namespace
