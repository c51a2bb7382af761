// What is answered to which bytes.

#include "tests/support/TableTest.h"
#include "tests/system/server/http/CClient.h"
#include "tests/system/server/http/CFakeProviderd.h"
#include "tests/system/server/http/CServerProcess.h"

#include <ostream>

using std::string;

namespace {

const string kNotHttp = "The request is not well-formed HTTP.";
const string kLine = "POST /cimom HTTP/1.1\r\n";
const string kFields = "Host: h\r\n" + Authorization("changer", "right") + "Content-Length: 2\r\n";
const string kGood = kLine + kFields + "\r\nhi";

string BadRequest() {
    return Refused("400 Bad Request", kNotHttp, true);
}
string NotFound(bool isClosed = false) {
    return Refused("404 Not Found", "Requests go to /cimom.", isClosed);
}
string NotPost(bool isClosed = false) {
    return Refused("405 Method Not Allowed", "Requests are sent with POST.", isClosed,
                   "Allow: POST\r\n");
}
string NoLength() {
    return Refused("411 Length Required", "The request must say its length with Content-Length.",
                   true);
}
string TooLong() {
    return Refused("413 Content Too Large", "The request is too long.", true);
}
string HeadTooLong() {
    return Refused("431 Request Header Fields Too Large", "The head of the request is too long.",
                   true);
}
string Unexpected() {
    return Refused("417 Expectation Failed", "Only 100-continue can be expected.", true);
}
string WrongVersion() {
    return Refused("505 HTTP Version Not Supported", "Requests are HTTP/1.1 or HTTP/1.0.", true);
}
// The same answer from a server that closes the connection after it.
string Closing(string answer) {
    return answer.insert(answer.find("\r\n\r\n") + 2, "Connection: close\r\n");
}

struct CRow {
    string name;
    string sent;
    string answer; // after it the connection is kept unless it says that it is closed
};

std::ostream& operator<<(std::ostream& stream, const CRow& row) {
    return stream << row.sent.substr(0, 2000);
}

class RequestTest : public testing::TestWithParam<CRow> {
protected:
    static void SetUpTestSuite() {
        s_providerd = new CFakeProviderd;
        s_server = new CServerProcess("MaxBodyBytes=100000\n");
    }
    static void TearDownTestSuite() {
        delete s_server;
        delete s_providerd;
    }
    static CFakeProviderd* s_providerd;
    static CServerProcess* s_server;
};

CFakeProviderd* RequestTest::s_providerd = nullptr;
CServerProcess* RequestTest::s_server = nullptr;

TEST_P(RequestTest, IsAnswered) {
    CClient client(s_server->HttpPort());
    client.Send(GetParam().sent);
    EXPECT_EQ(client.Answer(), GetParam().answer);
    if (GetParam().answer.find("Connection: close\r\n") != string::npos) {
        EXPECT_TRUE(client.IsEnd());
    } else {
        client.Send(kGood);
        EXPECT_EQ(client.Answer(), Repeated("hi"));
    }
}

const CRow kGoodRows[] = {
    {"Plain", kGood, Repeated("hi")},
    {"NoBody", Post(""), Repeated("")},
    {"FieldsWithoutBlanks",
     "POST /cimom HTTP/1.1\r\nHost:h\r\nContent-Length:2\r\n" + Authorization("changer", "right") +
         "\r\nhi",
     Repeated("hi")},
    {"FieldsInAnyCase",
     "POST /cimom HTTP/1.1\r\nhOST: \t h \t\r\nCONTENT-LENGTH: 2\r\n"
     "authorization: bASIC" +
         Authorization("changer", "right").substr(20) + "\r\nhi",
     Repeated("hi")},
    {"LeadingZeros", Head("Content-Length: 000000000000000000000002\r\n") + "hi", Repeated("hi")},
    {"EmptyField", Post("hi", "X:\r\n"), Repeated("hi")},
    {"EmptyLineFirst", "\r\n" + kGood, Repeated("hi")},
    {"BytesInAField", Post("hi", "X: \xC3\xA4\xFF\t.\r\n"), Repeated("hi")},
    {"Close", Post("hi", "Connection: close\r\n"), Closing(Repeated("hi"))},
    {"CloseAmongOthers", Post("hi", "Connection: TE, CLOSE\r\n"), Closing(Repeated("hi"))},
    {"CloseInAnotherField", Post("hi", "Connection: TE\r\nConnection: close\r\n"),
     Closing(Repeated("hi"))},
    {"NotClose", Post("hi", "Connection: closed, not-close\r\n"), Repeated("hi")},
    {"Http10", "POST /cimom HTTP/1.0\r\n" + kFields + "\r\nhi", Closing(Repeated("hi"))},
    {"Http10WithoutHost",
     "POST /cimom HTTP/1.0\r\n" + Authorization("changer", "right") + "Content-Length: 2\r\n\r\nhi",
     Closing(Repeated("hi"))},
    {"Http10KeepAlive", "POST /cimom HTTP/1.0\r\nConnection: keep-alive\r\n" + kFields + "\r\nhi",
     Closing(Repeated("hi"))},
    {"Http10Expects", "POST /cimom HTTP/1.0\r\nExpect: 100-continue\r\n" + kFields + "\r\nhi",
     Closing(Repeated("hi"))},
    {"LongBody", Post(string(100000, 'x')), Repeated(string(100000, 'x'))},
    {"ClosedAsTold", Post("status 400"),
     "HTTP/1.1 400 Bad Request\r\nDate: *\r\nContent-Type: text/plain; "
     "charset=\"utf-8\"\r\nContent-Length: 8\r\n"
     "Connection: close\r\n\r\nas told\n"},
    {"HeadOfTheGreatestSize",
     kLine + kFields + "X: " + string(16384 - kLine.size() - kFields.size() - 7, 'x') +
         "\r\n\r\nhi",
     Repeated("hi")}};

const CRow kMalformedRows[] = {
    {"LineFeeds", "POST /cimom HTTP/1.1\nHost: h\n\n", BadRequest()},
    {"OneLineFeed", kLine + "Host: h\n" + kFields + "\r\nhi", BadRequest()},
    {"LineFeedAtOnce", "\n", BadRequest()},
    {"CarriageReturn", kLine + "X: a\rb\r\n" + kFields + "\r\nhi", BadRequest()},
    {"TwoEmptyLinesFirst", "\r\n\r\n" + kGood, BadRequest()},
    {"LineFeedFirst", "\n" + kGood, BadRequest()},
    {"CarriageReturnFirst", "\r" + kGood, BadRequest()},
    {"FoldedLine", kLine + "X: a\r\n b\r\n" + kFields + "\r\nhi", BadRequest()},
    {"FoldedLineWithTab", kLine + "X: a\r\n\tb: c\r\n" + kFields + "\r\nhi", BadRequest()},
    {"FoldedFirstLine", kLine + " X: a\r\n" + kFields + "\r\nhi", BadRequest()},
    {"BlankBeforeColon", kLine + "X : a\r\n" + kFields + "\r\nhi", BadRequest()},
    {"TabBeforeColon", kLine + "Content-Length\t: 2\r\n" + kFields + "\r\nhi", BadRequest()},
    {"NoColon", kLine + "X\r\n" + kFields + "\r\nhi", BadRequest()},
    {"NoName", kLine + ": a\r\n" + kFields + "\r\nhi", BadRequest()},
    {"ZeroInValue", kLine + "X: a" + string(1, '\0') + "\r\n" + kFields + "\r\nhi", BadRequest()},
    {"ControlInValue", kLine + "X: a\x7F\r\n" + kFields + "\r\nhi", BadRequest()},
    {"BytesInName", kLine + "X\xC3\xA4: a\r\n" + kFields + "\r\nhi", BadRequest()},
    {"NoVersion", "POST /cimom\r\n" + kFields + "\r\nhi", BadRequest()},
    {"NoTarget", "POST HTTP/1.1\r\n" + kFields + "\r\nhi", BadRequest()},
    {"TwoBlanks", "POST  /cimom HTTP/1.1\r\n" + kFields + "\r\nhi", BadRequest()},
    {"BlankAtTheEnd", "POST /cimom HTTP/1.1 \r\n" + kFields + "\r\nhi", BadRequest()},
    {"BlankInTarget", "POST /ci mom HTTP/1.1\r\n" + kFields + "\r\nhi", BadRequest()},
    {"BytesInTarget", "POST /cimom\xFF HTTP/1.1\r\n" + kFields + "\r\nhi", BadRequest()},
    {"NoMethod", " /cimom HTTP/1.1\r\n" + kFields + "\r\nhi", BadRequest()},
    {"BadMethod", "PO(ST /cimom HTTP/1.1\r\n" + kFields + "\r\nhi", BadRequest()},
    {"OtherProtocol", "POST /cimom HTTQ/1.1\r\n" + kFields + "\r\nhi", BadRequest()},
    {"SmallProtocol", "POST /cimom http/1.1\r\n" + kFields + "\r\nhi", BadRequest()},
    {"LongVersion", "POST /cimom HTTP/1.10\r\n" + kFields + "\r\nhi", BadRequest()},
    {"Http2", "PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n", WrongVersion()},
    {"Http09", "POST /cimom HTTP/0.9\r\n" + kFields + "\r\nhi", WrongVersion()},
    {"LongHead", kLine + kFields + "X: " + string(20000, 'x') + "\r\n\r\nhi", HeadTooLong()},
    {"HeadOneTooLong",
     kLine + kFields + "X: " + string(16385 - kLine.size() - kFields.size() - 7, 'x') +
         "\r\n\r\nhi",
     HeadTooLong()},
    {"EndlessLine", string(20000, 'x'), HeadTooLong()}};

const CRow kRefusedRows[] = {
    {"OtherPath", "POST /cimom/ HTTP/1.1\r\n" + kFields + "\r\nhi", NotFound()},
    {"PathInAnotherCase", "POST /Cimom HTTP/1.1\r\n" + kFields + "\r\nhi", NotFound()},
    {"EncodedPath", "POST /%63imom HTTP/1.1\r\n" + kFields + "\r\nhi", NotFound()},
    {"Query", "POST /cimom?x HTTP/1.1\r\n" + kFields + "\r\nhi", NotFound()},
    {"WholeAddress", "POST http://h/cimom HTTP/1.1\r\n" + kFields + "\r\nhi", NotFound()},
    {"PathBeforeVerb", "GET / HTTP/1.1\r\nHost: h\r\n\r\n", NotFound()},
    {"PathBeforeHost", "POST / HTTP/1.1\r\nContent-Length: 2\r\n\r\nhi", NotFound()},
    {"PathWithUnknownLength", "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n",
     NotFound(true)},
    {"PathWithBadLength", "POST / HTTP/1.1\r\nContent-Length: x\r\n\r\n", NotFound(true)},
    {"PathWithGreatLength", "POST / HTTP/1.1\r\nContent-Length: 100001\r\n\r\n", NotFound(true)},
    {"PathByHttp10", "GET / HTTP/1.0\r\n\r\n", NotFound(true)},
    {"Get", "GET /cimom HTTP/1.1\r\nHost: h\r\n\r\n", NotPost()},
    {"GetWithBody", "GET /cimom HTTP/1.1\r\n" + kFields + "\r\nhi", NotPost()},
    {"GetWithoutHost", "GET /cimom HTTP/1.1\r\n\r\n", NotPost()},
    {"GetChunked", "GET /cimom HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n", NotPost(true)},
    {"SmallPost", "post /cimom HTTP/1.1\r\nHost: h\r\n\r\n", NotPost()},
    {"Options", "OPTIONS /cimom HTTP/1.1\r\nHost: h\r\n\r\n", NotPost()},
    {"Head", "HEAD /cimom HTTP/1.1\r\nHost: h\r\n\r\n",
     "HTTP/1.1 405 Method Not Allowed\r\nDate: *\r\nContent-Type: text/plain; "
     "charset=\"utf-8\"\r\nAllow: POST\r\nContent-Length: 0\r\n\r\n"},
    {"MPost", "M-POST /cimom HTTP/1.1\r\n" + kFields + "\r\nhi",
     Refused("501 Not Implemented", "Requests are sent with POST.", false)},
    {"NoHost", kLine + "Content-Length: 2\r\n\r\nhi", BadRequest()},
    {"EmptyHost", kLine + "Host:  \r\nContent-Length: 2\r\n\r\nhi", BadRequest()},
    {"TwoHosts", kLine + "Host: h\r\n" + kFields + "\r\nhi", BadRequest()},
    {"TwoHostsByHttp10", "POST /cimom HTTP/1.0\r\nHost: h\r\n" + kFields + "\r\nhi", BadRequest()},
    {"HostBeforeLength", kLine + "Content-Length: x\r\n\r\nhi", BadRequest()},
    {"NoLength", Head(""), NoLength()},
    {"NoLengthWithoutCredentials", kLine + "Host: h\r\n\r\n", NoLength()},
    {"Chunked", Head("Transfer-Encoding: chunked\r\n") + "2\r\nhi\r\n0\r\n\r\n", NoLength()},
    {"ChunkedAndLength", Post("hi", "Transfer-Encoding: chunked\r\n"), NoLength()},
    {"Identity", Post("hi", "Transfer-Encoding: identity\r\n"), NoLength()},
    {"EmptyTransferEncoding", Post("hi", "Transfer-Encoding:\r\n"), NoLength()},
    {"TwoLengths", Post("hi", "Content-Length: 3\r\n"), BadRequest()},
    {"TheSameLengthTwice", Post("hi", "Content-Length: 2\r\n"), BadRequest()},
    {"ListOfLengths", Head("Content-Length: 2, 2\r\n") + "hi", BadRequest()},
    {"EmptyLength", Head("Content-Length:\r\n"), BadRequest()},
    {"SignedLength", Head("Content-Length: +2\r\n") + "hi", BadRequest()},
    {"NegativeLength", Head("Content-Length: -1\r\n"), BadRequest()},
    {"HexadecimalLength", Head("Content-Length: 0x2\r\n") + "hi", BadRequest()},
    {"GreatLength", Head("Content-Length: 100001\r\n"), TooLong()},
    {"OverflowingLength", Head("Content-Length: 18446744073709551618\r\n"), TooLong()},
    {"EndlessLength", Head("Content-Length: " + string(1000, '9') + "\r\n"), TooLong()},
    {"GreatLengthWithoutCredentials", kLine + "Host: h\r\nContent-Length: 100001\r\n\r\n",
     TooLong()},
    {"OtherExpectation", Post("hi", "Expect: a miracle\r\n"), Unexpected()},
    {"TwoExpectations", Post("hi", "Expect: 100-continue, a miracle\r\n"), Unexpected()},
    {"GreatLengthIsExpected", Head("Content-Length: 100001\r\nExpect: 100-continue\r\n"),
     TooLong()}};

string WithAuthorization(const string& fields) {
    return kLine + "Host: h\r\nContent-Length: 2\r\n" + fields + "\r\nhi";
}

const CRow kCredentialRows[] = {
    {"None", WithAuthorization(""), WrongCredentials()},
    {"WrongPassword", WithAuthorization(Authorization("changer", "wrong")), WrongCredentials()},
    {"Empty", WithAuthorization("Authorization:\r\n"), WrongCredentials()},
    {"OnlyTheScheme", WithAuthorization("Authorization: Basic\r\n"), WrongCredentials()},
    {"OtherScheme", WithAuthorization("Authorization: Digest Y2hhbmdlcjpyaWdodA==\r\n"),
     WrongCredentials()},
    {"LongerScheme", WithAuthorization("Authorization: Basics Y2hhbmdlcjpyaWdodA==\r\n"),
     WrongCredentials()},
    {"NoScheme", WithAuthorization("Authorization: Y2hhbmdlcjpyaWdodA==\r\n"), WrongCredentials()},
    {"NoBase64", WithAuthorization("Authorization: Basic changer:right\r\n"), WrongCredentials()},
    {"CutBase64", WithAuthorization("Authorization: Basic Y2hhbmdlcjpyaWdodA\r\n"),
     WrongCredentials()},
    {"NoColon", WithAuthorization("Authorization: Basic Y2hhbmdlcg==\r\n"), WrongCredentials()},
    {"NoUser", WithAuthorization(Authorization("", "right")), WrongCredentials()},
    {"ControlCharacter", WithAuthorization(Authorization("changer", "right\n")),
     WrongCredentials()},
    {"LongUser", WithAuthorization(Authorization(string(1025, 'u'), "right")), WrongCredentials()},
    {"LongPassword", WithAuthorization(Authorization("changer", string(1025, 'p'))),
     WrongCredentials()},
    {"TwoFields",
     WithAuthorization(Authorization("changer", "right") + Authorization("changer", "right")),
     WrongCredentials()},
    {"Closing", WithAuthorization("Connection: close\r\n"), WrongCredentials(true)},
    {"ExpectingContinue", WithAuthorization("Expect: 100-continue\r\n"), WrongCredentials(true)},
    {"Reader", WithAuthorization(Authorization("reader", "right")),
     "HTTP/1.1 200 OK\r\nDate: *\r\nContent-Type: text/plain; charset=\"utf-8\"\r\nContent-Length: "
     "11\r\n\r\n"
     "right=1\nhi\n"},
    {"LongestUser", WithAuthorization(Authorization(string(1024, 'u'), "right")), Repeated("hi")}};

INSTANTIATE_TEST_SUITE_P(Good, RequestTest, testing::ValuesIn(kGoodRows), RowName<CRow>);
INSTANTIATE_TEST_SUITE_P(Malformed, RequestTest, testing::ValuesIn(kMalformedRows), RowName<CRow>);
INSTANTIATE_TEST_SUITE_P(Refused, RequestTest, testing::ValuesIn(kRefusedRows), RowName<CRow>);
INSTANTIATE_TEST_SUITE_P(Credentials, RequestTest, testing::ValuesIn(kCredentialRows),
                         RowName<CRow>);

class AskedTest : public testing::Test {
protected:
    CFakeProviderd m_providerd;
    CServerProcess m_server;
};

TEST_F(AskedTest, NobodyIsAskedAboutWhatIsNoBasicCredentials) {
    for (const CRow& row : kCredentialRows) {
        if (row.answer == WrongCredentials() && row.name != "WrongPassword") {
            CClient client(m_server.HttpPort());
            client.Send(row.sent);
            EXPECT_EQ(client.Answer(), row.answer) << row.sent;
        }
    }
    EXPECT_EQ(m_providerd.Asked(), std::vector<string>());
}

TEST_F(AskedTest, EveryRequestOfAConnectionIsAskedAbout) {
    CClient client(m_server.HttpPort());
    for (const char* password : {"right", "wrong", "right"}) {
        client.Send(WithAuthorization(Authorization("changer", password)));
        const bool isRight = string(password) == "right";
        EXPECT_EQ(client.Answer(), isRight ? Repeated("hi") : WrongCredentials());
    }
    EXPECT_EQ(m_providerd.Asked(),
              (std::vector<string>{"check changer right 127.0.0.1", "check changer wrong 127.0.0.1",
                                   "check changer right 127.0.0.1"}));
}

// Requests on one connection, as "USER PASSWORD BODY", and what is asked for them.
struct CSequence {
    string name;
    std::vector<string> requests;
    std::vector<string> asked; // check or call, without the peer
};

const CSequence kSequences[] = {
    {"ReadingOn",
     {"u right call 1", "u right call 2", "u right call 3"},
     {"check u right", "call u right GetParameter 1", "call u right GetParameter 2",
      "call u right GetParameter 3"}},
    {"AskingForSomethingElse",
     {"u right call 1", "u right hi", "u right hi", "u right call 2"},
     {"check u right", "call u right GetParameter 1", "check u right", "check u right",
      "check u right", "call u right GetParameter 2"}},
    {"Changing",
     {"u right call 1", "u right change 2", "u right change 3", "u right call 4"},
     {"check u right", "call u right GetParameter 1", "check u right",
      "call u right SetParameter 2", "check u right", "call u right SetParameter 3",
      "check u right", "call u right GetParameter 4"}},
    {"AsAnotherUser",
     {"u right call 1", "v right call 2", "v right call 3"},
     {"check u right", "call u right GetParameter 1", "check v right",
      "call v right GetParameter 2", "call v right GetParameter 3"}},
    {"WithAWrongPassword",
     {"u right call 1", "u wrong call 2", "u right call 3"},
     {"check u right", "call u right GetParameter 1", "check u wrong", "check u right",
      "call u right GetParameter 3"}}};

std::ostream& operator<<(std::ostream& stream, const CSequence& sequence) {
    return stream << sequence.name;
}

string Asking(const string& user, const string& password, const string& body) {
    return kLine + "Host: h\r\n" + Authorization(user, password) +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

class SequenceTest : public AskedTest, public testing::WithParamInterface<CSequence> {};

TEST_P(SequenceTest, IsAskedAbout) {
    CClient client(m_server.HttpPort());
    for (const string& request : GetParam().requests) {
        const std::size_t user = request.find(' ');
        const std::size_t password = request.find(' ', user + 1);
        client.Send(Asking(request.substr(0, user), request.substr(user + 1, password - user - 1),
                           request.substr(password + 1)));
        EXPECT_NE(client.Answer(), "") << request;
    }
    std::vector<string> asked = m_providerd.Asked();
    for (string& question : asked) {
        const string peer = " 127.0.0.1";
        question.erase(question.find(peer), peer.size());
    }
    EXPECT_EQ(asked, GetParam().asked);
}

INSTANTIATE_TEST_SUITE_P(OnOneConnection, SequenceTest, testing::ValuesIn(kSequences),
                         RowName<CSequence>);

TEST_F(AskedTest, WhoHasReadMayNoMoreThanHeMayNow) {
    m_server.SetConfiguration("ListenPlain=127.0.0.1:0\nListen=\n"
                              "MaxBodyBytes=100\nMaxBodyMemoryBytes=100\n");
    m_server.Signal(SIGHUP);
    m_server.AwaitLine("read anew");
    const string body = "hi" + string(80, '!'); // a second one beside it has no room
    CClient client(m_server.HttpPort());
    for (int round = 0; round < 3; ++round) {
        m_providerd.AnswerBytes("");
        client.Send(Post("call x"));
        EXPECT_EQ(client.Answer().substr(0, 15), "HTTP/1.1 200 OK");
        m_providerd.AnswerBytes(Encode(messages::CCheckAnswer{true, messages::Right::Read}));
        client.Send(Post(body));
        EXPECT_NE(client.Answer().find("\nright=1\n" + body + "\n"), string::npos);
        m_providerd.AnswerBytes("");
        client.Send(Post("call x"));
        EXPECT_EQ(client.Answer().substr(0, 15), "HTTP/1.1 200 OK");
        m_providerd.AnswerBytes(Encode(messages::CCheckAnswer{}));
        client.Send(Post(body));
        EXPECT_EQ(client.Answer(), WrongCredentials());
    }
}

TEST_F(AskedTest, WhoseReadingWasRefusedIsAskedAbout) {
    messages::CCallAnswer wrong;
    wrong.m_result = messages::CallResult::WrongCredentials;
    CClient client(m_server.HttpPort());
    m_providerd.AnswerCalls(wrong);
    for (int i = 0; i < 2; ++i) {
        client.Send(Post("call x"));
        EXPECT_EQ(client.Answer(), WrongCredentials());
    }
    EXPECT_EQ(m_providerd.Asked().size(), 4U);
}

TEST_F(AskedTest, TheOperationsSeeTheFieldsThatSayWhatTheRequestIs) {
    CClient client(m_server.HttpPort());
    client.Send(Post("hi", "content-type: application/xml\r\nContent-Encoding: gzip\r\n"
                           "CIMOperation: MethodCall\r\nCIMMethod: a\r\nCIMMethod: b\r\n"
                           "CIMObject: root%2Fcimv2\r\n"));
    const string answer = client.Answer();
    EXPECT_EQ(answer.substr(answer.find("\r\n\r\n") + 4),
              "type=application/xml\nencoding=gzip\noperation=MethodCall\nmethod=a, b\n"
              "object=root%2Fcimv2\nright=2\nhi\n");
}

} // namespace
