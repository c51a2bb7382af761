// Connections: requests one after the other, times and numbers.

#include "tests/system/server/http/CClient.h"
#include "tests/system/server/http/CFakeProviderd.h"
#include "tests/system/server/http/CServerProcess.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>

using std::string;

namespace {

// As short as a client of ours keeps to also when the machine is busy with other things.
constexpr std::chrono::milliseconds kRequestTime(700);
constexpr std::chrono::milliseconds kIdleTime(900);
constexpr std::chrono::milliseconds kAnswerTime(700);
const string kShortTimes = "RequestMilliseconds=" + std::to_string(kRequestTime.count()) +
                           "\nIdleMilliseconds=" + std::to_string(kIdleTime.count()) +
                           "\nAnswerMilliseconds=" + std::to_string(kAnswerTime.count()) + "\n";
constexpr std::chrono::seconds kPatience(10);
const string kContinued = "HTTP/1.1 100 Continue\r\n\r\n";

std::chrono::milliseconds Since(std::chrono::steady_clock::time_point begin) {
    const auto time = std::chrono::steady_clock::now() - begin;
    return std::chrono::duration_cast<std::chrono::milliseconds>(time);
}

class ConnectionTest : public testing::Test {
protected:
    CFakeProviderd m_providerd;
};

TEST_F(ConnectionTest, ServesRequestsOneAfterTheOther) {
    const CServerProcess server;
    CClient client(server.HttpPort());
    for (int i = 0; i < 50; ++i) {
        client.Send(Post(std::to_string(i)));
        EXPECT_EQ(client.Answer(), Repeated(std::to_string(i)));
    }
}

TEST_F(ConnectionTest, AnswersPipelinedRequestsInTheirOrder) {
    const CServerProcess server;
    CClient client(server.HttpPort());
    string requests;
    for (int i = 0; i < 20; ++i) {
        requests += Post(std::to_string(i));
    }
    client.Send(requests + Post("call slowly") + Post("last", "Connection: close\r\n") +
                Post("never"));
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(client.Answer(), Repeated(std::to_string(i)));
    }
    EXPECT_NE(client.Answer().find("17 result=0 value=0 slowly\n"), string::npos);
    EXPECT_NE(client.Answer().find("right=2\nlast\n"), string::npos);
    EXPECT_TRUE(client.IsEnd());
}

