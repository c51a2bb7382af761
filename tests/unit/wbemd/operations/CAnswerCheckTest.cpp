// The check of answers finds what clients fail on.

#include "tests/support/CAnswerCheck.h"

#include "tests/support/TableTest.h"

using std::string;
using std::vector;

namespace {

struct CCheckRow {
    string name;
    string body; // what METHODRESPONSE holds
    vector<string> wanted;
};
std::ostream& operator<<(std::ostream& out, const CCheckRow& row) {
    return out << row.body;
}

const CAnswerCheck::Headers kHeaders = {{"Content-type", "application/xml; charset=\"utf-8\""},
                                        {"CIMOperation", "MethodResponse"}};
const string kBegin = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                      "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" "
                      "PROTOCOLVERSION=\"1.0\"><SIMPLERSP>";
const string kEnd = "</SIMPLERSP></MESSAGE></CIM>";

class MethodResponses : public testing::TestWithParam<CCheckRow> {};

TEST_P(MethodResponses, AreChecked) {
    const string body =
        kBegin + "<METHODRESPONSE NAME=\"x\">" + GetParam().body + "</METHODRESPONSE>" + kEnd;
    EXPECT_EQ(GetParam().wanted, CAnswerCheck::Problems(200, kHeaders, body));
}

const string kValue = "<RETURNVALUE PARAMTYPE=\"uint32\"><VALUE>0</VALUE></RETURNVALUE>";
const string kOut = "<PARAMVALUE NAME=\"a\" PARAMTYPE=\"string\" EmbeddedObject=\"instance\">";

string Out(const string& text) {
    return kOut + "<VALUE>" + text + "</VALUE></PARAMVALUE>";
}

const string kNeither = "METHODRESPONSE is neither an error nor a result";
const string kNumber = " holds another number of elements";

INSTANTIATE_TEST_SUITE_P(
    Rows, MethodResponses,
    testing::Values(
        CCheckRow{"Good", kValue, {}},
        CCheckRow{"GoodError", "<ERROR CODE=\"1\" DESCRIPTION=\"x\"></ERROR>", {}},
        CCheckRow{"GoodOut", kValue + Out("&lt;INSTANCE CLASSNAME=\"a\"/>"), {}},
        CCheckRow{"Nothing", "", {kNeither}},
        CCheckRow{"OutFirst", Out("&lt;INSTANCE CLASSNAME=\"a\"/>") + kValue, {kNeither}},
        CCheckRow{"ErrorAndValue", kValue + "<ERROR CODE=\"1\" DESCRIPTION=\"x\"/>", {kNeither}},
        CCheckRow{"OneTag",
                  "<RETURNVALUE PARAMTYPE=\"uint32\"/>",
                  {"RETURNVALUE is one tag", "RETURNVALUE" + kNumber}},
        CCheckRow{"NoValue",
                  "<RETURNVALUE PARAMTYPE=\"uint32\"></RETURNVALUE>",
                  {"RETURNVALUE" + kNumber}},
        CCheckRow{"NoType",
                  "<RETURNVALUE><VALUE>0</VALUE></RETURNVALUE>",
                  {"RETURNVALUE lacks an attribute"}},
        CCheckRow{"NoOut", kValue + kOut + "</PARAMVALUE>", {"PARAMVALUE" + kNumber}},
        CCheckRow{"OutNoInstance",
                  kValue + Out("text"),
                  {"not well-formed: line 1, column 1: syntax error"}},
        CCheckRow{"OutOther", kValue + Out("&lt;CLASS NAME=\"a\"/>"), {"the root is CLASS"}},
        CCheckRow{"OutNull",
                  kValue + Out("&lt;INSTANCE CLASSNAME=\"a\">&lt;PROPERTY/>&lt;/INSTANCE>"),
                  {"PROPERTY lacks an attribute"}},
        CCheckRow{"OutBadEntry",
                  kValue + Out("&lt;INSTANCE CLASSNAME=\"a\">&lt;PROPERTY.ARRAY NAME=\"b\" "
                               "TYPE=\"string\" EmbeddedObject=\"instance\">&lt;VALUE.ARRAY>"
                               "&lt;VALUE>x&lt;/VALUE>&lt;/VALUE.ARRAY>&lt;/PROPERTY.ARRAY>"
                               "&lt;/INSTANCE>"),
                  {"not well-formed: line 1, column 1: syntax error"}},
        CCheckRow{"OutAsObject",
                  kValue + "<PARAMVALUE NAME=\"a\" PARAMTYPE=\"string\" EmbeddedObject=\"object\">"
                           "<VALUE>&lt;INSTANCE CLASSNAME=\"a\"/></VALUE></PARAMVALUE>",
                  {"PARAMVALUE embeds what is no instance"}},
        CCheckRow{
            "Comment", kValue + "<!-- x -->", {"there is a comment, a CDATA section or a DOCTYPE"}},
        CCheckRow{"Instruction", kValue + "<?x?>", {"there is a processing instruction"}},
        CCheckRow{"Text", kValue + "x", {"METHODRESPONSE holds text"}},
        CCheckRow{"Attribute",
                  "<RETURNVALUE PARAMTYPE=\"uint32\" X=\"\"><VALUE>0</VALUE></RETURNVALUE>",
                  {"RETURNVALUE has the attribute X"}},
        CCheckRow{
            "Element", kValue + "<X></X>", {"METHODRESPONSE holds X", kNeither, "X is unknown"}},
        CCheckRow{"ErrorWithInstance",
                  "<ERROR CODE=\"1\" DESCRIPTION=\"x\"><INSTANCE CLASSNAME=\"a\"></INSTANCE>"
                  "</ERROR>",
                  {"ERROR holds INSTANCE"}},
        CCheckRow{
            "NotClosed", "<RETURNVALUE>", {"not well-formed: line 2, column 129: mismatched tag"}}),
    RowName<CCheckRow>);

TEST(AnswerCheck, LooksAtTheHead) {
    const string body =
        kBegin + "<METHODRESPONSE NAME=\"x\">" + kValue + "</METHODRESPONSE>" + kEnd;
    EXPECT_EQ((vector<string>{"Content-Type is absent", "CIMOperation is absent", "CIMError is x"}),
              CAnswerCheck::Problems(200, {{"CIMError", "x"}}, body));
    EXPECT_EQ((vector<string>{"the body does not begin with an XML declaration and CIM"}),
              CAnswerCheck::Problems(200, kHeaders, body.substr(body.find("<CIM "))));
    CAnswerCheck::Headers headers = kHeaders;
    headers.emplace_back("content-length", "1");
    EXPECT_EQ(vector<string>{"Content-Length is wrong"},
              CAnswerCheck::Problems(200, headers, body));
}

TEST(AnswerCheck, LooksAtRefusals) {
    const CAnswerCheck::Headers plain = {{"Content-Type", "text/plain; charset=\"utf-8\""}};
    const auto with = [&](const string& name, const string& value) {
        CAnswerCheck::Headers headers = plain;
        headers.emplace_back(name, value);
        return headers;
    };
    const auto problems = [](unsigned status, const CAnswerCheck::Headers& headers,
                             const string& body = "No.\n") {
        return CAnswerCheck::Problems(status, headers, body);
    };
    EXPECT_EQ(vector<string>(), problems(415, plain));
    EXPECT_EQ(vector<string>(), problems(400, with("CIMError", "x")));
    EXPECT_EQ(vector<string>(), problems(401, with("WWW-Authenticate", "Basic realm=\"x\"")));
    EXPECT_EQ(vector<string>{"status and WWW-Authenticate do not fit"}, problems(401, plain));
    EXPECT_EQ(vector<string>{"the challenge is not Basic"},
              problems(401, with("WWW-Authenticate", "Digest")));
    EXPECT_EQ(vector<string>{"status and CIMError do not fit"},
              problems(415, with("CIMError", "x")));
    EXPECT_EQ(vector<string>{"Content-Type is absent"}, problems(503, {}));
    for (const string body : {"", "\n", "No.", "N\xC3\xB3.\n", "a\nb\n"}) {
        EXPECT_EQ(vector<string>{"the body is not one line"}, problems(404, plain, body));
    }
}

} // namespace
