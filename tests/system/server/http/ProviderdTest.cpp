// The daemon that calls the provider, when it is there, away, or does what it should not.

#include "tests/system/server/http/CClient.h"
#include "tests/system/server/http/CFakeProviderd.h"
#include "tests/system/server/http/CServerProcess.h"

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <vector>

using messages::CallResult;
using std::string;

namespace {

const string kAway = Refused("503 Service Unavailable",
                             "The daemon that calls the provider cannot be reached. Try again "
                             "later.",
                             true);

const string kSilent = Refused("503 Service Unavailable",
                               "The daemon that calls the provider does not answer. Try again "
                               "later.",
                               true);

string Called(const string& text, bool isClosed = false) {
    return "HTTP/1.1 200 OK\r\nDate: *\r\nContent-Type: text/plain; "
           "charset=\"utf-8\"\r\nContent-Length: " +
           std::to_string(text.size() + 1) + (isClosed ? "\r\nConnection: close" : "") +
           "\r\n\r\n" + text + "\n";
}

std::vector<string> CheckAnd(const string& call) {
    return {"check changer right 127.0.0.1", "call changer right 127.0.0.1 " + call};
}

class ProviderdTest : public testing::Test {
protected:
    void Reload() {
        m_server.Signal(SIGHUP);
        m_server.AwaitLine("read anew");
    }

