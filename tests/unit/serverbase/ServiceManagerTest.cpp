#include "serverbase/ServiceManager.h"

#include "tests/support/CNotifySocket.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <ctime>

using namespace daemon_base;
using std::string;

namespace {

constexpr int kFirstListener = 3;

// Hears what is told to the service manager.
class CManager {
public:
    CManager() { setenv("NOTIFY_SOCKET", m_socket.Name().c_str(), 1); }
    ~CManager() { unsetenv("NOTIFY_SOCKET"); }
    CManager(const CManager&) = delete;
    CManager& operator=(const CManager&) = delete;

    string Heard() const {
        std::array<char, 1024> buffer{};
        const ssize_t size = recv(m_socket.Descriptor(), buffer.data(), buffer.size(), 0);
        return size < 0 ? "nothing" : string(buffer.data(), static_cast<std::size_t>(size));
    }

private:
    CNotifySocket m_socket;
};

unsigned long long MonotonicMicroseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<unsigned long long>(now.tv_sec) * 1000000 +
           static_cast<unsigned long long>(now.tv_nsec) / 1000;
}

TEST(ServiceManager, HearsHowTheDaemonLives) {
    const CManager manager;
    TellReady("up\nSTOPPING=1");
    EXPECT_EQ(manager.Heard(), "READY=1\nSTATUS=up?STOPPING=1");
    TellStopping("the end");
    EXPECT_EQ(manager.Heard(), "STOPPING=1\nSTATUS=the end");
    TellAlive();
    EXPECT_EQ(manager.Heard(), "WATCHDOG=1");
    EXPECT_EQ(manager.Heard(), "nothing");
}

TEST(ServiceManager, HearsWhenAReloadBegan) {
    const CManager manager;
    const auto before = MonotonicMicroseconds();
    TellReloading();
    const string heard = manager.Heard();
    const string beginning = "RELOADING=1\nMONOTONIC_USEC=";
    ASSERT_EQ(heard.substr(0, beginning.size()), beginning);
    const auto time = std::stoull(heard.substr(beginning.size()));
    EXPECT_LE(before, time);
    EXPECT_LE(time, MonotonicMicroseconds());
}

TEST(ServiceManager, IsNotThere) {
    unsetenv("NOTIFY_SOCKET");
    TellReady("up");
    TellReloading();
    TellStopping("the end");
    TellAlive();
    EXPECT_EQ(AliveInterval(), 0U);
    EXPECT_EQ(TakeListeners(), std::vector<int>());
}

TEST(ServiceManager, IsToldTwiceInEveryWatchdogInterval) {
    struct {
        const char* m_microseconds;
        unsigned long m_interval;
    } const kRows[] = {{"10000000", 5000}, {"2000", 1}, {"1", 1}, {"0", 0}, {"many", 0}};
    for (const auto& row : kRows) {
        setenv("WATCHDOG_USEC", row.m_microseconds, 1);
        setenv("WATCHDOG_PID", std::to_string(getpid()).c_str(), 1);
        EXPECT_EQ(AliveInterval(), row.m_interval) << row.m_microseconds;
    }
    setenv("WATCHDOG_USEC", "10000000", 1);
    setenv("WATCHDOG_PID", "1", 1);
    EXPECT_EQ(AliveInterval(), 0U) << "another process is watched";
    unsetenv("WATCHDOG_USEC");
    unsetenv("WATCHDOG_PID");
}

// Runs in a process of its own, where the first descriptors are free to be given away.
bool AreTakenOnce() {
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    dup2(listener, kFirstListener);
    dup2(listener, kFirstListener + 1);
    setenv("LISTEN_PID", std::to_string(getpid()).c_str(), 1);
    setenv("LISTEN_FDS", "2", 1);
    const bool taken = TakeListeners() == std::vector<int>{kFirstListener, kFirstListener + 1};
    const bool closeOnExec = (fcntl(kFirstListener, F_GETFD) & FD_CLOEXEC) != 0;
    return taken && closeOnExec && TakeListeners().empty() && getenv("LISTEN_FDS") == nullptr;
}

TEST(ServiceManager, HandsOverListenersOnce) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(AreTakenOnce() ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

} // namespace