TEST_F(ConnectionTest, SkipsTheBodyOfARefusedRequest) {
    const CServerProcess server;
    CClient client(server.HttpPort());
    const string body(300'000, 'x');
    client.Send("POST /cimom HTTP/1.1\r\nHost: h\r\nContent-Length: " +
                std::to_string(body.size()) + "\r\n\r\n" + body + Post("hi"));
    EXPECT_EQ(client.Answer(), WrongCredentials());
    EXPECT_EQ(client.Answer(), Repeated("hi"));
}

TEST_F(ConnectionTest, TakesRequestsByteByByte) {
    const CServerProcess server;
    CClient client(server.HttpPort());
    for (const char byte : Post("hello") + Post("again")) {
        client.Send(string(1, byte));
    }
    EXPECT_EQ(client.Answer(), Repeated("hello"));
    EXPECT_EQ(client.Answer(), Repeated("again"));
}

TEST_F(ConnectionTest, AsksForABodyOnceTheCredentialsAreRight) {
    const CServerProcess server;
    CClient client(server.HttpPort());
    for (int i = 0; i < 2; ++i) {
        client.Send(Head("Content-Length: 2\r\nExpect: 100-Continue\r\n"));
        EXPECT_EQ(client.Answer(), kContinued);
        client.Send("hi");
        EXPECT_EQ(client.Answer(), Repeated("hi"));
    }
}

TEST_F(ConnectionTest, AnswersAClientThatHasSaidAll) {
    const CServerProcess server;
    CClient client(server.HttpPort());
    client.Send(Post("hi"));
    client.EndSending();
    EXPECT_EQ(client.Answer(), Repeated("hi"));
    EXPECT_TRUE(client.IsEnd());
}

// The answer is not lost to the reset of a connection on which the client is still sending.
TEST_F(ConnectionTest, TheRefusalOfALongBodyArrives) {
    const CServerProcess server("MaxBodyBytes=1000\n");
    CClient client(server.HttpPort());
    client.Send(Post(string(1'000'000, 'x')));
    EXPECT_EQ(client.Answer(), Refused("413 Content Too Large", "The request is too long.", true));
}

TEST_F(ConnectionTest, TakesAndGivesLongTexts) {
    const CServerProcess server;
    CClient client(server.HttpPort());
    const string body(5'000'000, 'y');
    client.Send(Post(body));
    EXPECT_TRUE(client.Answer() == Repeated(body));
    client.Send(Post("long 5000000"));
    EXPECT_TRUE(client.Answer() == LongAnswer(5'000'000));
    client.Send(Post("call " + body));
    EXPECT_NE(client.Answer().find("17 result=0 value=0 " + body), string::npos);
    client.Send(Post("hi"));
    EXPECT_EQ(client.Answer(), Repeated("hi"));
}

TEST_F(ConnectionTest, SaysThatMemoryIsUsedUp) {
    const CServerProcess server("MaxBodyBytes=1000\nMaxBodyMemoryBytes=1500\n");
    CClient first(server.HttpPort());
    first.Send(Head("Content-Length: 1000\r\nExpect: 100-continue\r\n"));
    EXPECT_EQ(first.Answer(), kContinued);
    CClient second(server.HttpPort());
    second.Send(Post(string(501, 'x')));
    EXPECT_EQ(second.Answer(), Busy());
    first.Send(string(1000, 'x'));
    EXPECT_EQ(first.Answer(), Repeated(string(1000, 'x')));
    CClient third(server.HttpPort());
    third.Send(Post(string(1000, 'x')));
    EXPECT_EQ(third.Answer(), Repeated(string(1000, 'x')));
    third.Send(Post("no memory"));
    EXPECT_EQ(third.Answer(),
              Refused("503 Service Unavailable",
                      "The server failed to answer. It may be short of memory.", true));
}

const string kUntold = "HTTP/1.1 200 OK\r\nDate: *\r\nContent-Type: text/plain; "
                       "charset=\"utf-8\"\r\nContent-Length: 31\r\nConnection: close\r\n\r\n"
                       "called, but there is no memory\n";

// A client that does not take the answer that it asks for.
CClient SlowClient(const CServerProcess& server, const string& body) {
    CClient::UseSmallBuffers(true);
    CClient client(server.HttpPort());
    CClient::UseSmallBuffers(false);
    client.Send(Post(body));
    return client;
}

TEST_F(ConnectionTest, AnswersThatAreNotTakenHaveALimitTogether) {
    constexpr std::size_t kLength = 6'000'000; // more than the system takes off our hands
    const string longOne = "long " + std::to_string(kLength);
    const CServerProcess server("MaxAnswerMemoryBytes=" + std::to_string(kLength * 2 - 1) + "\n");
    {
        CClient slow = SlowClient(server, longOne);
        slow.Skip(1); // it has its share
        EXPECT_EQ(AnswerTo(server, Post(longOne)), Busy());
        EXPECT_EQ(AnswerTo(server, Post("long 65536")), LongAnswer(65'536)) << "which is short";
        EXPECT_EQ(AnswerTo(server, Post("long 65537")), LongAnswer(65'537)) << "which has room";
        constexpr std::size_t kDateBytes = 29; // which stand there as one star
        slow.Skip(LongAnswer(kLength).size() - 1 + kDateBytes - 1);
        EXPECT_EQ(AnswerTo(server, Post(longOne)), LongAnswer(kLength)) << "it has taken all";
        CClient next = SlowClient(server, longOne);
        next.Skip(1);
        EXPECT_EQ(AnswerTo(server, Post(longOne)), Busy());
    }
    string answer = Busy(); // until it is seen that the client is gone
    const auto begin = std::chrono::steady_clock::now();
    while (answer == Busy() && Since(begin) < kPatience) {
        answer = AnswerTo(server, Post(longOne));
    }
    EXPECT_EQ(answer, LongAnswer(kLength));
}

// What kzm-providerd answers counts, too, and then what is made of it.
TEST_F(ConnectionTest, ACallWhoseAnswerHasNoMemoryIsNotToldAsUnmade) {
    const CServerProcess server("MaxAnswerMemoryBytes=100000\n");
    const string fits(99'000, 'x');
    EXPECT_NE(AnswerTo(server, Post("call " + fits)).find(fits), string::npos);
    for (const std::size_t length : {99'985U, 100'000U}) { // of what is made; of what is received
        EXPECT_EQ(AnswerTo(server, Post("call " + string(length, 'x'))), kUntold) << length;
    }
    EXPECT_NE(AnswerTo(server, Post("call " + fits)).find(fits), string::npos) << "and it goes on";
}

// Who has read asks for a call at once, and so these bytes are the answer to it.
TEST_F(ConnectionTest, AnAnswerHasItsMemoryBeforeItComes) {
    const CServerProcess server("MaxAnswerMemoryBytes=100000\n");
    const string tooLong("\x40\x0D\x03\0", 4); // says 200,000 bytes, of which none come
    const string fits("\x90\x5F\x01\0", 4);    // says 90,000
    CClient refused(server.HttpPort());
    CClient waiting(server.HttpPort());
    for (CClient* client : {&refused, &waiting}) {
        client->Send(Post("call x"));
        EXPECT_NE(client->Answer(), "");
    }
    m_providerd.AnswerBytes(tooLong);
    refused.Send(Post("call y"));
    EXPECT_EQ(refused.Answer(), kUntold);
    m_providerd.AnswerBytes(fits);
    waiting.Send(Post("call y"));
    m_providerd.AwaitAsked(6);
    m_providerd.AnswerBytes("");
    EXPECT_EQ(AnswerTo(server, Post("long 65537")), Busy());
}

TEST_F(ConnectionTest, ANewLimitOfAnswersCountsFromTheReload) {
    CServerProcess server("MaxAnswerMemoryBytes=100000\n");
    EXPECT_EQ(AnswerTo(server, Post("long 100001")), Busy());
    CServerProcess::SetConfiguration(
        "Listen=\nListenPlain=127.0.0.1:0\nMaxAnswerMemoryBytes=100001\n");
    server.Signal(SIGHUP);
    server.AwaitLine("read anew");
    EXPECT_EQ(AnswerTo(server, Post("long 100001")), LongAnswer(100'001));
}

struct CSlowRow {
    const char* m_what;
    string m_sent;
    std::chrono::milliseconds m_time; // until the end
};

TEST_F(ConnectionTest, EndsConnectionsThatTakeTooLong) {
    const CServerProcess server(kShortTimes);
    const CSlowRow rows[] = {
        {"idle from the beginning", "", kIdleTime},
        {"a head that does not go on", "POST /cimom", kRequestTime},
        {"a body that does not go on", Head("Content-Length: 2\r\n") + "h", kRequestTime},
        {"a body that is asked for and does not come",
         Head("Content-Length: 2\r\nExpect: 100-continue\r\n"), kRequestTime},
    };
    for (const CSlowRow& row : rows) {
        const auto begin = std::chrono::steady_clock::now();
        CClient client(server.HttpPort());
        client.Send(row.m_sent);
        if (row.m_sent.find("Expect") != string::npos) {
            EXPECT_EQ(client.Answer(), kContinued);
        }
        EXPECT_TRUE(client.IsEnd()) << row.m_what;
        EXPECT_GE(Since(begin), row.m_time - std::chrono::milliseconds(1)) << row.m_what;
    }
}

TEST_F(ConnectionTest, TheTimeOfARequestRunsFromItsFirstByte) {
    const CServerProcess server(kShortTimes);
    const auto begin = std::chrono::steady_clock::now();
    CClient client(server.HttpPort());
    bool isOpen = true;
    for (const char byte : Head("Content-Length: 0\r\n")) {
        isOpen = isOpen && client.Send(string(1, byte));
        std::this_thread::sleep_for(kRequestTime / 20); // a slow sender
        if (!isOpen) {
            break;
        }
    }
    EXPECT_FALSE(isOpen);
    EXPECT_GE(Since(begin), kRequestTime);
}

TEST_F(ConnectionTest, EndsAConnectionThatIsIdleAfterAnAnswer) {
    const CServerProcess server(kShortTimes);
    CClient client(server.HttpPort());
    const auto begin = std::chrono::steady_clock::now();
    client.Send(Post("hi"));
    EXPECT_EQ(client.Answer(), Repeated("hi"));
    EXPECT_TRUE(client.IsEnd());
    EXPECT_GE(Since(begin), kIdleTime);
}

TEST_F(ConnectionTest, TheTimeThatACheckOrACallTakesIsNotTheClients) {
    constexpr std::chrono::milliseconds kLong = kRequestTime + std::chrono::milliseconds(50);
    const CServerProcess server(kShortTimes);
    CClient client(server.HttpPort());
    m_providerd.HoldChecks();
    client.Send(Head("Content-Length: 6\r\nExpect: 100-continue\r\n"));
    m_providerd.AwaitAsked(1);
    std::this_thread::sleep_for(kLong);
    m_providerd.Release();
    EXPECT_EQ(client.Answer(), kContinued);
    std::this_thread::sleep_for(kRequestTime / 8); // the client's own time
    m_providerd.HoldCalls();
    client.Send("call x");
    m_providerd.AwaitAsked(2);
    std::this_thread::sleep_for(kLong);
    m_providerd.Release();
    EXPECT_NE(client.Answer().find("17 result=0 value=0 x"), string::npos);
}

TEST_F(ConnectionTest, CutsAClientThatTakesNothingOfItsAnswer) {
    const CServerProcess server(kShortTimes + "MaxConnectionsPerPeer=1\n");
    CClient::UseSmallBuffers(true);
    CClient client(server.HttpPort());
    CClient::UseSmallBuffers(false);
    const auto begin = std::chrono::steady_clock::now();
    client.Send(Post("long 20000000"));
    m_providerd.AwaitAsked(1);
    // Its place is free as soon as it is cut.
    string answer = Busy();
    while (answer == Busy() && Since(begin) < kAnswerTime * 10) {
        CClient next(server.HttpPort());
        next.Send(Post("hi"));
        answer = next.Answer();
    }
    EXPECT_EQ(answer, Repeated("hi"));
    EXPECT_GE(Since(begin), kAnswerTime);
}

TEST_F(ConnectionTest, ASlowReaderThatTakesSomethingGetsAll) {
    const CServerProcess server(kShortTimes);
    CClient::UseSmallBuffers(true);
    CClient client(server.HttpPort());
    CClient::UseSmallBuffers(false);
    constexpr std::size_t kLength = 6'000'000;
    client.Send(Post("long " + std::to_string(kLength)));
    constexpr std::size_t kPiece = 50'000;
    constexpr std::size_t kPieces = 30;
    for (std::size_t i = 0; i < kPieces; ++i) {
        client.Skip(kPiece);
        std::this_thread::sleep_for(kAnswerTime / 7); // a slow reader
    }
    client.Skip(kLength - kPieces * kPiece);
}

TEST_F(ConnectionTest, HoldsTheNumberOfConnectionsFromOnePeer) {
    const CServerProcess server("MaxConnectionsPerPeer=3\n");
    std::vector<CClient> clients;
    for (int i = 0; i < 3; ++i) {
        clients.emplace_back(server.HttpPort());
    }
    CClient refused(server.HttpPort());
    refused.Send(Post("hi"));
    EXPECT_EQ(refused.Answer(), Busy());
    EXPECT_TRUE(refused.IsEnd());
    CClient other(server.HttpPort(), CClient::Kind::Http, true, "127.0.0.2");
    other.Send(Post("hi"));
    EXPECT_EQ(other.Answer(), Repeated("hi"));
    for (CClient& client : clients) {
        client.Send(Post("hi", "Connection: close\r\n"));
        EXPECT_NE(client.Answer(), "");
        EXPECT_TRUE(client.IsEnd());
    }
    clients.clear();
    CClient again(server.HttpPort());
    again.Send(Post("hi"));
    EXPECT_EQ(again.Answer(), Repeated("hi"));
}

TEST_F(ConnectionTest, HoldsTheNumberOfConnections) {
    CServerProcess server("MaxConnections=4\n");
    std::vector<CClient> clients;
    for (int i = 2; i < 6; ++i) {
        clients.emplace_back(server.HttpPort(), CClient::Kind::Http, true,
                             "127.0.0." + std::to_string(i));
        clients.back().Send(Post("hi"));
        EXPECT_EQ(clients.back().Answer(), Repeated("hi"));
    }
    for (int i = 0; i < 100; ++i) {
        CClient refused(server.HttpPort());
        EXPECT_EQ(refused.Answer(), Busy());
    }
    clients.front().Send(Post("hi"));
    EXPECT_EQ(clients.front().Answer(), Repeated("hi"));
    server.AwaitLine("one from 127.0.0.1 is refused");
    server.Signal(SIGTERM);
    server.AwaitEnd();
    EXPECT_EQ(server.Rest().find("is refused"), string::npos);
}

TEST_F(ConnectionTest, AClientThatLeavesTakesNothingWithIt) {
    const CServerProcess server;
    m_providerd.HoldCalls();
    {
        CClient client(server.HttpPort());
        client.Send(Post("call x"));
        m_providerd.AwaitAsked(2);
        CClient halfHead(server.HttpPort());
        halfHead.Send("POST /ci");
        CClient halfBody(server.HttpPort());
        halfBody.Send(Head("Content-Length: 2\r\n") + "h");
        m_providerd.AwaitAsked(3);
    }
    m_providerd.Release();
    CClient client(server.HttpPort());
    client.Send(Post("hi"));
    EXPECT_EQ(client.Answer(), Repeated("hi"));
    EXPECT_EQ(m_providerd.Asked().size(), 4U);
}

} // namespace
