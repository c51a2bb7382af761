#include "wbemd/http/HeadChecks.h"

#include "wbemd/http/HttpAnswer.h"

#include <gtest/gtest.h>

using std::string;

namespace {

constexpr std::size_t kBody = 100;

// "STATUS BODYBYTES", with "continue" and "open"; status 0: not refused.
string Planned(const string& head) {
    const auto plan = wbemd::PlanRequest(*wbemd::ReadHead(head), kBody);
    const unsigned status = plan.m_refusal ? plan.m_refusal->m_status : 0;
    return std::to_string(status) + " " + std::to_string(plan.m_bodyBytes) +
           (plan.m_expectsContinue ? " continue" : "") + (plan.m_keepOpen ? " open" : "");
}

TEST(PlanRequestTest, SaysWhatFailsFirst) {
    const string post = "POST /cimom HTTP/1.1\r\n";
    const string old = "POST /cimom HTTP/1.0\r\n";
    const std::pair<string, string> rows[] = {
        {post + "Host: h\r\nContent-Length: 5\r\n", "0 5 open"},
        {post + "Host: h\r\nContent-Length: 100\r\n", "0 100 open"},
        {post + "Host: h\r\nContent-Length: 101\r\n", "413 101"},
        {post + "Host: h\r\nContent-Length: 5\r\nConnection: close\r\n", "0 5"},
        {post + "Host: h\r\nContent-Length: 5\r\nConnection: te, ,x\r\n", "0 5 open"},
        {post + "Host: h\r\nContent-Length: 5\r\nConnection: keep alive\r\n", "400 5"},
        {post + "Host: h\r\nContent-Length: x\r\nExpect: other\r\nConnection: \"close\"\r\n",
         "400 0 continue"},
        {post + "Host: h\r\nExpect: other\r\nConnection: \"close\"\r\n", "400 0 continue"},
        {"POST / HTTP/1.1\r\nConnection: (close)\r\n", "404 0"},
        {post + "Host: h\r\nContent-Length: 5\r\nExpect: 100-continue\r\n", "0 5 continue open"},
        {post + "Host: h\r\nContent-Length: 5\r\nExpect: other\r\n", "417 5 continue open"},
        {post + "Host: h\r\nContent-Length: x\r\nExpect: other\r\n", "400 0 continue"},
        {post + "Host: h\r\nExpect: other\r\n", "411 0 continue open"},
        {post + "Host: h\r\nContent-Length: 5\r\nContent-Length: 5\r\n", "400 0"},
        {post + "Host: h\r\nContent-Length: 5\r\nTransfer-Encoding: x\r\n", "411 0"},
        {post + "Content-Length: x\r\n", "400 0"},
        {post + "Content-Length: 5\r\n", "400 5 open"},
        {post + "Host:\r\nContent-Length: 5\r\n", "400 5 open"},
        {old + "Content-Length: 5\r\n", "0 5"},
        {old + "Content-Length: 5\r\nExpect: other\r\n", "0 5"},
        {old + "Host:\r\nContent-Length: 5\r\n", "400 5"},
        {"GET /cimom HTTP/1.1\r\n", "405 0 open"},
        {"GET /cimom HTTP/1.1\r\nContent-Length: 5\r\n", "405 5 open"},
        {"GET /cimom HTTP/1.1\r\nContent-Length: x\r\n", "405 0"},
        {"GET /cimom HTTP/1.1\r\nContent-Length: 101\r\n", "405 101"},
        {"M-POST /cimom HTTP/1.1\r\n", "501 0 open"},
        {"M-POST / HTTP/1.1\r\n", "404 0 open"},
        {"POST /cimom/ HTTP/1.1\r\nTransfer-Encoding: x\r\n", "404 0"},
        {"POST /cimom/ HTTP/1.0\r\n", "404 0"}};
    for (const auto& [head, planned] : rows) {
        EXPECT_EQ(Planned(head + "\r\n"), planned) << head;
    }
}

TEST(PlanRequestTest, LengthsDoNotOverflow) {
    const string head = "POST /cimom HTTP/1.1\r\nHost: h\r\nContent-Length: ";
    EXPECT_EQ(Planned(head + "18446744073709551615\r\n\r\n"), "413 18446744073709551615");
    EXPECT_EQ(Planned(head + "18446744073709551616\r\n\r\n"), "413 18446744073709551615");
    EXPECT_EQ(Planned(head + "18446744073709551621\r\n\r\n"), "413 18446744073709551615");
    EXPECT_EQ(Planned(head + "00000000000000000000000000099\r\n\r\n"), "0 99 open");
}

TEST(RequestHeadOfTest, TakesTheFieldsThatCount) {
    const auto head = wbemd::RequestHeadOf(*wbemd::ReadHead(
        "A b HTTP/1.1\r\ncimobject: o\r\nCIMMethod: m\r\nCIMOperation: p\r\nContent-Type: t\r\n"
        "X: y\r\n\r\n"));
    EXPECT_EQ(head.m_contentType, "t");
    EXPECT_EQ(head.m_contentEncoding, std::nullopt);
    EXPECT_EQ(head.m_cimOperation, "p");
    EXPECT_EQ(head.m_cimMethod, "m");
    EXPECT_EQ(head.m_cimObject, "o");
}

TEST(WriteHeadTest, WritesWhatEveryAnswerCarries) {
    wbemd::CHttpAnswer answer;
    answer.m_headers = {{"Content-Type", "x"}};
    answer.m_body = "12345";
    EXPECT_EQ(wbemd::WriteHead(answer, true, 784111777),
              "HTTP/1.1 200 OK\r\nDate: Sun, 06 Nov 1994 08:49:37 GMT\r\nContent-Type: x\r\n"
              "Content-Length: 5\r\n\r\n");
    answer.m_status = 299;
    EXPECT_EQ(wbemd::WriteHead(answer, false, 951782400),
              "HTTP/1.1 299 Unknown\r\nDate: Tue, 29 Feb 2000 00:00:00 GMT\r\nContent-Type: x\r\n"
              "Content-Length: 5\r\nConnection: close\r\n\r\n");
}

TEST(RefusalTest, SaysWhichVerbIsAllowed) {
    using Headers = std::vector<std::pair<string, string>>;
    const std::pair<string, string> type("Content-Type", "text/plain; charset=\"utf-8\"");
    EXPECT_EQ(wbemd::Refusal(wbemd::Status::MethodNotAllowed).m_headers,
              (Headers{type, {"Allow", "POST"}}));
    EXPECT_EQ(wbemd::Refusal(wbemd::Status::NotFound).m_headers, Headers{type});
}

TEST(RefusalTest, TheAnswerToHeadHasNoBody) {
    const auto plan = wbemd::PlanRequest(*wbemd::ReadHead("HEAD /cimom HTTP/1.1\r\n\r\n"), kBody);
    EXPECT_EQ(plan.m_refusal->m_status, 405U);
    EXPECT_EQ(plan.m_refusal->m_body, "");
}

TEST(RefusalTest, SaysWhetherTheConnectionStaysOpen) {
    using wbemd::Status;
    for (const Status status :
         {Status::NotFound, Status::MethodNotAllowed, Status::NotImplemented}) {
        EXPECT_TRUE(wbemd::Refusal(status).m_keepOpen) << static_cast<unsigned>(status);
    }
    for (const Status status : {Status::BadRequest, Status::LengthRequired, Status::ContentTooLarge,
                                Status::ExpectationFailed, Status::HeaderTooLarge,
                                Status::Unavailable, Status::VersionNotSupported}) {
        const auto refusal = wbemd::Refusal(status, "why");
        EXPECT_FALSE(refusal.m_keepOpen) << static_cast<unsigned>(status);
        EXPECT_EQ(refusal.m_status, static_cast<unsigned>(status));
        EXPECT_EQ(refusal.m_body, "why\n");
    }
}

} // namespace
