// How the front end lives with a service manager, and that it rests when nobody asks.

#include "history/CDescriptor.h"
#include "tests/support/CTestRoot.h"
#include "tests/system/server/CVariable.h"
#include "tests/system/server/http/CClient.h"
#include "tests/system/server/http/CFakeProviderd.h"
#include "tests/system/server/http/CServerProcess.h"
#include "tests/system/server/http/Certificates.h"
#include "wbemd/http/ListenAddress.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

namespace fs = std::filesystem;
using std::string;

namespace {

// The service manager's ear.
class CManager {
public:
    CManager() : m_socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        Path().copy(address.sun_path, sizeof address.sun_path - 1);
        fs::remove(Path());
        EXPECT_EQ(bind(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
                  0);
        const timeval patience{10, 0};
        setsockopt(m_socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    }
    static string Path() { return CTestRoot::Path("/notify"); }

    // The first line of what it is told next.
    string Hear() {
        constexpr std::size_t kSize = 1024;
        std::array<char, kSize> text{};
        const ssize_t count = recv(m_socket.Get(), text.data(), text.size(), 0);
        const string heard(text.data(), count < 0 ? 0 : static_cast<std::size_t>(count));
        return heard.substr(0, heard.find('\n'));
    }

private:
    history::CDescriptor m_socket;
};

TEST(ServiceTest, TellsWhatTheServiceManagerWaitsFor) {
    const CTestRoot root;
    CManager manager;
    const CVariable notify("NOTIFY_SOCKET", CManager::Path());
    CServerProcess server;
    EXPECT_EQ(manager.Hear(), "READY=1");
    server.Signal(SIGHUP);
    EXPECT_EQ(manager.Hear(), "RELOADING=1");
    EXPECT_EQ(manager.Hear(), "READY=1");
    CServerProcess::SetConfiguration("Unknown=1\n");
    server.Signal(SIGHUP);
    EXPECT_EQ(manager.Hear(), "RELOADING=1");
    EXPECT_EQ(manager.Hear(), "READY=1");
    server.Signal(SIGTERM);
    EXPECT_EQ(manager.Hear(), "STOPPING=1");
    EXPECT_EQ(server.AwaitEnd(), 0);
}

TEST(ServiceTest, TellsThatItIsAlive) {
    const CTestRoot root;
    CManager manager;
    const CVariable notify("NOTIFY_SOCKET", CManager::Path());
    const CVariable watchdog("WATCHDOG_USEC", "100000");
    const CServerProcess server;
    string heard = manager.Hear();
    for (int count = 0; count < 3;) {
        heard = manager.Hear();
        count += heard == "WATCHDOG=1" ? 1 : 0;
        ASSERT_TRUE(heard == "WATCHDOG=1" || heard == "READY=1") << heard;
    }
}

TEST(ServiceTest, ServesTheSocketThatItIsGivenInPlaceOfItsOwn) {
    const CTestRoot root;
    const CFakeProviderd providerd;
    InstallCertificate(MakeCertificate("h"));
    const auto socket = wbemd::Listen(*wbemd::ReadListenAddress("127.0.0.1", 0));
    ASSERT_TRUE(socket);
    CServerProcess server = CServerProcess::Start("Listen=192.0.2.1\n", {}, socket->Get());
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
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // until it is at rest
    const long before = Sleeps(server.Id());
    EXPECT_GT(before, 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(300)); // the time that is looked at
    EXPECT_EQ(Sleeps(server.Id()), before);
}

} // namespace
