// Hosts that are daemons: no streams, small stacks, timers, limits, forks, locales.

#include "KzmPaths.h"
#include "settings/LockFile.h"
#include "tests/hosts/ProcessState.h"
#include "tests/support/CChildProcess.h"
#include "tests/support/CLoadedProvider.h"
#include "tests/support/CPthread.h"
#include "tests/support/CTempFile.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/ProviderLockFile.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <filesystem>
#include <iostream>
#include <locale>

namespace fs = std::filesystem;
using std::string;

namespace {

constexpr unsigned int kAllLevels = 15;

void ExpectChangedFiles() {
    EXPECT_EQ(ChangedAgent(), ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(ChangedAlert(), ReadFile(KzmPaths::kAlertConfig));
}

// Both methods' results, the first that is not 0.
std::uint32_t GetAndSet(CLoadedProvider* provider) {
    const CCallOutcome got = provider->Call("GetParameter");
    const CCallOutcome set = provider->Set(ChangedConf());
    return got.m_uiMethodResult != 0 ? got.m_uiMethodResult : set.m_uiMethodResult;
}

class Daemon : public testing::Test {
protected:
    ~Daemon() override { CTraceUtility::SetDestination(0, ""); }

    CTestRoot m_root;
};

// ---- Standard streams that are closed ----

void CloseStreams(unsigned int set) {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if ((set >> static_cast<unsigned int>(stream) & 1U) != 0) {
            close(stream);
        }
    }
}

// Prints on standard output and standard error all the time, as other parts of a host do.
class CChatter {
public:
    CChatter() : m_thread([this] { Print(); }) {}
    ~CChatter() { m_bEnd = true; }

private:
    void Print() const {
        const string text = "chatter\n";
        while (!m_bEnd) {
            static_cast<void>(!write(STDOUT_FILENO, text.data(), text.size()));
            static_cast<void>(!write(STDERR_FILENO, text.data(), text.size()));
        }
    }

    std::atomic<bool> m_bEnd{false};
    CPthread m_thread;
};

class DaemonWithoutStreams : public testing::TestWithParam<unsigned int> {
protected:
    CTestRoot m_root;
};

TEST_P(DaemonWithoutStreams, WritesNothingButTheSettings) {
    const CTempFile output("");
    CChildProcess child([&] {
        // What stays open may be chattered into.
        const int sink = open(output.Path().c_str(), O_RDWR | O_APPEND | O_CLOEXEC);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            dup2(sink, stream);
        }
        close(sink);
        CloseStreams(GetParam());
        CTraceUtility::SetDestination(kAllLevels, ""); // standard error
        const CChatter chatter;
        CLoadedProvider provider;
        return GetAndSet(&provider) == 0 ? 0 : 1;
    });
    EXPECT_EQ(0, child.Wait());
    ExpectChangedFiles();
    EXPECT_EQ("", ReadFile(KzmPaths::kLockFile));
    EXPECT_EQ((std::vector<string>{"CheckInstall", "CheckInstall", "ServiceStop", "ServiceStart"}),
              m_root.VendorCalls());
}

INSTANTIATE_TEST_SUITE_P(Set, DaemonWithoutStreams, testing::Range(0U, 8U));

TEST_F(Daemon, FindsItsClosedStreamsOnTheNullDevice) {
    CChildProcess child([] {
        CloseStreams(7);
        CLoadedProvider provider;
        int wrong = fcntl(STDERR_FILENO, F_GETFD) == -1 ? 0 : 1; // not before the first call
        wrong += GetAndSet(&provider) == 0 ? 0 : 1;
        struct stat null {};
        stat("/dev/null", &null);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            struct stat status {};
            wrong += fstat(stream, &status) == 0 && status.st_rdev == null.st_rdev ? 0 : 1;
        }
        return wrong;
    });
    EXPECT_EQ(0, child.Wait());
}

// ---- Limits ----

// A stack of which one can tell afterwards how much of it was used.
class CMeasuredStack {
public:
    static constexpr std::size_t kSize = 256 * 1024;

    CMeasuredStack() { std::fill(m_bytes, m_bytes + kSize, kUntouched); }