    CServerProcess m_server;
    std::unique_ptr<CFakeProviderd> m_providerd = std::make_unique<CFakeProviderd>();
};

TEST_F(ProviderdTest, IsAskedForACallWithTheSameCredentials) {
    EXPECT_EQ(AnswerTo(m_server, Post("call in")), Called("17 result=0 value=0 in"));
    EXPECT_EQ(m_providerd->Asked(), CheckAnd("GetParameter in"));
}

TEST_F(ProviderdTest, AnswersWhateverItAnswers) {
    for (const CallResult result : {CallResult::NotAllowed, CallResult::Died, CallResult::Failed}) {
        messages::CCallAnswer answer;
        answer.m_result = result;
        m_providerd->AnswerCalls(answer);
        EXPECT_EQ(AnswerTo(m_server, Post("call in")),
                  Called("17 result=" + std::to_string(static_cast<int>(result)) + " value=0 "));
    }
}

TEST_F(ProviderdTest, APasswordThatWasChangedMeanwhileIsWrong) {
    messages::CCallAnswer answer;
    answer.m_result = CallResult::WrongCredentials;
    m_providerd->AnswerCalls(answer);
    EXPECT_EQ(AnswerTo(m_server, Post("call in")), WrongCredentials());
}

TEST_F(ProviderdTest, IsReportedAwayAndFoundAgain) {
    m_providerd.reset();
    EXPECT_EQ(AnswerTo(m_server, Post("hi")), kAway);
    m_providerd = std::make_unique<CFakeProviderd>();
    EXPECT_EQ(AnswerTo(m_server, Post("hi")), Repeated("hi"));
}

TEST_F(ProviderdTest, AConnectionThatItClosedIsNotUsed) {
    CClient client(m_server.HttpPort());
    for (int i = 0; i < 3; ++i) {
        client.Send(Post("call " + std::to_string(i)));
        EXPECT_EQ(client.Answer(), Called("17 result=0 value=0 " + std::to_string(i)));
        m_providerd->HangUp();
    }
    EXPECT_EQ(m_providerd->Asked().size(), 4U); // a check, and a call each
}

TEST_F(ProviderdTest, ACallThatItDiedOfIsNotMadeAgain) {
    m_providerd->DieOnCalls();
    EXPECT_EQ(
        AnswerTo(m_server, Post("call in")),
        Called("17 result=" + std::to_string(static_cast<int>(CallResult::Died)) + " value=0 "));
    EXPECT_EQ(m_providerd->Asked(), CheckAnd("GetParameter in"));
}

TEST_F(ProviderdTest, ACheckThatHangsIsGivenUp) {
    m_server.SetConfiguration(kOnlyHttp + "CheckMilliseconds=200\n");
    Reload();
    m_providerd->HoldChecks();
    EXPECT_EQ(AnswerTo(m_server, Post("hi")), kSilent);
    EXPECT_EQ(m_providerd->Asked().size(), 1U);
    // The late answer is "right", and not for this question.
    m_providerd->Release();
    m_server.SetConfiguration(kOnlyHttp);
    Reload();
    EXPECT_EQ(AnswerTo(m_server, Head("Content-Length: 0\r\n" + Authorization("changer", "wrong"))),
              WrongCredentials());
    EXPECT_EQ(AnswerTo(m_server, Post("hi")), Repeated("hi"));
}

TEST_F(ProviderdTest, ACallThatHangsIsOfUnknownEndAndIsNotMadeAgain) {
    m_server.SetConfiguration(kOnlyHttp + "CallMilliseconds=200\n");
    Reload();
    m_providerd->HoldCalls();
    CClient client(m_server.HttpPort());
    client.Send(Post("call in"));
    EXPECT_EQ(
        client.Answer(),
        Called("17 result=" + std::to_string(static_cast<int>(CallResult::Unknown)) + " value=0 "));
    EXPECT_EQ(m_providerd->Asked(), CheckAnd("GetParameter in"));
    m_server.SetConfiguration(kOnlyHttp);
    Reload();
    m_providerd->Release();
    client.Send(Post("call next"));
    EXPECT_EQ(client.Answer(), Called("17 result=0 value=0 next"));
    EXPECT_EQ(m_providerd->Asked().size(), 4U) << "nobody has read: a check comes first";
}

// A call that is longer than what a connection holds, and of which nobody takes anything.
TEST_F(ProviderdTest, ACallThatCouldNotBeSentWasNotMade) {
    m_server.SetConfiguration(kOnlyHttp + "CallMilliseconds=200\n");
    Reload();
    m_providerd->StopReadingAfterChecks();
    EXPECT_EQ(AnswerTo(m_server, Post("call " + string(5'000'000, 'x'))), kAway);
    EXPECT_EQ(m_providerd->Asked().size(), 1U);
    EXPECT_EQ(AnswerTo(m_server, Post("hi")), Repeated("hi")) << "on another connection";
}

TEST_F(ProviderdTest, ACallWithoutMemoryForItsAnswerIsNotToldAsUnmade) {
    for (const std::size_t length : {0U, 100'000U}) { // by the loop, and by the worker
        EXPECT_EQ(AnswerTo(m_server, Post("call no memory" + string(length, 'x'))),
                  Called("called, but there is no memory", true));
    }
    EXPECT_EQ(AnswerTo(m_server, Post("hi")), Repeated("hi")) << "and it goes on";
}

TEST_F(ProviderdTest, ACheckThatItDiedOfLetsNobodyIn) {
    m_providerd->DieOnChecks();
    EXPECT_EQ(AnswerTo(m_server, Post("hi")), kAway);
    EXPECT_EQ(m_providerd->Asked().size(), 1U);
}

TEST_F(ProviderdTest, WhatIsNoAnswerLetsNobodyIn) {
    const string header = string("\x02\0\0\0", 4);
    for (const string& bytes : {string("\xFF\xFF\xFF\xFF", 4), header + "xy", string("\0\0\0\0", 4),
                                messages::Encode(messages::CCallAnswer{CallResult::Done, 0, ""})}) {
        m_providerd->AnswerBytes(bytes);
        EXPECT_EQ(AnswerTo(m_server, Post("hi")), kAway);
        m_providerd->HangUp();
    }
}

TEST_F(ProviderdTest, AnAnswerTooManyIsNotTakenForTheNext) {
    const messages::CCheckAnswer yes{true, messages::Right::Change};
    m_providerd->AnswerBytes(messages::Encode(yes) + messages::Encode(yes));
    EXPECT_EQ(AnswerTo(m_server, Post("hi")), Repeated("hi"));
    m_providerd->AnswerBytes("");
    EXPECT_EQ(AnswerTo(m_server, "POST /cimom HTTP/1.1\r\nHost: h\r\nContent-Length: 0\r\n" +
                                     Authorization("changer", "wrong") + "\r\n"),
              WrongCredentials());
}

TEST_F(ProviderdTest, IsAskedByManyClientsAtOnce) {
    m_providerd->HoldChecks();
    std::vector<CClient> clients;
    for (int i = 0; i < 30; ++i) {
        clients.emplace_back(m_server.HttpPort());
        clients.back().Send(Post(std::to_string(i)));
    }
    m_providerd->AwaitAsked(30);
    m_providerd->Release();
    for (int i = 0; i < 30; ++i) {
        EXPECT_EQ(clients[static_cast<std::size_t>(i)].Answer(), Repeated(std::to_string(i)));
    }
}

} // namespace
