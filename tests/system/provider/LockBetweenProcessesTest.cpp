// The provider lock between this process and others.

#include "tests/support/CChildProcess.h"
#include "tests/support/CLoadedProvider.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/support/WholeRun.h"

#include "KzmPaths.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

namespace {

using Files = std::vector<std::string>;

// The files that a process has open, apart from those that it closes meanwhile.
Files OpenFiles(pid_t process) {
    Files files;
    for (const auto& entry :
         std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/fd")) {
        std::error_code error;
        const std::filesystem::path file = std::filesystem::read_symlink(entry.path(), error);
        if (!error) {
            files.push_back(file);
        }
    }
    return files;
}

// The files that a process has open as soon as they are the expected ones, or at last. A program
// that has just been started opens and closes files of its own while it is loaded; what it
// inherited it keeps.
Files OpenFilesAtRest(pid_t process, const Files& expected) {
    const Clock::time_point deadline = Clock::now() + milliseconds(10000);
    Files files = OpenFiles(process);
    while (files != expected && Clock::now() < deadline) {
        std::this_thread::sleep_for(milliseconds(10));
        files = OpenFiles(process);
    }
    return files;
}

class LockBetweenProcesses : public testing::Test {
protected:
    // A process that holds the lock for this time; it does by the time this returns.
    static std::unique_ptr<CChildProcess> HoldLock(milliseconds time) {
        auto holder = std::make_unique<CChildProcess>([time] {
            const int descriptor = open(KzmPaths::kLockFile, O_WRONLY | O_CREAT, 0600);
            const int result = flock(descriptor, LOCK_EX);
            std::this_thread::sleep_for(time);
            return result;
        });
        while (IsLockFree()) {
            std::this_thread::sleep_for(milliseconds(10));
        }
        return holder;
    }

    CTestRoot m_root;
};

TEST_F(LockBetweenProcesses, HeldLockIsWaitedFor) {
    CLoadedProvider provider;
    for (const std::string method : {"GetParameter", "SetParameter"}) {
        SCOPED_TRACE(method);
        const auto holder = HoldLock(milliseconds(2000));
        const Clock::time_point start = Clock::now();
        EXPECT_EQ(0U, method == "GetParameter" ? provider.Result(method)
                                               : provider.SetResult(ChangedConf()));
        const Clock::duration waited = Clock::now() - start;
        // One second between tries: the third or the fourth finds it free.
        EXPECT_LE(milliseconds(1500), waited);
        EXPECT_GT(milliseconds(4000), waited);
        EXPECT_EQ(0, holder->Wait());
        EXPECT_TRUE(IsLockFree());
    }
}

// Ends the sleep between two tries each time, as a host's timer may.
class CImpatientTimer {
public:
    CImpatientTimer() {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, &m_before);
        Start(kPeriod);
    }
    ~CImpatientTimer() {
        Start(milliseconds(0));
        sigaction(SIGALRM, &m_before, nullptr);
    }
    CImpatientTimer(const CImpatientTimer&) = delete;
    CImpatientTimer& operator=(const CImpatientTimer&) = delete;

    static constexpr milliseconds kPeriod{20};

private:
    static void Start(milliseconds period) {
        const timeval time{0, std::chrono::microseconds(period).count()};
        const itimerval timer{time, time};
        setitimer(ITIMER_REAL, &timer, nullptr);
    }

    struct sigaction m_before {};
};

// 30 tries, one second apart: their whole time is waited for only in a whole run.
TEST_F(LockBetweenProcesses, HeldLockIsGivenUpAfterThirtyTries) {
    std::optional<CImpatientTimer> timer;
    const milliseconds period = IsWholeRun() ? milliseconds(1000) : CImpatientTimer::kPeriod;
    CLoadedProvider provider;
    const auto holder = HoldLock(milliseconds(60000));
    const CTraceCapture trace;
    const std::size_t openFiles = OpenFiles(getpid()).size();
    if (!IsWholeRun()) {
        timer.emplace();
    }
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(0x80000001U, provider.SetResult(ChangedConf()));
    const Clock::duration waited = Clock::now() - start;
    timer.reset();
    EXPECT_LE(29 * period, waited);
    EXPECT_GT(33 * milliseconds(1000), waited);
    EXPECT_EQ(openFiles, OpenFiles(getpid()).size());
    EXPECT_EQ((TraceLines{{2, "CVELTARO_ToolServiceLogger::SetParameter() GetMutex failure"}}),
              trace.Lines(2));
    EXPECT_EQ(std::vector<std::string>{"CheckInstall"}, m_root.VendorCalls());
    EXPECT_EQ(CTestRoot::kAgentConfig, ReadFile(KzmPaths::kAgentConfig));
}

TEST_F(LockBetweenProcesses, AgentThatIsNotInstalledIsAnsweredAtOnce) {
    m_root.SetVendorAnswers(1, 0, 0);
    CLoadedProvider provider;
    const auto holder = HoldLock(milliseconds(60000));
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(176U, provider.Result("GetParameter"));
    EXPECT_EQ(176U, provider.SetResult(ChangedConf()));
    EXPECT_GT(milliseconds(900), Clock::now() - start);
    EXPECT_FALSE(IsLockFree());
}

// ---- A service that stays ----

TEST_F(LockBetweenProcesses, ServiceThatWasStartedHasNoPartInTheLock) {
    const std::string pidFile = CTestRoot::Path("/opt/veltaro/agent/pid");
    WriteFile(std::string(KzmPaths::kDeviceFolder) + "/Logger.conf",
              "CheckInstall=/bin/true\nServiceStop=/bin/true\n"
              "ServiceStart=/bin/sh -c \"sleep 60 & echo $! > " +
                  pidFile + "\"\n");
    CLoadedProvider provider;
    ASSERT_EQ(0U, provider.SetResult(ChangedConf()));
    const pid_t service = std::stoi(ReadFile(pidFile));
    EXPECT_EQ(0, kill(service, 0)) << "the service does not run";
    EXPECT_TRUE(IsLockFree());
    const Files streams(3, "/dev/null");
    EXPECT_EQ(streams, OpenFilesAtRest(service, streams));
    EXPECT_EQ(0U, provider.Result("GetParameter"));
    kill(service, SIGKILL);
}

} // namespace