    void Run(const std::function<void()>& body) {
        std::function<void()> copy = body;
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        EXPECT_EQ(0, pthread_attr_setstack(&attributes, m_bytes, kSize));
        pthread_t thread{};
        EXPECT_EQ(0, pthread_create(
                         &thread, &attributes,
                         [](void* function) -> void* {
                             (*static_cast<std::function<void()>*>(function))();
                             return nullptr;
                         },
                         &copy));
        pthread_join(thread, nullptr);
        pthread_attr_destroy(&attributes);
    }

    [[nodiscard]] std::size_t Used() const {
        return static_cast<std::size_t>(
            m_bytes + kSize -
            std::find_if(m_bytes, m_bytes + kSize, [](char byte) { return byte != kUntouched; }));
    }

private:
    static constexpr char kUntouched = 0x5A;
    alignas(4096) char m_bytes[kSize];
};

constexpr std::size_t kSmallestStack = 32 * 1024; // what docs/hosting.md asks for
constexpr std::size_t kUsedStack = 20 * 1024;     // the rest is for the host's signal handlers

TEST_F(Daemon, CallsOnASmallStack) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "a sanitizer has frames of its own";
#endif
    CLoadedProvider provider;
    CTraceUtility::SetDestination(kAllLevels, "/dev/null");
    std::uint32_t result = 1;
    CPthread thread([&] { result = GetAndSet(&provider); }, kSmallestStack);
    EXPECT_FALSE(thread.WasCancelled());
    EXPECT_EQ(0U, result);
    ExpectChangedFiles();
}

TEST_F(Daemon, CallsLeaveMuchOfASmallStack) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "a sanitizer has frames of its own";
#endif
    CLoadedProvider provider;
    CTraceUtility::SetDestination(kAllLevels, "/dev/null");
    const auto stack = std::make_unique<CMeasuredStack>();
    std::uint32_t result = 1;
    stack->Run([&] { result = GetAndSet(&provider); });
    EXPECT_EQ(0U, result);
    std::cout << "used: " << stack->Used() << " bytes, with what the C library keeps of a thread\n";
    EXPECT_GT(kUsedStack, stack->Used());
}

// With ever fewer descriptors left.
TEST_F(Daemon, FailsClearlyWithoutDescriptors) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "a sanitizer needs descriptors of its own";
#endif
    CLoadedProvider provider;
    const std::size_t descriptors = OpenDescriptors();
    rlimit before{};
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &before));
    int succeeded = 0;
    for (rlim_t left = 0; left < 12; ++left) {
        for (const string method : {"GetParameter", "SetParameter"}) {
            SCOPED_TRACE(method + " with " + std::to_string(left));
            const CTestRoot fresh;
            rlimit tight = before;
            tight.rlim_cur = descriptors - 1 + left; // the one that counted them is closed
            ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &tight));
            const CCallOutcome outcome =
                method == "GetParameter" ? provider.Call(method) : provider.Set(ChangedConf());
            ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &before));
            EXPECT_EQ("", outcome.m_sError);
            EXPECT_TRUE(outcome.m_uiMethodResult == 0 || outcome.m_uiMethodResult == 0x80000001U);
            EXPECT_TRUE(IsLockFree());
            EXPECT_EQ(descriptors, OpenDescriptors());
            succeeded += outcome.m_uiMethodResult == 0 ? 1 : 0;
        }
    }
    EXPECT_LT(0, succeeded);
    EXPECT_GT(24, succeeded);
}

// ---- What daemons do to a process ----

TEST_F(Daemon, HasNoMask) {
    chmod(KzmPaths::kAgentConfig, 0640);
    chmod(KzmPaths::kAlertConfig, 0604);
    umask(0);
    CLoadedProvider provider;
    EXPECT_EQ(0U, GetAndSet(&provider));
    umask(022);
    const auto modeOf = [](const char* path) {
        return static_cast<unsigned int>(fs::status(path).permissions());
    };
    EXPECT_EQ(0600U, modeOf(KzmPaths::kLockFile));
    EXPECT_EQ(0640U, modeOf(KzmPaths::kAgentConfig));
    EXPECT_EQ(0604U, modeOf(KzmPaths::kAlertConfig));
}

TEST_F(Daemon, HasAWorkingFolderThatWasDeleted) {
    const string folder = CTestRoot::Path("/deleted");
    fs::create_directory(folder);
    CChildProcess child([&] {
        CLoadedProvider provider;
        const int error = chdir(folder.c_str()) + rmdir(folder.c_str());
        close(STDERR_FILENO); // the mount command's shell complains
        return error == 0 && GetAndSet(&provider) == 0 ? 0 : 1;
    });
    EXPECT_EQ(0, child.Wait());
    ExpectChangedFiles();
}

