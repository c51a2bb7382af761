// How the front end lives with a service manager, and that it rests when nobody asks.

#include "tests/support/CTestRoot.h"
#include "tests/system/server/http/CClient.h"
#include "tests/system/server/http/CFakeProviderd.h"
#include "tests/system/server/http/CServerProcess.h"
#include "tests/system/server/http/Certificates.h"
#include "wbemd/http/ListenAddress.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

namespace fs = std::filesystem;
using std::string;

namespace {

TEST(ServiceTest, TellsWhatTheServiceManagerWaitsFor) {
    const CTestRoot root;
    CServerProcess server;
    EXPECT_TRUE(server.AwaitTold("READY=1"));
    for (const char* lines : {"ListenPlain=127.0.0.1:0\nListen=\n", "Unknown=1\n"}) {
        CServerProcess::SetConfiguration(lines);
        server.Signal(SIGHUP);
        EXPECT_TRUE(server.AwaitTold("RELOADING=1"));
        EXPECT_TRUE(server.AwaitTold("READY=1"));
    }
    server.Signal(SIGTERM);
    EXPECT_TRUE(server.AwaitTold("STOPPING=1"));
    EXPECT_EQ(server.AwaitEnd(), 0);
}

TEST(ServiceTest, TellsThatItIsAlive) {
    const CTestRoot root;
    CServerProcess server =
        CServerProcess::Start("Listen=\nListenPlain=127.0.0.1:0\n", {}, {"WATCHDOG_USEC=100000"});
    EXPECT_TRUE(server.AwaitTold("READY=1"));
    for (int count = 0; count < 3; ++count) {
        EXPECT_TRUE(server.AwaitTold("WATCHDOG=1"));
    }
}

// Durations are not taken from it: who is idle is cut when his time is over, and nobody before.
TEST(ServiceTest, GoesOnWhenTheClockIsSetBack) {
    const CTestRoot root;
    CFakeProviderd providerd;
    const string isSetBack = CTestRoot::Path("/set-back");
    const string addresses = "Listen=\nListenPlain=127.0.0.1:0\n";
    CServerProcess server = CServerProcess::Start(
        addresses, {},
        {string("LD_PRELOAD=") + CLOCK_SET_BACK_LIBRARY, "KZM_TEST_CLOCK=" + isSetBack,
         "ASAN_OPTIONS=verify_asan_link_order=0"}); // the sanitizers want to be first
    server.AwaitPort("http");
    CClient client(server.HttpPort());
    client.Send(Post("hi"));
    EXPECT_EQ(client.Answer(), Repeated("hi"));
    WriteFile(isSetBack, "");
    client.Send(Post("hi"));
    EXPECT_EQ(client.Answer(), Repeated("hi"));

    CServerProcess::SetConfiguration(addresses + "IdleMilliseconds=100\nCheckMilliseconds=100\n");
    server.Signal(SIGHUP);
    server.AwaitLine("read anew");
    EXPECT_TRUE(CClient(server.HttpPort()).IsEnd()) << "when it has been idle";
    CServerProcess::SetConfiguration(addresses + "CheckMilliseconds=100\n");
    server.Signal(SIGHUP);
    server.AwaitLine("read anew");
    providerd.HoldChecks();
    CClient waiting(server.HttpPort());
    waiting.Send(Post("hi"));
    EXPECT_EQ(waiting.Answer().substr(0, 12), "HTTP/1.1 503") << "what hangs is given up";
    providerd.Release();
}

TEST(ServiceTest, ServesTheSocketThatItIsGivenInPlaceOfItsOwn) {
    const CTestRoot root;
    const CFakeProviderd providerd;
    InstallCertificate(MakeCertificate("h"));
    const auto socket = wbemd::Listen(*wbemd::ReadListenAddress("127.0.0.1", 0));
    ASSERT_TRUE(socket);
    CServerProcess server = CServerProcess::Start("Listen=192.0.2.1\n", {}, {}, {socket->Get()});
    server.AwaitPort("https");
    EXPECT_EQ("127.0.0.1:" + std::to_string(server.HttpsPort()),
              wbemd::BoundAddress(socket->Get()));
    server.Signal(SIGHUP);
    server.AwaitLine("read anew");
    CClient client(server.HttpsPort(), CClient::Kind::Https);
    client.Send(Post("hi"));
    EXPECT_EQ(client.Answer(), Repeated("hi"));
}

// How often the threads of a process went to sleep so far.
long Sleeps(pid_t process) {
    long sum = 0;
    for (const auto& task : fs::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
        std::ifstream file(task.path() / "status");
        for (string word; file >> word;) {
            long count = 0;
            if (word == "voluntary_ctxt_switches:" && file >> count) {
                sum += count;
            }
        }
    }
    return sum;
}

// Whether no thread of the process wakes for a while. One that has not come to rest yet, or has
// not slept at all, or that somebody stopped and let go on, gets further whiles.
bool Rests(pid_t process) {
    constexpr int kWhiles = 20;
    for (int i = 0; i < kWhiles; ++i) {
        const long before = Sleeps(process);
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        if (before > 0 && Sleeps(process) == before) {
            return true;
        }
    }
    return false;
}

TEST(ServiceTest, RestsWhenNobodyAsks) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "The sanitizers have a thread of their own, which does not rest.";
#endif
    const CTestRoot root;
    const CFakeProviderd providerd;
    const CServerProcess server;
    {
        CClient client(server.HttpPort());
        client.Send(Post("hi", "Connection: close\r\n"));
        EXPECT_NE(client.Answer(), "");
        EXPECT_TRUE(client.IsEnd());
    }
    CClient last(server.HttpPort());
    last.Send(Post("hi"));
    EXPECT_EQ(last.Answer(), Repeated("hi"));
    EXPECT_TRUE(Rests(server.Id()));
}

} // namespace
