// The body up to what the operation itself looks at.

#include "tests/support/TableTest.h"
#include "tests/unit/wbemd/operations/Asking.h"
#include "tests/unit/wbemd/operations/Requests.h"

using namespace asking;
using requests::GetClassWith;
using requests::Simple;
using requests::Whole;
using std::string;

namespace {

class Envelopes : public testing::TestWithParam<CRow> {};

TEST_P(Envelopes, AreRefusedSo) {
    EXPECT_EQ(GetParam().wanted, Ask(GetParam().request));
}

string NotWellFormed(const string& sentence) {
    return Refused(400, "request-not-well-formed", sentence);
}

INSTANTIATE_TEST_SUITE_P(
    NotWellFormed, Envelopes,
    testing::Values(
        CRow{"Empty", Whole(""), NotWellFormed("line 1, column 1: no element found.")},
        CRow{"NoXml", Whole("hello"), NotWellFormed("line 1, column 1: syntax error.")},
        CRow{"CutOff", Whole("<CIM A=''>"), NotWellFormed("line 1, column 11: no element found.")},
        CRow{"WrongEndTag", Whole("<CIM>\n <MESSAGE></CIM>"),
             NotWellFormed("line 2, column 13: mismatched tag.")},
        CRow{"NotUtf8", Whole("<CIM ID=\"\xE9\"/>"),
             NotWellFormed("line 1, column 10: the text is not UTF-8.")},
        CRow{"Utf16", Whole(string("\xFF\xFE<\0C\0/\0>\0", 10)),
             NotWellFormed("line 1, column 1: the text is UTF-16, but only UTF-8 is read.")},
        CRow{"OtherEncoding", Whole("<?xml version=\"1.0\" encoding=\"iso-8859-1\"?><CIM/>"),
             NotWellFormed("line 1, column 1: the encoding \"iso-8859-1\" is declared, but only "
                           "UTF-8 is read.")},
        CRow{"OtherXml", Whole("<?xml version=\"1.1\"?><CIM/>"),
             NotWellFormed("line 1, column 1: XML 1.1 is declared, but only XML 1.0 is read.")}),
    RowName<CRow>);

string Version(const string& cimError, const string& sentence) {
    return Refused(501, cimError, sentence);
}
const string kCim = Version("unsupported-cim-version", "CIMVERSION must be 2.0 or another 2.x.");
const string kDtd = Version("unsupported-dtd-version", "DTDVERSION must be 2.0 or another 2.x.");
const string kProtocol =
    Version("unsupported-protocol-version", "PROTOCOLVERSION must be 1.0 or another 1.x.");

INSTANTIATE_TEST_SUITE_P(
    Versions, Envelopes,
    testing::Values(
        CRow{"CimOne", GetClassWith("CIMVERSION=\"2.0\"", "CIMVERSION=\"1.0\""), kCim},
        CRow{"CimThree", GetClassWith("CIMVERSION=\"2.0\"", "CIMVERSION=\"3.0\""), kCim},
        CRow{"CimWithoutMinor", GetClassWith("CIMVERSION=\"2.0\"", "CIMVERSION=\"2.\""), kCim},
        CRow{"CimWithoutDot", GetClassWith("CIMVERSION=\"2.0\"", "CIMVERSION=\"2\""), kCim},
        CRow{"CimWithLetters", GetClassWith("CIMVERSION=\"2.0\"", "CIMVERSION=\"2.0a\""), kCim},
        CRow{"CimEmpty", GetClassWith("CIMVERSION=\"2.0\"", "CIMVERSION=\"\""), kCim},
        CRow{"CimTwenty", GetClassWith("CIMVERSION=\"2.0\"", "CIMVERSION=\"20\""), kCim},
        CRow{"DtdOne", GetClassWith("DTDVERSION=\"2.0\"", "DTDVERSION=\"1.9\""), kDtd},
        CRow{"DtdOfThree", GetClassWith("DTDVERSION=\"2.0\"", "DTDVERSION=\"2.0.1\""), kDtd},
        CRow{"ProtocolTwo", GetClassWith("PROTOCOLVERSION=\"1.0\"", "PROTOCOLVERSION=\"2.0\""),
             kProtocol},
        CRow{"SeveralRequests", GetClassWith("<SIMPLEREQ>", "<MULTIREQ/><SIMPLEREQ>"),
             Version("multiple-requests-unsupported", "Send one request in each message.")},
        CRow{"VersionsBeforeTheEnvelope",
             Whole("<CIM CIMVERSION=\"2.0\" X=\"\"><MESSAGE PROTOCOLVERSION=\"0\"/></CIM>"),
             kProtocol}),
    RowName<CRow>);

string NotValid(const string& sentence) {
    return Refused(400, "request-not-valid", sentence);
}

INSTANTIATE_TEST_SUITE_P(
    Refused, Envelopes,
    testing::Values(
        CRow{"Doctype", Whole("<!DOCTYPE CIM><CIM/>"),
             NotValid("line 1, column 14: a document type declaration is not allowed.")},
        CRow{"TooDeep", Simple("<A> <A> <A> <A> <A> <A> <A> <A> <A> <A> <A> <A> <A> <A> </A>"),
             NotValid("line 2, column 144: elements are nested deeper than 16.")},
        CRow{"TooManyElements", Whole("<A><B/><B/><B/><B/><B/></A>"),
             NotValid("line 1, column 12: there is more than one element for 8 bytes of text.")}),
    RowName<CRow>);

INSTANTIATE_TEST_SUITE_P(
    Message, Envelopes,
    testing::Values(
        CRow{"OtherRoot", Whole("<MESSAGE/>"),
             NotValid("line 1: MESSAGE is not the CIM element that a request begins with.")},
        CRow{"PrefixedRoot", Whole("<c:CIM xmlns:c=\"u\"/>"),
             NotValid("line 1: c:CIM is not the CIM element that a request begins with.")},
        CRow{"NameThatIsNoAscii", Whole("<\xC3\xA9    />"),
             NotValid("line 1: ?? is not the CIM element that a request begins with.")},
        CRow{"DefaultNamespace", GetClassWith("<CIM ", "<CIM xmlns=\"u\" "),
             NotValid("line 2: CIM has an attribute xmlns that is not understood.")},
        CRow{"CimVersionAbsent", GetClassWith("CIMVERSION=\"2.0\"", ""),
             NotValid("line 2: CIM has no attribute CIMVERSION.")},
        CRow{"DtdVersionAbsent", GetClassWith("DTDVERSION=\"2.0\"", ""),
             NotValid("line 2: CIM has no attribute DTDVERSION.")},
        CRow{"NoMessage", Whole("<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"/>"),
             NotValid("line 1: CIM must hold MESSAGE, once each.")},
        CRow{"TextBeforeMessage", GetClassWith("<MESSAGE", "x<MESSAGE"),
             NotValid("line 2: CIM holds text where only elements are expected.")},
        CRow{"TwoMessages", GetClassWith("</CIM>", "<MESSAGE/></CIM>"),
             NotValid("line 2: CIM must hold MESSAGE, once each.")},
        CRow{"IdAbsent", GetClassWith("ID=\"1001\"", ""),
             NotValid("line 2: MESSAGE has no attribute ID.")},
        CRow{"ProtocolAbsent", GetClassWith("PROTOCOLVERSION=\"1.0\"", ""),
             NotValid("line 2: MESSAGE has no attribute PROTOCOLVERSION.")},
        CRow{"UnknownOfMessage", GetClassWith("ID=", "KIND=\"x\" ID="),
             NotValid("line 2: MESSAGE has an attribute KIND that is not understood.")},
        CRow{"Export", GetClassWith("<SIMPLEREQ>", "<SIMPLEEXPREQ/><SIMPLEREQ>"),
             NotValid("line 2: MESSAGE must hold SIMPLEREQ, once each.")}),
    RowName<CRow>);

string InCall(const string& name, const string& content) {
    return "<" + name + " NAME=\"GetClass\">" + content + "</" + name + ">";
}

INSTANTIATE_TEST_SUITE_P(
    Call, Envelopes,
    testing::Values(
        CRow{"AttributeOfRequest", GetClassWith("<SIMPLEREQ>", "<SIMPLEREQ A=\"\">"),
             NotValid("line 2: SIMPLEREQ has an attribute A that is not understood.")},
        CRow{"TextInRequest", Simple("x"),
             NotValid("line 2: SIMPLEREQ holds text where only elements are expected.")},
        CRow{"NoCall", Simple(""),
             NotValid("line 2: SIMPLEREQ must hold one METHODCALL or IMETHODCALL.")},
        CRow{"SecondCall", GetClassWith("</SIMPLEREQ>", "<IMETHODCALL NAME=\"x\"/></SIMPLEREQ>"),
             NotValid("line 2: SIMPLEREQ must hold one METHODCALL or IMETHODCALL.")},
        CRow{"UnknownCall", Simple("<EXPMETHODCALL NAME=\"x\"/>"),
             NotValid("line 2: EXPMETHODCALL \"x\" is not understood inside SIMPLEREQ.")},
        CRow{"CallWithoutName", GetClassWith(" NAME=\"GetClass\"", ""),
             NotValid("line 2: IMETHODCALL has no attribute NAME.")},
        CRow{"CallWithType", GetClassWith(" NAME=\"GetClass\"", " NAME=\"GetClass\" TYPE=\"\""),
             NotValid(
                 "line 2: IMETHODCALL \"GetClass\" has an attribute TYPE that is not understood.")},
        CRow{"TextInCall", Simple(InCall("IMETHODCALL", "x")),
             NotValid("line 2: IMETHODCALL \"GetClass\" holds text where only elements are "
                      "expected.")},
        CRow{"NoTarget", Simple(InCall("IMETHODCALL", "")),
             NotValid("line 2: IMETHODCALL \"GetClass\" does not say what it is called on.")},
        CRow{"ClassAsTargetOfOperation", Simple(InCall("IMETHODCALL", requests::ClassPath())),
             NotValid("line 2: LOCALCLASSPATH is not what a method can be called on.")},
        CRow{"NamespaceAsTargetOfMethod", Simple(InCall("METHODCALL", requests::NamespacePath())),
             NotValid("line 2: LOCALNAMESPACEPATH is not what a method can be called on.")},
        CRow{"ParameterBeforeTarget",
             Simple(InCall("IMETHODCALL", requests::ClassName("x") + requests::NamespacePath())),
             NotValid("line 2: IPARAMVALUE \"ClassName\" is not what a method can be called on.")},
        CRow{"TwoTargets",
             Simple(InCall("IMETHODCALL", requests::NamespacePath() + requests::NamespacePath())),
             NotValid("line 2: LOCALNAMESPACEPATH is not understood behind what the method is "
                      "called on.")},
        CRow{"ParameterOfMethodInOperation",
             Simple(InCall("IMETHODCALL", requests::NamespacePath() + requests::InParameter(""))),
             NotValid("line 2: PARAMVALUE \"LoggerConf\" is not understood behind what the method "
                      "is called on.")},
        CRow{"ParameterOfOperationInMethod",
             Simple(InCall("METHODCALL", requests::ClassPath() + requests::ClassName("x"))),
             NotValid("line 2: IPARAMVALUE \"ClassName\" is not understood behind what the method "
                      "is called on.")},
        CRow{"ParameterWithoutName",
             Simple(InCall("IMETHODCALL", requests::NamespacePath() + "<IPARAMVALUE/>")),
             NotValid("line 2: IPARAMVALUE has no attribute NAME.")},
        CRow{"TypedParameterOfOperation",
             Simple(InCall("IMETHODCALL", requests::NamespacePath() +
                                              "<IPARAMVALUE NAME=\"x\" PARAMTYPE=\"string\"/>")),
             NotValid("line 2: IPARAMVALUE \"x\" has an attribute PARAMTYPE that is not "
                      "understood.")},
        CRow{"UnknownOfMethodParameter",
             Simple(InCall("METHODCALL",
                           requests::ClassPath() + requests::InParameter("", " TYPE=\"x\""))),
             NotValid("line 2: PARAMVALUE \"LoggerConf\" has an attribute TYPE that is not "
                      "understood.")}),
    RowName<CRow>);

string OnPath(const string& path) {
    return InCall("METHODCALL", path);
}

INSTANTIATE_TEST_SUITE_P(
    Path, Envelopes,
    testing::Values(
        CRow{"AttributeOfPath", Simple(OnPath("<LOCALCLASSPATH A=\"\"/>")),
             NotValid("line 2: LOCALCLASSPATH has an attribute A that is not understood.")},
        CRow{"EmptyPath", Simple(OnPath("<LOCALCLASSPATH/>")),
             NotValid("line 2: LOCALCLASSPATH must hold LOCALNAMESPACEPATH and CLASSNAME, once "
                      "each.")},
        CRow{"PathOfNothing",
             Simple(OnPath("<LOCALCLASSPATH><LOCALNAMESPACEPATH/><CLASSNAME NAME=\"x\"/>"
                           "</LOCALCLASSPATH>")),
             NotValid("line 2: LOCALNAMESPACEPATH names no namespace.")},
        CRow{"PathOfOther",
             Simple(OnPath("<LOCALCLASSPATH><LOCALNAMESPACEPATH><HOST/></LOCALNAMESPACEPATH>"
                           "<CLASSNAME NAME=\"x\"/></LOCALCLASSPATH>")),
             NotValid("line 2: HOST is not understood inside LOCALNAMESPACEPATH.")},
        CRow{"AttributeOfNamespacePath",
             GetClassWith("<LOCALNAMESPACEPATH>", "<LOCALNAMESPACEPATH A=\"\">"),
             NotValid("line 2: LOCALNAMESPACEPATH has an attribute A that is not understood.")},
        CRow{"NamespaceWithoutName", GetClassWith("<NAMESPACE NAME=\"root\"/>", "<NAMESPACE/>"),
             NotValid("line 2: NAMESPACE has no attribute NAME.")},
        CRow{"NamespaceWithText",
             GetClassWith("<NAMESPACE NAME=\"root\"/>", "<NAMESPACE NAME=\"root\">x</NAMESPACE>"),
             NotValid("line 2: NAMESPACE \"root\" holds text where only elements are expected.")},
        CRow{"NamespaceWithElement",
             GetClassWith("<NAMESPACE NAME=\"root\"/>",
                          "<NAMESPACE NAME=\"root\"><NAMESPACE/></NAMESPACE>"),
             NotValid("line 2: NAMESPACE \"root\" must hold nothing.")},
        CRow{"ClassNameWithoutName",
             Simple(OnPath("<LOCALCLASSPATH>" + requests::NamespacePath() +
                           "<CLASSNAME/></LOCALCLASSPATH>")),
             NotValid("line 2: CLASSNAME has no attribute NAME.")},
        CRow{"EmptyPathOfInstance", Simple(OnPath("<LOCALINSTANCEPATH/>")),
             NotValid("line 2: LOCALINSTANCEPATH must hold LOCALNAMESPACEPATH and INSTANCENAME, "
                      "once each.")},
        CRow{"InstanceNameWithoutClass",
             Simple(OnPath("<LOCALINSTANCEPATH>" + requests::NamespacePath() +
                           "<INSTANCENAME/></LOCALINSTANCEPATH>")),
             NotValid("line 2: INSTANCENAME has no attribute CLASSNAME.")}),
    RowName<CRow>);

TEST(Envelope, IsReadWhateverStandsAround) {
    CRequestText request = requests::GetClass();
    const string plain = Ask(request);
    request.m_body = "\xEF\xBB\xBF" + request.m_body;
    EXPECT_EQ(plain, Ask(request)) << "a byte order mark";
    request.m_body += "\n<!-- comment --><?pi x?>";
    EXPECT_EQ(plain, Ask(request)) << "a comment and a processing instruction";
    for (const string version : {"2.0", "2.3", "2.40"}) {
        EXPECT_EQ(plain, Ask(GetClassWith("CIMVERSION=\"2.0\"", "CIMVERSION=\"" + version + "\"")))
            << version;
    }
    EXPECT_EQ(plain, Ask(GetClassWith("PROTOCOLVERSION=\"1.0\"", "PROTOCOLVERSION=\"1.4\"")));
}

TEST(Envelope, IsRepeatedAsItWasSent) {
    CRequestText request =
        GetClassWith("ID=\"1001\"", "ID=\"&lt;&quot;&amp;'&gt;&#10;&#9;&#13;\xC3\xA9\"");
    request.m_body.replace(request.m_body.find("\"GetClass\""), 10, "\"gETcLASS\"");
    const string answer = Ask(request);
    EXPECT_NE(string::npos,
              answer.find("<MESSAGE ID=\"&lt;&quot;&amp;'&gt;&#10;&#9;&#13;\xC3\xA9\" PROTOCOL"))
        << answer.substr(0, 500);
    EXPECT_NE(string::npos, answer.find("<IMETHODRESPONSE NAME=\"gETcLASS\">"));
}

TEST(Envelope, DoesNotRepeatALongName) {
    const string name(100'000, 'x');
    EXPECT_EQ(NotValid("line 1: " + string(489, 'x') + "..."), Ask(Whole("<" + name + "/>")));
}

} // namespace