// ---- Forks ----

// A process that was forked while the lock is held and starts no program.
pid_t ForkedMeanwhile() {
    const pid_t process = fork();
    if (process == 0) {
        alarm(60); // its end at the latest
        for (;;) {
            pause();
        }
    }
    return process;
}

// Ends it; not what kill takes an id for that is none.
void End(pid_t process) {
    ASSERT_LT(0, process);
    kill(process, SIGKILL);
}

TEST_F(Daemon, ForksInACallAndTheLockIsFreeBehindIt) {
    const int lock = LockFile::Take();
    const pid_t forked = ForkedMeanwhile();
    LockFile::Give(lock);
    EXPECT_TRUE(IsLockFree());
    CLoadedProvider provider;
    EXPECT_EQ(0U, provider.Result("GetParameter"));
    End(forked);
    waitpid(forked, nullptr, 0);
}

TEST_F(Daemon, DiesInACallAndItsForkedChildKeepsTheLock) {
    std::array<int, 2> ends{};
    ASSERT_EQ(0, pipe(ends.data()));
    CChildProcess host([&] {
        LockFile::Take();
        const pid_t forked = ForkedMeanwhile();
        return write(ends[1], &forked, sizeof forked) == sizeof forked ? 0 : 1;
    });
    EXPECT_EQ(0, host.Wait());
    pid_t forked = 0;
    ASSERT_EQ(static_cast<ssize_t>(sizeof forked), read(ends[0], &forked, sizeof forked));
    close(ends[0]);
    close(ends[1]);
    EXPECT_FALSE(IsLockFree());
    End(forked);
    EXPECT_TRUE(WaitUntil(IsLockFree));
}

// ---- Signals that interrupt ----

TEST_F(Daemon, HasATimerThatInterruptsTheWaitForTheLock) {
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = [](int) {};
    action.sa_flags = SA_RESTART; // a sleep is not taken up again all the same
    sigaction(SIGALRM, &action, &before);
    CLoadedProvider provider;
    const int lock = LockFile::Take();
    std::uint32_t result = 0;
    std::atomic<bool> isDone{false};
    sigset_t alarm;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    CPthread thread([&] {
        result = provider.Call("GetParameter").m_uiMethodResult;
        isDone = true;
    });
    int signals = 0;
    const auto begin = std::chrono::steady_clock::now();
    while (!isDone) {
        thread.Signal(SIGALRM);
        ++signals;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    const auto waited = std::chrono::steady_clock::now() - begin;
    thread.WasCancelled();
    sigaction(SIGALRM, &before, nullptr);
    LockFile::Give(lock);
    EXPECT_EQ(0x80000001U, result);
    EXPECT_LE(30, signals); // each ends one of the thirty tries at most
    EXPECT_GT(std::chrono::seconds(29), waited);
}

// ---- Locales ----

// Digits in groups of two, and a comma for the decimal point.
class CGroupedDigits : public std::numpunct<char> {
    [[nodiscard]] char do_thousands_sep() const override { return '.'; }
    [[nodiscard]] char do_decimal_point() const override { return ','; }
    [[nodiscard]] string do_grouping() const override { return "\2"; }
    [[nodiscard]] string do_truename() const override { return "wahr"; }
};

TEST_F(Daemon, HasALocaleOfItsOwn) {
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new CGroupedDigits));
    const CTempFile trace("");
    CTraceUtility::SetDestination(kAllLevels, trace.Path());
    CLoggerConf conf = ChangedConf();
    conf.m_UsageMonitorConf[CLoggerConf::kCpu].m_uiSamplingInterval = 86400;
    CLoadedProvider provider;
    EXPECT_EQ(0U, provider.SetResult(conf));
    EXPECT_EQ(0U, provider.Result("GetParameter"));
    std::locale::global(before);
    EXPECT_EQ(Replace(ChangedAlert(), "60, 5", "86400, 5"), ReadFile(KzmPaths::kAlertConfig));
    const string lines = ReadFile(trace.Path());
    EXPECT_NE(string::npos, lines.find(" m_uiSamplingInterval=86400\n"));
    const string processAndLevel = " " + std::to_string(getpid()) + " 4 TarnwellLogger ";
    EXPECT_NE(string::npos, lines.find(processAndLevel));
}

} // namespace
