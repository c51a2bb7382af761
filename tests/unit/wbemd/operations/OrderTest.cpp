// What fails first counts.

#include "tests/unit/wbemd/operations/Asking.h"
#include "tests/unit/wbemd/operations/Requests.h"

#include <gtest/gtest.h>

using namespace asking;
using messages::Right;
using std::string;

namespace {

// The first line, and the header or error that says what is wrong.
string Essence(const string& answer) {
    for (const string mark : {"CIMError: ", "<ERROR CODE="}) {
        const std::size_t at = answer.find(mark);
        if (at != string::npos) {
            return answer.substr(0, 3) + " " +
                   answer.substr(at + mark.size(),
                                 answer.find_first_of("\n ", at + mark.size()) - at - mark.size());
        }
    }
    return answer.substr(0, 3);
}

void Replace(const string& from, const string& to, string* text) {
    const std::size_t at = text->find(from);
    ASSERT_NE(string::npos, at) << from << "\n" << *text;
    text->replace(at, from.size(), to);
}

// Everything is wrong with it; each step mends what the step before has shown.
TEST(Order, OfAnOperation) {
    CRequestText request = requests::Intrinsic(
        "Nothing", requests::ClassName("Nothing") + requests::Flag("LocalOnly", "x"), "nowhere");
    Replace("CIMVERSION=\"2.0\"", "CIMVERSION=\"1.0\"", &request.m_body);
    Replace("DTDVERSION=\"2.0\"", "DTDVERSION=\"1.0\"", &request.m_body);
    Replace("PROTOCOLVERSION=\"1.0\"", "PROTOCOLVERSION=\"2.0\" X=\"\"", &request.m_body);
    Replace("<SIMPLEREQ>", "<MULTIREQ/><SIMPLEREQ>", &request.m_body);
    request.m_body += "<";
    request.m_head = {};
    request.m_head.m_contentEncoding = "gzip";
    const auto ask = [&](Right right = Right::None) { return Essence(Ask(request, right)); };

    EXPECT_EQ("415", ask());
    request.m_head.m_contentType = "text/xml";
    EXPECT_EQ("415", ask());
    request.m_head.m_contentEncoding.reset();
    EXPECT_EQ("400 unsupported-operation", ask());
    request.m_head.m_cimOperation = "MethodCall";
    EXPECT_EQ("400 request-not-well-formed", ask());
    request.m_body.pop_back();
    EXPECT_EQ("501 unsupported-cim-version", ask());
    Replace("CIMVERSION=\"1.0\"", "CIMVERSION=\"2.0\"", &request.m_body);
    EXPECT_EQ("501 unsupported-dtd-version", ask());
    Replace("DTDVERSION=\"1.0\"", "DTDVERSION=\"2.0\"", &request.m_body);
    EXPECT_EQ("501 unsupported-protocol-version", ask());
    Replace("PROTOCOLVERSION=\"2.0\"", "PROTOCOLVERSION=\"1.0\"", &request.m_body);
    EXPECT_EQ("501 multiple-requests-unsupported", ask());
    Replace("<MULTIREQ/>", "", &request.m_body);
    EXPECT_EQ("400 request-not-valid", ask());
    Replace(" X=\"\"", "", &request.m_body);
    EXPECT_EQ("400 header-mismatch", ask());
    request.m_head.m_cimMethod = "Nothing";
    EXPECT_EQ("400 header-mismatch", ask());
    request.m_head.m_cimObject = "nowhere";
    EXPECT_EQ("200 \"3\"", ask());
    request.m_head.m_cimObject = "interop";
    Replace("NAME=\"nowhere\"", "NAME=\"interop\"", &request.m_body);
    EXPECT_EQ("200 \"7\"", ask());
    request.m_head.m_cimMethod = "GetClass";
    Replace("NAME=\"Nothing\"", "NAME=\"GetClass\"", &request.m_body);
    EXPECT_EQ("200 \"6\"", ask());
    Replace("CLASSNAME NAME=\"Nothing\"", "CLASSNAME NAME=\"CIM_Namespace\"", &request.m_body);
    EXPECT_EQ("200 \"2\"", ask());
    EXPECT_EQ("200 \"4\"", ask(Right::Read));
    Replace("<VALUE>x</VALUE>", "<VALUE>TRUE</VALUE>", &request.m_body);
    EXPECT_EQ("200", ask(Right::Read));
}

TEST(Order, OfAMethod) {
    CRequestText request =
        requests::Method("Nothing", requests::InParameter(""), "Nothing", "nowhere");
    const auto ask = [&](Right right = Right::None) { return Essence(Ask(request, right)); };
    EXPECT_EQ("200 \"3\"", ask());
    Replace("NAME=\"nowhere\"", "NAME=\"root/cimv2\"", &request.m_body);
    request.m_head.m_cimObject = "root/cimv2:Nothing";
    EXPECT_EQ("200 \"5\"", ask());
    Replace("CLASSNAME NAME=\"Nothing\"", "CLASSNAME NAME=\"" + requests::kClass + "\"",
            &request.m_body);
    request.m_head.m_cimObject = "root/cimv2:" + requests::kClass;
    EXPECT_EQ("200 \"17\"", ask());
    Replace("NAME=\"Nothing\"", "NAME=\"SetParameter\"", &request.m_body);
    request.m_head.m_cimMethod = "SetParameter";
    EXPECT_EQ("200 \"2\"", ask());
    EXPECT_EQ("200 \"2\"", ask(Right::Read));
    EXPECT_EQ("200 \"4\"", ask(Right::Change));
}

// A class that cannot be read is a parameter that is wrong, which counts behind the right.
TEST(Order, OfAClassThatCannotBeRead) {
    const CRequestText request = requests::Intrinsic("GetClass", "");
    EXPECT_EQ("200 \"2\"", Essence(Ask(request, Right::None)));
    EXPECT_EQ("200 \"4\"", Essence(Ask(request, Right::Read)));
}

TEST(Order, ReadingIsEnoughForAllButOne) {
    const string names = "<CLASSNAME NAME=\"CIM_ObjectManager\"/>";
    for (const string operation : {"GetClass", "EnumerateClasses", "EnumerateClassNames",
                                   "EnumerateInstances", "EnumerateInstanceNames"}) {
        const CRequestText request =
            requests::Intrinsic(operation, requests::Parameter("ClassName", names), "interop");
        EXPECT_EQ("200", Essence(Ask(request, Right::Read))) << operation;
        EXPECT_EQ("200", Essence(Ask(request, Right::Change))) << operation;
        EXPECT_EQ("200 \"2\"", Essence(Ask(request, Right::None))) << operation;
    }
    EXPECT_EQ("GetParameter", AskCall(requests::Method("GetParameter"), Right::Read).m_method);
    EXPECT_EQ("GetParameter", AskCall(requests::Method("GetParameter"), Right::Change).m_method);
    EXPECT_EQ("200 \"2\"", Essence(Ask(requests::Method("GetParameter"), Right::None)));
}

} // namespace
