// What the headers say by themselves, and that they announce what the body says.

#include "tests/support/TableTest.h"
#include "tests/unit/wbemd/operations/Asking.h"
#include "tests/unit/wbemd/operations/Requests.h"

using namespace asking;
using requests::GetClass;
using std::string;

namespace {

using Field = std::optional<string> wbemd::CRequestHead::*;

constexpr Field kType = &wbemd::CRequestHead::m_contentType;
constexpr Field kEncoding = &wbemd::CRequestHead::m_contentEncoding;
constexpr Field kOperation = &wbemd::CRequestHead::m_cimOperation;
constexpr Field kMethod = &wbemd::CRequestHead::m_cimMethod;
constexpr Field kObject = &wbemd::CRequestHead::m_cimObject;

// A good request, and one header that is other.
struct CHeadRow {
    string name;
    CRequestText request;
    Field field;
    std::optional<string> value;
    string wanted; // empty: what the good request is answered
};
std::ostream& operator<<(std::ostream& out, const CHeadRow& row) {
    return out << row.value.value_or("(absent)");
}

class Heads : public testing::TestWithParam<CHeadRow> {};

TEST_P(Heads, AreAnsweredSo) {
    CRequestText request = GetParam().request;
    request.m_head.*GetParam().field = GetParam().value;
    const string wanted = GetParam().wanted;
    EXPECT_EQ(wanted.empty() ? Ask(GetParam().request) : wanted, Ask(request));
}

const CRequestText kGet = GetClass();
const string kBadType = Refused(415, "", "Requests are application/xml or text/xml, in UTF-8.");
const string kEncoded =
    Refused(415, "", "Requests are sent as they are, without Content-Encoding.");
const string kBadOperation =
    Refused(400, "unsupported-operation", "The header CIMOperation must be MethodCall.");
const string kBadMethod = Refused(400, "header-mismatch",
                                  "The header CIMMethod must name the method that the body calls.");
const string kBadObject = Refused(400, "header-mismatch",
                                  "The header CIMObject must name the namespace, and for a method "
                                  "the class, that the body names.");

INSTANTIATE_TEST_SUITE_P(
    ContentType, Heads,
    testing::Values(
        CHeadRow{"TypeAbsent", kGet, kType, {}, kBadType},
        CHeadRow{"TypeEmpty", kGet, kType, "", kBadType},
        CHeadRow{"TypeBlank", kGet, kType, " ", kBadType},
        CHeadRow{"TypeJson", kGet, kType, "application/json", kBadType},
        CHeadRow{"TypeLonger", kGet, kType, "application/xmlx", kBadType},
        CHeadRow{"TypeSoap", kGet, kType, "application/soap+xml; charset=utf-8", kBadType},
        CHeadRow{"TypeAlone", kGet, kType, "application/xml", ""},
        CHeadRow{"TypeText", kGet, kType, "text/xml", ""},
        CHeadRow{"TypeUpperCase", kGet, kType, "TEXT/XML; CHARSET=UTF-8", ""},
        CHeadRow{"TypeWithoutQuotes", kGet, kType, "text/xml;charset=utf-8", ""},
        CHeadRow{"TypeWithBlanks", kGet, kType, " text/xml ; charset = \"Utf-8\" ", ""},
        CHeadRow{"TypeWithOther", kGet, kType, "text/xml; boundary=x; charset=utf-8;", ""},
        CHeadRow{"TypeLatin", kGet, kType, "text/xml; charset=iso-8859-1", kBadType},
        CHeadRow{"TypeAscii", kGet, kType, "text/xml; charset=us-ascii", kBadType},
        CHeadRow{"TypeWithoutHyphen", kGet, kType, "text/xml; charset=utf8", kBadType},
        CHeadRow{"TypeEmptyCharset", kGet, kType, "text/xml; charset=", kBadType},
        CHeadRow{"TypeHalfQuoted", kGet, kType, "text/xml; charset=\"utf-8", kBadType},
        CHeadRow{"TypeOneQuote", kGet, kType, "text/xml; charset=\"", kBadType},
        CHeadRow{"TypeTwoCharsets", kGet, kType, "text/xml; charset=utf-8; charset=utf-16",
                 kBadType},
        CHeadRow{"EncodingGzip", kGet, kEncoding, "gzip", kEncoded},
        CHeadRow{"EncodingIdentity", kGet, kEncoding, "identity", kEncoded},
        CHeadRow{"EncodingEmpty", kGet, kEncoding, "", kEncoded}),
    RowName<CHeadRow>);

INSTANTIATE_TEST_SUITE_P(
    Operation, Heads,
    testing::Values(CHeadRow{"OperationAbsent", kGet, kOperation, {}, kBadOperation},
                    CHeadRow{"OperationEmpty", kGet, kOperation, "", kBadOperation},
                    CHeadRow{"OperationResponse", kGet, kOperation, "MethodResponse",
                             kBadOperation},
                    CHeadRow{"OperationLonger", kGet, kOperation, "MethodCalls", kBadOperation},
                    CHeadRow{"OperationLowerCase", kGet, kOperation, "methodcall", ""},
                    CHeadRow{"OperationWithBlanks", kGet, kOperation, " MethodCall\t", ""}),
    RowName<CHeadRow>);

INSTANTIATE_TEST_SUITE_P(
    Method, Heads,
    testing::Values(CHeadRow{"MethodAbsent", kGet, kMethod, {}, kBadMethod},
                    CHeadRow{"MethodEmpty", kGet, kMethod, "", kBadMethod},
                    CHeadRow{"MethodOther", kGet, kMethod, "GetInstance", kBadMethod},
                    CHeadRow{"MethodShorter", kGet, kMethod, "GetClas", kBadMethod},
                    CHeadRow{"MethodLowerCase", kGet, kMethod, "getclass", ""},
                    CHeadRow{"MethodEncoded", kGet, kMethod, "%47et%43lass", ""},
                    CHeadRow{"MethodEncodedTwice", kGet, kMethod, "%2547etClass", kBadMethod},
                    CHeadRow{"MethodCutInADigit", kGet, kMethod, "GetClass%4", kBadMethod},
                    CHeadRow{"MethodCutBehindPercent", kGet, kMethod, "GetClass%", kBadMethod},
                    CHeadRow{"MethodNoDigit", kGet, kMethod, "GetClass%4g", kBadMethod},
                    CHeadRow{"MethodNoFirstDigit", kGet, kMethod, "GetClass%G4", kBadMethod},
                    CHeadRow{"MethodWithZero", kGet, kMethod, "GetClass%00", kBadMethod}),
    RowName<CHeadRow>);

INSTANTIATE_TEST_SUITE_P(
    ObjectOfAnOperation, Heads,
    testing::Values(CHeadRow{"ObjectAbsent", kGet, kObject, {}, kBadObject},
                    CHeadRow{"ObjectEmpty", kGet, kObject, "", kBadObject},
                    CHeadRow{"ObjectOther", kGet, kObject, "root/cimv3", kBadObject},
                    CHeadRow{"ObjectNotUtf8", kGet, kObject, "root/cimv2%FF", kBadObject},
                    CHeadRow{"ObjectInnerSlashes", kGet, kObject, "root//cimv2", kBadObject},
                    CHeadRow{"ObjectEncoded", kGet, kObject, "root%2Fcimv2", ""},
                    CHeadRow{"ObjectEncodedInLowerCase", kGet, kObject, "root%2fcimv2", ""},
                    CHeadRow{"ObjectUpperCase", kGet, kObject, "ROOT/CIMV2", ""},
                    CHeadRow{"ObjectWithSlashes", kGet, kObject, "//root/cimv2/", ""},
                    CHeadRow{"ObjectWithAClass", kGet, kObject, "root/cimv2:Whatever", ""}),
    RowName<CHeadRow>);

const CRequestText kCall = requests::Method("None");

INSTANTIATE_TEST_SUITE_P(
    ObjectOfAMethod, Heads,
    testing::Values(
        CHeadRow{"CalledWithoutClass", kCall, kObject, "root/cimv2", kBadObject},
        CHeadRow{"CalledWithEmptyClass", kCall, kObject, "root/cimv2:", kBadObject},
        CHeadRow{"CalledOnOther", kCall, kObject, "root/cimv2:VELTARO_LoggerConf", kBadObject},
        CHeadRow{"CalledElsewhere", kCall, kObject, "interop:VELTARO_ToolServiceLogger",
                 kBadObject},
        CHeadRow{"CalledOnAnInstance", kCall, kObject,
                 "root/cimv2:VELTARO_ToolServiceLogger.Name=1", kBadObject},
        CHeadRow{"CalledInLowerCase", kCall, kObject, "root/cimv2:veltaro_toolservicelogger", ""},
        CHeadRow{"CalledEncoded", kCall, kObject, "root%2Fcimv2%3AVELTARO_ToolServiceLogger", ""},
        CHeadRow{"CalledWithSlashes", kCall, kObject, "/root/cimv2/:VELTARO_ToolServiceLogger",
                 ""}),
    RowName<CHeadRow>);

CRequestText CallOnInstance() {
    CRequestText request = requests::Simple(
        "<METHODCALL NAME=\"None\"><LOCALINSTANCEPATH>" + requests::NamespacePath() +
        "<INSTANCENAME CLASSNAME=\"VELTARO_ToolServiceLogger\"/></LOCALINSTANCEPATH></METHODCALL>");
    request.m_head.m_cimMethod = "None";
    request.m_head.m_cimObject = "root/cimv2:VELTARO_ToolServiceLogger.A=1";
    return request;
}

INSTANTIATE_TEST_SUITE_P(ObjectOfAnInstance, Heads,
                         testing::Values(CHeadRow{"InstanceByOneValue", CallOnInstance(), kObject,
                                                  "root/cimv2:VELTARO_ToolServiceLogger=%22x.y%22",
                                                  ""},
                                         CHeadRow{"InstanceByClass", CallOnInstance(), kObject,
                                                  "root/cimv2:VELTARO_ToolServiceLogger", ""},
                                         CHeadRow{"InstanceOfOther", CallOnInstance(), kObject,
                                                  "root/cimv2:Other.A=1", kBadObject}),
                         RowName<CHeadRow>);

} // namespace
