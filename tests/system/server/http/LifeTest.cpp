// How the front end begins, changes its configuration, and ends.

#include "KzmPaths.h"
#include "tests/support/CProcessLimit.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/Descriptors.h"
#include "tests/support/ProcessMemory.h"
#include "tests/system/server/http/CClient.h"
#include "tests/system/server/http/CFakeProviderd.h"
#include "tests/system/server/http/CServerProcess.h"
#include "tests/system/server/http/Certificates.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <csignal>
#include <filesystem>

namespace fs = std::filesystem;
using std::string;

namespace {

const string kPath = KzmPaths::kWbemdConfig;

class LifeTest : public testing::Test {
protected:
    LifeTest() { fs::remove(KzmPaths::kWbemdCertificate); }

    CFakeProviderd m_providerd;
};

TEST_F(LifeTest, EndsAtOnceWhenNothingHasBegun) {
    CServerProcess server;
    CClient idle(server.HttpPort());
    idle.Send(Post("hi"));
    EXPECT_EQ(idle.Answer(), Repeated("hi"));
    server.Signal(SIGTERM);
    EXPECT_EQ(server.AwaitEnd(), 0);
    EXPECT_TRUE(idle.IsEnd());
}

TEST_F(LifeTest, AnswersWhatHasBegunAndRefusesTheRest) {
    CServerProcess server;
    CClient idle(server.HttpPort());
    idle.Send(Post("hi"));
    EXPECT_EQ(idle.Answer(), Repeated("hi"));
    m_providerd.HoldCalls();
    CClient begun(server.HttpPort());
    begun.Send(Post("call x"));
    m_providerd.AwaitAsked(3);
    server.Signal(SIGTERM);
    server.AwaitLine("Ending");
    idle.Send(Post("hi"));
    EXPECT_EQ(idle.Answer(), Busy());
    CClient late(server.HttpPort());
    late.Send(Post("hi"));
    EXPECT_EQ(late.Answer(), Busy());
    m_providerd.Release();
    const string answer = begun.Answer();
    EXPECT_NE(answer.find("17 result=0 value=0 x"), string::npos);
    EXPECT_NE(answer.find("Connection: close"), string::npos);
    EXPECT_TRUE(begun.IsEnd());
    idle.EndSending();
    late.EndSending();
    begun.EndSending();
    EXPECT_EQ(server.AwaitEnd(), 0);
}

TEST_F(LifeTest, UsesANewConfigurationAndKeepsItsConnections) {
    CServerProcess server;
    CClient old(server.HttpPort());
    old.Send(Post("hi"));
    EXPECT_EQ(old.Answer(), Repeated("hi"));
    const int port = server.HttpPort();
    CServerProcess::SetConfiguration("Listen=\nListenPlain=127.0.0.1:0 [::1]:0\nMaxBodyBytes=4\n");
    server.Signal(SIGHUP);
    EXPECT_NE(server.AwaitLine("(http).").find("[::1]:"), string::npos);
    server.AwaitLine("read anew");
    CClient fresh(port);
    for (CClient* const client : {&old, &fresh}) {
        client->Send(Post("hi"));
        EXPECT_EQ(client->Answer(), Repeated("hi"));
        client->Send(Post("hello"));
        EXPECT_EQ(client->Answer(),
                  Refused("413 Content Too Large", "The request is too long.", true));
    }
}

TEST_F(LifeTest, RefusesABrokenConfigurationAndGoesOn) {
    CServerProcess server;
    for (const char* const lines :
         {"Listen=\nListenPlain=127.0.0.1:0\nMaxBodyBytes=-1\n",
          "Listen=\nListenPlain=127.0.0.1:0\nUnknown=1\n", "Listen=127.0.0.1:0\n", "Listen=\n"}) {
        CServerProcess::SetConfiguration(lines);
        server.Signal(SIGHUP);
        server.AwaitLine(kPath);
        server.AwaitLine("the old one goes on");
    }
    CServerProcess::SetConfiguration(
        "Listen=\nListenPlain=127.0.0.1:0 127.0.0.1:" + std::to_string(server.HttpPort()) + "\n");
    server.Signal(SIGHUP);
    server.AwaitLine("The old configuration goes on");
    CClient client(server.HttpPort());
    client.Send(Post("hello"));
    EXPECT_EQ(client.Answer(), Repeated("hello"));
}

TEST_F(LifeTest, GoesOnWhenDescriptorsAreUsedUp) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "the sanitizers look at objects by descriptors of their own";
#endif
    CServerProcess server;
    CClient client(server.HttpPort());
    client.Send(Post("hi"));
    EXPECT_EQ(client.Answer(), Repeated("hi"));
    std::unique_ptr<CClient> waiting;
    {
        const CProcessLimit none(server.Id(), RLIMIT_NOFILE, 3);
        waiting = std::make_unique<CClient>(server.HttpPort());
        waiting->Send(Post("hi"));
        server.AwaitLine("cannot be taken for now");
        client.Send(Post("hi"));
        EXPECT_EQ(client.Answer(), Repeated("hi"));
    }
    EXPECT_EQ(waiting->Answer(), Repeated("hi"));
}

