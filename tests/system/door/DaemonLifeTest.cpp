#include "KzmPaths.h"
#include "tests/support/CProcessLimit.h"
#include "tests/support/ProcessMemory.h"
#include "tests/system/door/CDoor.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <memory>

namespace fs = std::filesystem;
using std::string;

namespace {

const string kSocket = KzmPaths::kProviderdSocket;

history::CDescriptor Bound() {
    fs::create_directories(fs::path(kSocket).parent_path());
    history::CDescriptor made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    kSocket.copy(address.sun_path, kSocket.size());
    EXPECT_EQ(bind(made.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return made;
}

TEST(Daemon, MakesAndRemovesItsSocket) {
    CDoor door;
    ASSERT_TRUE(door.Start());
    struct stat status {};
    ASSERT_EQ(stat(kSocket.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFSOCK | 0660U);
    ASSERT_EQ(stat(fs::path(kSocket).parent_path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFDIR | 0755U);
    door.Daemon().Signal(SIGTERM);
    EXPECT_TRUE(door.Daemon().AwaitTold("STOPPING=1"));
    EXPECT_EQ(door.Daemon().AwaitExit(), 0);
    EXPECT_FALSE(fs::exists(kSocket));
    EXPECT_EQ(door.Daemon().Log(), "");
}

TEST(Daemon, EndsWithItsConnections) {
    for (const int signal : {SIGTERM, SIGINT}) {
        CDoor door;
        ASSERT_TRUE(door.Start());
        const CDoorClient idle;
        const CDoorClient halfway;
        halfway.Send("\1");
        EXPECT_EQ(idle.Check("reader", kPassword), "read");
        door.Daemon().Signal(signal);
        EXPECT_EQ(idle.Receive(), std::nullopt);
        EXPECT_EQ(halfway.Receive(), std::nullopt);
        EXPECT_EQ(door.Daemon().AwaitExit(), 0) << door.Daemon().Log();
    }
}

TEST(Daemon, EndsWhileSomebodyWaitsForHisWrongPassword) {
    CDoor door;
    ASSERT_TRUE(door.Start());
    const CDoorClient client;
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(client.Check("reader", "wrong"), "wrong");
    }
    const std::array<CDoorClient, 4> waiting; // 2, 4, 8 and 16 seconds
    const auto begin = std::chrono::steady_clock::now();
    for (const CDoorClient& one : waiting) {
        one.Send(CDoorClient::CheckFrame("reader", "wrong"));
    }
    EXPECT_EQ(CDoorClient().Check("reader", kPassword), "read") << "right ones do not wait";
    door.Daemon().Signal(SIGTERM);
    EXPECT_EQ(door.Daemon().AwaitExit(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

TEST(Daemon, FinishesTheCallThatHasBegun) {
    CDoor door;
    door.m_root.SetMountOutput(CTestRoot::kMountOutput);
    const string fifo = CTestRoot::Path("/bin/gate");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const string mount = CTestRoot::Path("/bin/mount");
    const string script = ReadFile(mount);
    const std::size_t behindFirstLine = script.find('\n') + 1;
    WriteFile(mount, script.substr(0, behindFirstLine) + "read -r line < '" + fifo + "'\n" +
                         script.substr(behindFirstLine));
    ASSERT_TRUE(door.Start());
    string answer;
    std::thread caller(
        [&answer] { answer = CDoorClient().Call("reader", kPassword, "GetParameter"); });
    std::ofstream gate(fifo); // opened once the mount command has begun
    door.Daemon().Signal(SIGTERM);
    EXPECT_TRUE(door.Daemon().AwaitTold("STOPPING=1"));
    gate << "go on\n" << std::flush;
    caller.join();
    EXPECT_EQ(answer, "Done 0x00000000");
    EXPECT_EQ(door.Daemon().AwaitExit(), 0);
}

TEST(Daemon, ReplacesAStaleSocketAndNoOther) {
    CDoor door;
    Bound(); // and closed
    ASSERT_TRUE(door.Start()) << "stale";
    EXPECT_EQ(CDoorClient().Check("reader", kPassword), "read");

    CDaemonProcess second(PROVIDERD_PROGRAM, {}, door.m_accounts.Environment());
    EXPECT_EQ(second.AwaitExit(), 1);
    EXPECT_EQ(second.Log(), kSocket + ": is in use by another process. End it first.\n");
    EXPECT_EQ(CDoorClient().Check("reader", kPassword), "read") << "the first goes on";
}

TEST(Daemon, DoesNotReplaceAFile) {
    CDoor door;
    fs::create_directories(fs::path(kSocket).parent_path());
    WriteFile(kSocket, "text");
    EXPECT_FALSE(door.Start());
    EXPECT_EQ(door.Daemon().AwaitExit(), 1);
    EXPECT_EQ(door.Daemon().Log(),
              kSocket + ": is not a socket. Remove it: the socket belongs there.\n");
    EXPECT_EQ(ReadFile(kSocket), "text");
}

TEST(Daemon, TakesTheServiceManagersSocket) {
    CDoor door;
    const auto listener = Bound();
    ASSERT_EQ(listen(listener.Get(), 5), 0);
    CDaemonProcess daemon(PROVIDERD_PROGRAM, {}, door.m_accounts.Environment(), {listener.Get()});
    ASSERT_TRUE(daemon.AwaitTold("READY=1"));
    EXPECT_EQ(CDoorClient().Check("reader", kPassword), "read");
    daemon.Signal(SIGTERM);
    EXPECT_EQ(daemon.AwaitExit(), 0);
    EXPECT_TRUE(fs::exists(kSocket)) << "it is not the daemon's";
}

TEST(Daemon, RefusesWhatIsNoListener) {
    CDoor door;
    const auto notListening = Bound();
    CDaemonProcess daemon(PROVIDERD_PROGRAM, {}, door.m_accounts.Environment(),
                          {notListening.Get()});
    EXPECT_EQ(daemon.AwaitExit(), 1);
    EXPECT_EQ(daemon.Log(), "The service manager must hand over one listening Unix stream socket, "
                            "or none.\n");
}

TEST(Daemon, ReadsItsConfigurationAnew) {
    CDoor door;
    ASSERT_TRUE(door.Start());
    const CDoorClient client;
    EXPECT_EQ(client.Check("changer", kPassword), "change");

    CDoor::Configure("ReadingGroups=kzm-changers\n");
    door.Daemon().Signal(SIGHUP);
    EXPECT_TRUE(door.Daemon().AwaitTold("READY=1"));
    EXPECT_EQ(client.Check("changer", kPassword), "read") << "on the same connection";
    EXPECT_EQ(client.Check("reader", kPassword), "none");

    CDoor::Configure("ReadingGroups=kzm-readers\nWaitingCalls=many\n");
    door.Daemon().Signal(SIGHUP);
    EXPECT_TRUE(door.Daemon().AwaitTold("READY=1"));
    EXPECT_EQ(client.Check("changer", kPassword), "read") << "the old one goes on";

    CDoor::Configure("CallTimeoutSeconds=30\n");
    door.Daemon().Signal(SIGHUP);
    EXPECT_TRUE(door.Daemon().AwaitTold("READY=1"));
    EXPECT_EQ(door.Daemon().Log(),
              "The configuration was read anew.\n" + string(KzmPaths::kProviderdConfig) +
                  ", line 2: WaitingCalls: \"many\" is no number from 1 to 1000.\n"
                  "The configuration was not taken; the one before goes on.\n"
                  "The configuration was read anew. CallTimeoutSeconds and WaitingCalls count from "
                  "the next start.\n");
}

TEST(Daemon, DoesNotBeginWithABrokenConfiguration) {
    CDoor door("FrontEndUser=\nCallTimeoutSeconds=9\nCallTimeOut=10\n");
    const string path = KzmPaths::kProviderdConfig;
    const string problems =
        path +
        ", line 1: FrontEndUser: Is empty. Name the user of the front end, such as kzmwbem.\n" +
        path + ", line 2: CallTimeoutSeconds: \"9\" is no number from 10 to 3600.\n" + path +
        ", line 3: CallTimeOut is unknown. Correct its spelling, or remove the line.\n";
    EXPECT_FALSE(door.Start());
    EXPECT_EQ(door.Daemon().AwaitExit(), 1);
    EXPECT_EQ(door.Daemon().Log(), problems);

    CDaemonProcess check(PROVIDERD_PROGRAM, {"--check"}, {});
    EXPECT_EQ(check.AwaitExit(), 1);
    EXPECT_EQ(check.Log(), problems);

    CDoor::Configure(CDoor::kConfiguration);
    CDaemonProcess good(PROVIDERD_PROGRAM, {"--check"}, {});
    EXPECT_EQ(good.AwaitExit(), 0);
    EXPECT_EQ(good.Log(), "");
}

TEST(Daemon, GoesOnWhenDescriptorsAreUsedUp) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "the sanitizers look at objects by descriptors of their own";
#endif
    CDoor door;
    ASSERT_TRUE(door.Start());
    const CDoorClient client;
    EXPECT_EQ(client.Check("reader", kPassword), "read");
    std::unique_ptr<CDoorClient> waiting;
    {
        const CProcessLimit none(door.Daemon().Id(), RLIMIT_NOFILE, 3);
        EXPECT_EQ(client.Check("reader", kPassword), "read") << "those who are there are served";
        waiting = std::make_unique<CDoorClient>();
        waiting->Send(CDoorClient::CheckFrame("reader", kPassword));
        EXPECT_NE(door.Daemon().AwaitLogged("No connection can be taken for a while"), "");
    }
    EXPECT_NE(waiting->Receive(), std::nullopt) << "it was taken later";
    EXPECT_EQ(client.Call("reader", kPassword, "GetParameter"), "Done 0x00000000");
}

TEST(Daemon, GoesOnWhenMemoryIsUsedUp) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "the sanitizers need more memory than there is";
#endif
    CDoor door;
    ASSERT_TRUE(door.Start());
    const CDoorClient client;
    const CDoorClient greedy;
    EXPECT_EQ(client.Call("reader", kPassword, "GetParameter"), "Done 0x00000000");
    EXPECT_EQ(greedy.Check("reader", kPassword), "read");
    {
        const CProcessLimit none(door.Daemon().Id(), RLIMIT_DATA,
                                 MemoryOf(door.Daemon().Id(), "VmData") +
                                     1'000'000); // less than a thread needs
        EXPECT_EQ(client.Check("reader", kPassword), "read") << "those who need little are served";
        greedy.Send(string("\0\0\0\1", 4) + string(8'000'000, 'x'));
        EXPECT_EQ(greedy.Receive(), std::nullopt);
        EXPECT_NE(door.Daemon().AwaitLogged("A connection was closed: std::bad_alloc"), "");
        const CDoorClient first; // may have the memory of the one before
        const CDoorClient second;
        const CDoorClient third;
        EXPECT_NE(door.Daemon().AwaitLogged("A connection was closed: "), "");
    }
    EXPECT_EQ(CDoorClient().Check("reader", kPassword), "read");
    EXPECT_EQ(client.Call("reader", kPassword, "GetParameter"), "Done 0x00000000");
}

// Its log is on a disk that is full.
TEST(Daemon, GoesOnWhenItCannotWriteItsLog) {
    CDoor door;
    CDaemonProcess daemon("/bin/sh",
                          {"-c", "exec '" + string(PROVIDERD_PROGRAM) + "' 2> /dev/full"},
                          door.m_accounts.Environment());
    ASSERT_TRUE(daemon.AwaitTold("READY=1"));
    const CDoorClient client;
    EXPECT_EQ(client.Check("reader", "wrong"), "wrong");
    EXPECT_EQ(client.Call("reader", kPassword, "GetParameter"), "Done 0x00000000");
    fs::remove(KzmPaths::kAgentConfig);
    EXPECT_EQ(client.Call("changer", kPassword, "SetParameter"), "NotKept")
        << "the worker has something to say, too";
    CDoor::Configure("Unknown=1\n");
    daemon.Signal(SIGHUP);
    EXPECT_TRUE(daemon.AwaitTold("READY=1"));
    EXPECT_EQ(client.Check("reader", kPassword), "read");
    daemon.Signal(SIGTERM);
    EXPECT_EQ(daemon.AwaitExit(), 0);
}

// The environment, with a library more in front of the daemon.
std::vector<string> WithLibrary(std::vector<string> environment, const string& library) {
    for (string& variable : environment) {
        variable += variable.rfind("LD_PRELOAD=", 0) == 0 ? ":" + library : "";
    }
    return environment;
}

// Durations are not taken from it.
TEST(Daemon, GoesOnWhenTheClockIsSetBack) {
    CDoor door;
    const string isSetBack = CTestRoot::Path("/set-back");
    auto environment = WithLibrary(door.m_accounts.Environment(), CLOCK_SET_BACK_LIBRARY);
    environment.push_back("KZM_TEST_CLOCK=" + isSetBack);
    environment.emplace_back("WATCHDOG_USEC=100000");
    CDaemonProcess daemon(PROVIDERD_PROGRAM, {}, environment);
    ASSERT_TRUE(daemon.AwaitTold("READY=1"));
    const CDoorClient client;
    EXPECT_EQ(client.Check("reader", kPassword), "read");
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(client.Check("reader", "wrong"), "wrong");
    }
    WriteFile(isSetBack, "");
    EXPECT_TRUE(daemon.AwaitTold("WATCHDOG=1"));
    EXPECT_TRUE(daemon.AwaitTold("WATCHDOG=1"));
    EXPECT_EQ(client.Check("reader", kPassword), "read");
    EXPECT_EQ(client.Call("reader", kPassword, "GetParameter"), "Done 0x00000000");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(client.Check("reader", "wrong"), "wrong");
    const auto delay = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(delay, std::chrono::seconds(2)) << "the sixth within a minute";
    const string line = daemon.AwaitLogged("operation=\"GetParameter\"");
    const int time = std::stoi(line.substr(line.find(" ms=") + 4));
    EXPECT_TRUE(time >= 0 && time < 20'000) << line;
}

TEST(Daemon, TellsThatItIsAlive) {
    CDoor door;
    auto environment = door.m_accounts.Environment();
    environment.emplace_back("WATCHDOG_USEC=100000");
    CDaemonProcess daemon(PROVIDERD_PROGRAM, {}, environment);
    EXPECT_TRUE(daemon.AwaitTold("READY=1"));
    EXPECT_TRUE(daemon.AwaitTold("WATCHDOG=1"));
    EXPECT_TRUE(daemon.AwaitTold("WATCHDOG=1"));
}

} // namespace
