// The same by https.

#include "KzmPaths.h"
#include "tests/support/CProcessLimit.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/ProcessMemory.h"
#include "tests/system/server/http/CClient.h"
#include "tests/system/server/http/CFakeProviderd.h"
#include "tests/system/server/http/CServerProcess.h"
#include "tests/system/server/http/Certificates.h"

#include <gtest/gtest.h>

#include <openssl/ssl.h>

#include <chrono>
#include <csignal>
#include <thread>

using std::string;

namespace {

const string kListen = "Listen=127.0.0.1:0\n";

class TlsTest : public testing::Test {
protected:
    TlsTest() { InstallCertificate(MakeCertificate("first")); }

    CFakeProviderd m_providerd;
};

TEST_F(TlsTest, Serves) {
    const CServerProcess server(kListen);
    CClient client(server.HttpsPort(), CClient::Kind::Https);
    ASSERT_TRUE(client.IsReady());
    EXPECT_EQ(client.ServerName(), "first");
    client.Send(Post("hi") + Post("again"));
    EXPECT_EQ(client.Answer(), Repeated("hi"));
    EXPECT_EQ(client.Answer(), Repeated("again"));
    const string body(3'000'000, 'y');
    client.Send(Post(body));
    EXPECT_TRUE(client.Answer() == Repeated(body));
    client.Send(Post("call x", "Connection: close\r\n"));
    EXPECT_NE(client.Answer().find("17 result=0 value=0 x"), string::npos);
    EXPECT_TRUE(client.IsEnd());
}

TEST_F(TlsTest, AnAnswerOfTwoRecordsComesInOnePieceAndAtOnce) {
    const CServerProcess server(kListen);
    CClient client(server.HttpsPort(), CClient::Kind::Https);
    client.Send(Post("hi"));
    EXPECT_EQ(client.Answer(), Repeated("hi"));
    unsigned pieces = 100;
    std::chrono::steady_clock::duration quickest = std::chrono::hours(1);
    for (int i = 0; i < 10; ++i) {
        const unsigned before = client.Pieces();
        const auto begin = std::chrono::steady_clock::now();
        client.Send(Post("long 20000"));
        EXPECT_TRUE(client.Answer() == LongAnswer(20'000));
        quickest = std::min(quickest, std::chrono::steady_clock::now() - begin);
        pieces = std::min(pieces, client.Pieces() - before);
    }
    EXPECT_EQ(pieces, 1U);
    EXPECT_LT(quickest, std::chrono::milliseconds(100)) << "the system sends of itself after 200";
}

TEST_F(TlsTest, ASlowReaderThatTakesSomethingGetsAll) {
    constexpr std::chrono::milliseconds kTakingTime{1000};
    const CServerProcess server(kListen +
                                "AnswerMilliseconds=" + std::to_string(kTakingTime.count()) + "\n");
    CClient::UseSmallBuffers(true);
    CClient client(server.HttpsPort(), CClient::Kind::Https);
    CClient::UseSmallBuffers(false);
    constexpr std::size_t kLength = 6'000'000; // more than the system takes off the server's hands
    client.Send(Post("long " + std::to_string(kLength)));
    constexpr std::size_t kPiece = 50'000;
    constexpr std::size_t kPieces = 12;
    for (std::size_t i = 0; i < kPieces; ++i) {
        client.Skip(kPiece);
        std::this_thread::sleep_for(kTakingTime / 7); // a slow reader
    }
    constexpr std::size_t kDateBytes = 29; // which stand there as one star
    client.Skip(LongAnswer(kLength).size() - 1 + kDateBytes - kPieces * kPiece);
    client.Send(Post("hi"));
    EXPECT_EQ(client.Answer(), Repeated("hi")) << "which comes next";
}

TEST_F(TlsTest, ListensOnAllAddressesAndTellsThePeerAsItIsKnown) {
    const CServerProcess server("Listen=*:0\n");
    for (const char* const from : {"127.0.0.1", "127.0.0.9"}) {
        CClient client(server.HttpsPort(), CClient::Kind::Https, true, from);
        client.Send(Post("hi"));
        EXPECT_EQ(client.Answer(), Repeated("hi"));
        EXPECT_EQ(m_providerd.Asked().back(), string("check changer right ") + from);
    }
}

TEST_F(TlsTest, ServesNoTlsBefore12) {
    const CServerProcess server(kListen);
    CClient::UseVersion(TLS1_1_VERSION);
    const CClient old(server.HttpsPort(), CClient::Kind::Https);
    EXPECT_FALSE(old.IsReady());
    CClient::UseVersion(TLS1_2_VERSION);
    CClient client(server.HttpsPort(), CClient::Kind::Https);
    client.Send(Post("hi"));
    EXPECT_EQ(client.Answer(), Repeated("hi"));
    CClient::UseVersion(0);
}

TEST_F(TlsTest, EndsAHandshakeThatDoesNotGoOn) {
    const CServerProcess server(kListen + "HandshakeMilliseconds=100\n");
    CClient silent(server.HttpsPort(), CClient::Kind::Https, false);
    EXPECT_TRUE(silent.IsEnd());
}

TEST_F(TlsTest, HttpOnThePortOfHttpsIsNotAnswered) {
    const CServerProcess server(kListen);
    CClient client(server.HttpsPort());
    client.Send(Post("hi"));
    client.Skip(0);
    CClient good(server.HttpsPort(), CClient::Kind::Https);
    good.Send(Post("hi"));
    EXPECT_EQ(good.Answer(), Repeated("hi"));
    EXPECT_EQ(m_providerd.Asked().size(), 1U);
}

TEST_F(TlsTest, OneConnectionTooManyIsClosedBeforeTheHandshake) {
    const CServerProcess server(kListen + "MaxConnectionsPerPeer=1\n");
    const CClient first(server.HttpsPort(), CClient::Kind::Https);
    EXPECT_TRUE(first.IsReady());
    const CClient second(server.HttpsPort(), CClient::Kind::Https);
    EXPECT_FALSE(second.IsReady());
}

// What cannot be served for want of memory is closed, and counts no more.
TEST_F(TlsTest, ConnectionsWithoutMemoryLeaveTheirPlaces) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "the sanitizers take memory of their own";
#endif
    constexpr int kPlaces = 5;
    CServerProcess server(kListen + "MaxConnections=" + std::to_string(kPlaces) + "\n");
    std::vector<CClient> clients;
    {
        const CProcessLimit none(server.Id(), RLIMIT_DATA, MemoryOf(server.Id(), "VmData"));
        for (int closed = 0; closed < 2 * kPlaces;) {
            CClient client(server.HttpsPort(), CClient::Kind::Https);
            if (client.IsReady()) { // by what memory there is
                clients.push_back(std::move(client));
                ASSERT_LT(clients.size(), static_cast<std::size_t>(kPlaces));
            } else {
                ++closed;
            }
        }
        server.AwaitLine("A connection was given up");
    }
    clients.clear();
    for (int i = 0; i < kPlaces; ++i) {
        clients.emplace_back(server.HttpsPort(), CClient::Kind::Https);
        EXPECT_TRUE(clients.back().IsReady()) << i;
    }
}

TEST_F(TlsTest, ANewCertificateIsShownAndOldConnectionsGoOn) {
    CServerProcess server(kListen);
    CClient old(server.HttpsPort(), CClient::Kind::Https);
    old.Send(Post("hi"));
    EXPECT_EQ(old.Answer(), Repeated("hi"));
    InstallCertificate(MakeCertificate("second"));
    server.Signal(SIGHUP);
    server.AwaitLine("read anew");
    CClient fresh(server.HttpsPort(), CClient::Kind::Https);
    EXPECT_EQ(fresh.ServerName(), "second");
    for (CClient* const client : {&old, &fresh}) {
        client->Send(Post("hi"));
        EXPECT_EQ(client->Answer(), Repeated("hi"));
    }
}

TEST_F(TlsTest, ABrokenCertificateIsRefusedAndTheOldOneGoesOn) {
    CServerProcess server(kListen);
    const CCertificate other = MakeCertificate("other");
    WriteFile(KzmPaths::kWbemdCertificate, other.m_certificate);
    server.Signal(SIGHUP);
    server.AwaitLine("holds no key of the certificate that can be read");
    server.AwaitLine("the old one goes on");
    const CClient client(server.HttpsPort(), CClient::Kind::Https);
    EXPECT_EQ(client.ServerName(), "first");
}

TEST_F(TlsTest, AnExpiredCertificateIsServedAndLogged) {
    InstallCertificate(MakeCertificate("expired", -100, -10));
    CServerProcess server(kListen);
    CClient client(server.HttpsPort(), CClient::Kind::Https);
    client.Send(Post("hi"));
    EXPECT_EQ(client.Answer(), Repeated("hi"));
    server.Signal(SIGHUP);
    server.AwaitLine("has expired");
}

TEST_F(TlsTest, ACertificateThatSoonExpiresIsLogged) {
    InstallCertificate(MakeCertificate("soon", -60, 13 * kDay));
    CServerProcess server(kListen);
    server.Signal(SIGHUP);
    server.AwaitLine("the certificate expires on 20");
}

} // namespace