TEST_F(LifeTest, GoesOnWhenMemoryIsUsedUp) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "the sanitizers take memory of their own";
#endif
    CServerProcess server("MaxConnections=1000\nMaxConnectionsPerPeer=1000\n");
    {
        const CProcessLimit none(server.Id(), RLIMIT_DATA, MemoryOf(server.Id(), "VmData"));
        std::vector<CClient> clients;
        for (int i = 0; i < 500; ++i) {
            clients.emplace_back(server.HttpPort());
        }
        EXPECT_TRUE(clients.back().IsEnd()) << "it is closed";
    }
    CClient client(server.HttpPort());
    client.Send(Post("hi"));
    EXPECT_EQ(client.Answer(), Repeated("hi"));
}

// Whichever allocation finds no memory, the server takes the next connection. The connections stay
// open, so that each one needs memory of its own.
TEST_F(LifeTest, GoesOnWithoutMemoryForOneThing) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "the sanitizers have an allocator of their own";
#endif
    constexpr int kMost = 60; // a request has fewer allocations
    CServerProcess server("MaxConnections=1000\nMaxConnectionsPerPeer=1000\n");
    std::vector<CClient> clients;
    const auto ask = [&](const string& body) {
        clients.emplace_back(server.HttpPort()).Send(Post(body));
        return clients.back().Answer();
    };
    for (const string& body : {string("hi"), "short " + string(100'000, 'x')}) {
        for (int n = 1; n <= kMost; ++n) {
            SCOPED_TRACE(body.substr(0, 5) + ", allocation " + std::to_string(n));
            ask("lack " + std::to_string(n));
            ask(body);
            ask("lack 0"); // which may be too late
            ASSERT_EQ(ask("hi"), Repeated("hi"));
        }
    }
}

// What says so where there is no memory for what was computed may find none, either.
TEST_F(LifeTest, GoesOnWithoutMemoryToSaySo) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "the sanitizers have an allocator of their own";
#endif
    CServerProcess server;
    CClient client(server.HttpPort());
    for (const string& rest : {string("x"), string(100'000, 'x')}) {
        EXPECT_EQ(AnswerTo(server, Post("no memory at all " + rest)), "");
        server.AwaitLine("A connection was given up: std::bad_alloc.");
        client.Send(Post("hi"));
        EXPECT_EQ(client.Answer(), Repeated("hi"));
    }
}

struct CRunRow {
    const char* m_lines;
    std::vector<string> m_arguments;
    int m_exitCode;
    string m_output; // contained in what it says
};

TEST_F(LifeTest, SaysWhatIsWrong) {
    const CRunRow rows[] = {
        {kOnlyHttp.c_str(), {"--check"}, 0, kPath + ": nothing is wrong.\n"},
        {"Listen=\nListenPlain=192.0.2.1\n",
         {"--check"},
         1,
         kPath + ", line 2: ListenPlain: \"192.0.2.1\" can be reached from other machines"},
        {"Listen=nonsense\n",
         {"--check"},
         1,
         kPath + ", line 1: Listen: \"nonsense\" is no address."},
        {"Listen=127.0.0.1:0\nIdleMilliseconds=x\n", {"--check"}, 1, kPath + ", line 2: "},
        {"Listen=127.0.0.1:0\n", {"--check"}, 1, "wbemd-cert.pem holds no certificate"},
        {"Listen=127.0.0.1:0\nCertificate=/x/y\n",
         {"--check"},
         1,
         kPath + ", line 2: Certificate: /x/y holds no certificate that can be read: No such "},
        {"Listen=\n", {"--check"}, 1, "nobody can connect"},
        {"Listen=\nListenPlain=127.0.0.1:0\nUnknown=1\n", {}, 1, kPath + ", line 3: "},
        {"", {"--version"}, 0, "kzmwbemd "},
        {"", {"--help"}, 0, "Usage: kzmwbemd"},
        {"", {"--chek"}, 2, "\"--chek\" is not understood. Try --help."},
        {"", {"--check", "now"}, 2, "\"now\" is not understood. Try --help."}};
    for (const CRunRow& row : rows) {
        CServerProcess server = CServerProcess::Start(row.m_lines, row.m_arguments);
        EXPECT_EQ(server.AwaitEnd(), row.m_exitCode) << row.m_lines;
        const string said = server.Rest();
        EXPECT_NE(said.find(row.m_output), string::npos) << said;
    }
}

} // namespace
