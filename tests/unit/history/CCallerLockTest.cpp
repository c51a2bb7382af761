#include "history/CCallerLock.h"

#include "KzmPaths.h"
#include "tests/support/CFailingCall.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/CWithoutFilePrivileges.h"
#include "tests/support/TableTest.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <thread>
#include <vector>

using namespace history;

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr milliseconds kLong = 20s;     // longer than anything here takes
constexpr milliseconds kAtOnce = 600ms; // less than the second between two tries

std::string LockFolder() {
    return fs::path(KzmPaths::kCallerLock).parent_path().string();
}

void MakeLockFolder() {
    fs::create_directories(LockFolder());
}

// A process that runs a function, whose answer is its exit status.
class CProcess {
public:
    explicit CProcess(const std::function<bool()>& run) : m_process(fork()) {
        if (m_process == 0) {
            _exit(run() ? 0 : 1);
        }
    }
    ~CProcess() {
        if (m_process > 0) {
            kill(m_process, SIGKILL);
            waitpid(m_process, nullptr, 0);
        }
    }
    CProcess(const CProcess&) = delete;
    CProcess& operator=(const CProcess&) = delete;

    void Kill() const { kill(m_process, SIGKILL); }
    // Waits for its end.
    bool Succeeds() {
        int status = 0;
        EXPECT_EQ(waitpid(m_process, &status, 0), m_process);
        m_process = -1;
        return status == 0;
    }

private:
    pid_t m_process;
};

// Another process that holds the lock until it is told to release it or killed.
class CHolder {
public:
    CHolder() {
        EXPECT_EQ(pipe2(m_taken.data(), O_CLOEXEC), 0);
        EXPECT_EQ(pipe2(m_release.data(), O_CLOEXEC), 0);
        m_process.emplace([this] { return Hold(); });
        char answer = 0;
        EXPECT_EQ(read(m_taken[0], &answer, 1), 1);
        EXPECT_EQ(answer, 'y');
    }
    ~CHolder() {
        for (const int descriptor : {m_taken[0], m_taken[1], m_release[0], m_release[1]}) {
            close(descriptor);
        }
    }
    CHolder(const CHolder&) = delete;
    CHolder& operator=(const CHolder&) = delete;

    void Release() const { EXPECT_EQ(write(m_release[1], "x", 1), 1); }
    void Kill() const { m_process->Kill(); }

private:
    [[nodiscard]] bool Hold() const {
        const auto lock = CCallerLock::Take(0ms);
        const char answer = lock ? 'y' : 'n';
        char ignored = 0;
        return write(m_taken[1], &answer, 1) == 1 && read(m_release[0], &ignored, 1) == 1;
    }

    std::array<int, 2> m_taken{};
    std::array<int, 2> m_release{};
    std::optional<CProcess> m_process;
};

// Waits until so many are waiting for the lock.
void AwaitWaiters(int wanted) {
    struct stat status {};
    ASSERT_EQ(stat(KzmPaths::kCallerLock, &status), 0);
    const std::string inode = ":" + std::to_string(status.st_ino) + " ";
    for (const auto end = steady_clock::now() + kLong; steady_clock::now() < end;) {
        int found = 0;
        std::ifstream locks("/proc/locks");
        for (std::string line; std::getline(locks, line);) {
            const bool waits = line.find("-> FLOCK") != std::string::npos;
            found += waits && line.find(inode) != std::string::npos ? 1 : 0;
        }
        if (found == wanted) {
            return;
        }
        std::this_thread::sleep_for(1ms);
    }
    FAIL() << "not so many are waiting";
}

milliseconds TimeOf(const std::function<void()>& run) {
    const auto begin = steady_clock::now();
    run();
    return std::chrono::duration_cast<milliseconds>(steady_clock::now() - begin);
}

void ExpectBusy(milliseconds limit) {
    const auto lock = CCallerLock::Take(limit);
    ASSERT_FALSE(lock);
    EXPECT_TRUE(lock.error().m_busy);
    EXPECT_EQ(lock.error().m_problem.m_text,
              std::string(KzmPaths::kCallerLock) + ": is held by another change of the settings.");
}

// The problem when the lock is refused for another reason than that it is busy.
history::CProblem LockProblem() {
    const auto lock = CCallerLock::Take(100ms);
    EXPECT_FALSE(lock);
    EXPECT_FALSE(!lock && lock.error().m_busy);
    return lock ? history::CProblem() : lock.error().m_problem;
}

class CallerLock : public testing::Test {
protected:
    const CTestRoot m_root;
};

// ---- The file ----

TEST_F(CallerLock, MakesItsFileForItsOwnerAlone) {
    struct stat status {};
    for (const mode_t mask : {0077U, 0U}) {
        fs::remove_all(CTestRoot::Path("/var"));
        umask(mask);
        EXPECT_TRUE(CCallerLock::Take(0ms));
        umask(022);
        ASSERT_EQ(stat(KzmPaths::kCallerLock, &status), 0);
        EXPECT_EQ(status.st_mode, S_IFREG | 0600U);
        EXPECT_EQ(status.st_size, 0);
        for (const std::string& folder : {CTestRoot::Path("/var"), LockFolder()}) {
            ASSERT_EQ(stat(folder.c_str(), &status), 0);
            EXPECT_EQ(status.st_mode, S_IFDIR | 0755U) << folder;
        }
    }
}

TEST_F(CallerLock, LeavesTheFileAsItIs) {
    MakeLockFolder();
    WriteFile(KzmPaths::kCallerLock, "text\n");
    const std::array<std::timespec, 2> times{{{1000, 0}, {2000, 0}}};
    ASSERT_EQ(utimensat(AT_FDCWD, KzmPaths::kCallerLock, times.data(), 0), 0);
    EXPECT_TRUE(CCallerLock::Take(kLong));
    struct stat status {};
    ASSERT_EQ(stat(KzmPaths::kCallerLock, &status), 0);
    EXPECT_EQ(status.st_mtim.tv_sec, 2000);
    EXPECT_EQ(status.st_atim.tv_sec, 1000);
    EXPECT_EQ(status.st_mode & 07777, 0644U);
    EXPECT_EQ(ReadFile(KzmPaths::kCallerLock), "text\n");
}

TEST_F(CallerLock, SaysWhyTheFileCannotBeOpened) {
    MakeLockFolder();
    WriteFile(KzmPaths::kCallerLock, "");
    chmod(KzmPaths::kCallerLock, 0);
    const CWithoutFilePrivileges ordinary;
    EXPECT_EQ(LockProblem().m_text,
              std::string(KzmPaths::kCallerLock) + ": cannot be opened (Permission denied).");
    EXPECT_EQ(LockProblem().m_number, EACCES);
}

TEST_F(CallerLock, SaysWhyTheFolderCannotBeMade) {
    fs::remove_all(CTestRoot::Path("/var"));
    chmod(CTestRoot::Path("/").c_str(), 0555);
    {
        const CWithoutFilePrivileges ordinary;
        EXPECT_EQ(LockProblem().m_text, LockFolder() + ": cannot be made (Permission denied).");
    }
    chmod(CTestRoot::Path("/").c_str(), 0755);
}

struct PlaceRow {
    const char* name;
    void (*prepare)();
};

class OccupiedTest : public testing::TestWithParam<PlaceRow> {};

TEST_P(OccupiedTest, IsRefused) {
    const CTestRoot root;
    MakeLockFolder();
    WriteFile(LockFolder() + "/other", "precious\n");
    GetParam().prepare();
    EXPECT_EQ(LockProblem().m_text,
              std::string(KzmPaths::kCallerLock) +
                  ": is not a regular file. Remove it: the lock file belongs there.");
    EXPECT_EQ(ReadFile(LockFolder() + "/other"), "precious\n");
    EXPECT_FALSE(fs::exists(LockFolder() + "/nothing"));
}

const PlaceRow kPlaceRows[] = {
    {"Link", [] { fs::create_symlink("other", KzmPaths::kCallerLock); }},
    {"LinkToNothing", [] { fs::create_symlink("nothing", KzmPaths::kCallerLock); }},
    {"Folder", [] { fs::create_directory(KzmPaths::kCallerLock); }},
    {"Pipe", [] { EXPECT_EQ(mkfifo(KzmPaths::kCallerLock, 0600), 0); }},
};
INSTANTIATE_TEST_SUITE_P(Rows, OccupiedTest, testing::ValuesIn(kPlaceRows), RowName<PlaceRow>);

struct FolderRow {
    const char* name;
    void (*prepare)(const std::string& folder);
    const char* problem;
};

class UnsafeFolderTest : public testing::TestWithParam<FolderRow> {};

TEST_P(UnsafeFolderTest, IsRefused) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    const CTestRoot root;
    MakeLockFolder();
    GetParam().prepare(LockFolder());
    EXPECT_EQ(LockProblem().m_text, LockFolder() + ": " + GetParam().problem);
    EXPECT_FALSE(fs::exists(KzmPaths::kCallerLock));
}

const FolderRow kFolderRows[] = {
    {"GroupWrites", [](const std::string& folder) { chmod(folder.c_str(), 0775); },
     "can be written by others than its owner. Check what it holds, then run chmod 0755 on it."},
    {"OwnedByAnother",
     [](const std::string& folder) { EXPECT_EQ(chown(folder.c_str(), 1234, 0), 0); },
     "is owned by neither root nor the running user. Check what it holds, then run chown root on "
     "it."},
    {"Link",
     [](const std::string& folder) {
         fs::rename(folder, folder + "-elsewhere");
         fs::create_directory_symlink(folder + "-elsewhere", folder);
     },
     "is not a folder. Move it away: the history's folder belongs there."},
};
INSTANTIATE_TEST_SUITE_P(Rows, UnsafeFolderTest, testing::ValuesIn(kFolderRows),
                         RowName<FolderRow>);

// ---- Holding ----

TEST_F(CallerLock, IsHeldAsLongAsItLives) {
    {
        auto first = CCallerLock::Take(0ms);
        ASSERT_TRUE(first);
        ExpectBusy(0ms);
        const CCallerLock moved(std::move(*first));
        ExpectBusy(0ms);
    }
    EXPECT_TRUE(CCallerLock::Take(0ms));
}

TEST_F(CallerLock, IsReleasedByTheOneThatTakesAnother) {
    auto first = CCallerLock::Take(0ms);
    ASSERT_TRUE(first);
    const std::string elsewhere = LockFolder() + "/elsewhere";
    fs::rename(KzmPaths::kCallerLock, elsewhere);
    auto second = CCallerLock::Take(0ms);
    ASSERT_TRUE(second);
    *first = std::move(*second);
    ExpectBusy(0ms);
    const CDescriptor file(open(elsewhere.c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(flock(file.Get(), LOCK_EX | LOCK_NB), 0);
}

TEST_F(CallerLock, IsFreeAgainWhenTheHolderIsKilled) {
    const CHolder holder;
    std::thread killer([&holder] {
        AwaitWaiters(1);
        holder.Kill();
    });
    EXPECT_TRUE(CCallerLock::Take(kLong));
    killer.join();
}

TEST_F(CallerLock, IsNoneOfAStartedProgram) {
    pid_t program = 0;
    {
        const auto lock = CCallerLock::Take(0ms);
        ASSERT_TRUE(lock);
        program = fork();
        if (program == 0) {
            execl("/bin/sh", "sh", "-c",
                  "for i in /proc/$$/fd/*; do readlink $i; done >\"$0\"; exec sleep 20",
                  CTestRoot::Path("/fds").c_str(), nullptr);
            _exit(1);
        }
        const auto end = steady_clock::now() + kLong;
        const std::string name = "/proc/" + std::to_string(program) + "/comm";
        while (ReadFile(name) != "sleep\n" && steady_clock::now() < end) {
            std::this_thread::sleep_for(1ms);
        }
        EXPECT_EQ(ReadFile(CTestRoot::Path("/fds")).find("caller.lock"), std::string::npos);
        ExpectBusy(0ms);
    }
    EXPECT_TRUE(CCallerLock::Take(0ms));
    kill(program, SIGKILL);
    waitpid(program, nullptr, 0);
}

// ---- Waiting ----

TEST_F(CallerLock, RefusesAtOnceWhenItShallNotWait) {
    const CHolder holder;
    EXPECT_LT(TimeOf([] { ExpectBusy(0ms); }), kAtOnce);
    EXPECT_LT(TimeOf([] { ExpectBusy(-1s); }), kAtOnce);
}

TEST_F(CallerLock, GivesUpAtTheLimit) {
    const CHolder holder;
    for (const milliseconds limit : {1ms, 40ms, 300ms}) {
        const milliseconds waited = TimeOf([limit] { ExpectBusy(limit); });
        EXPECT_GE(waited, limit);
        EXPECT_LT(waited, limit + kAtOnce);
    }
}

TEST_F(CallerLock, IsHandedOnAtOnce) {
    const CHolder holder;
    steady_clock::time_point released;
    std::thread releaser([&holder, &released] {
        AwaitWaiters(1);
        released = steady_clock::now();
        holder.Release();
    });
    const auto lock = CCallerLock::Take(milliseconds::max());
    const auto taken = steady_clock::now();
    releaser.join();
    EXPECT_TRUE(lock);
    EXPECT_LT(taken - released, kAtOnce);
}

TEST_F(CallerLock, GivesTheWaitingTheirTurns) {
    constexpr int kWaiters = 3;
    const std::string record = CTestRoot::Path("/record");
    WriteFile(record, "");
    std::optional<CHolder> holder(std::in_place);
    std::vector<std::unique_ptr<CProcess>> waiters;
    for (int i = 0; i < kWaiters; ++i) {
        waiters.push_back(std::make_unique<CProcess>([i, &record] {
            const auto lock = CCallerLock::Take(kLong);
            std::ofstream(record, std::ios::app) << i;
            std::this_thread::sleep_for(20ms);
            return lock.has_value();
        }));
        AwaitWaiters(i + 1);
    }
    const milliseconds waited = TimeOf([&] {
        holder->Release();
        for (const auto& waiter : waiters) {
            EXPECT_TRUE(waiter->Succeeds());
        }
    });
    EXPECT_EQ(ReadFile(record), "012");
    EXPECT_LT(waited, kWaiters * 20ms + 2 * kAtOnce);
}

TEST_F(CallerLock, LosesNobodysChange) {
    constexpr int kProcesses = 4;
    constexpr int kRounds = 50;
    const std::string counter = CTestRoot::Path("/counter");
    WriteFile(counter, "0");
    const auto count = [&counter] {
        bool good = true;
        for (int i = 0; i < kRounds && good; ++i) {
            const auto lock = CCallerLock::Take(kLong);
            good = lock.has_value();
            const int now = std::stoi(ReadFile(counter));
            std::this_thread::yield();
            WriteFile(counter, std::to_string(now + 1));
        }
        return good && !testing::Test::HasFailure();
    };
    std::vector<std::unique_ptr<CProcess>> processes;
    for (int i = 0; i < kProcesses; ++i) {
        processes.push_back(std::make_unique<CProcess>(count));
    }
    for (const auto& process : processes) {
        EXPECT_TRUE(process->Succeeds());
    }
    EXPECT_EQ(ReadFile(counter), std::to_string(kProcesses * kRounds));
}

// ---- The process around it ----

void TakeSignal(int) {}

// The dispositions of the real-time signals, and which signals are blocked and pending.
struct CSignals {
    CSignals() {
        for (int number = SIGRTMIN; number <= SIGRTMAX; ++number) {
            struct sigaction action {};
            sigaction(number, nullptr, &action);
            m_handlers.push_back(reinterpret_cast<std::uintptr_t>(action.sa_handler));
        }
        sigset_t set{};
        pthread_sigmask(SIG_SETMASK, nullptr, &set);
        sigset_t pending{};
        sigpending(&pending);
        for (int number = 1; number <= SIGRTMAX; ++number) {
            m_blocked.push_back(sigismember(&set, number));
            m_pending.push_back(sigismember(&pending, number));
        }
    }
    static void SetHandlers(void (*handler)(int)) {
        for (int number = SIGRTMIN; number <= SIGRTMAX; ++number) {
            struct sigaction action {};
            action.sa_handler = handler;
            sigaction(number, &action, nullptr);
        }
    }
    bool operator==(const CSignals& other) const {
        return m_handlers == other.m_handlers && m_blocked == other.m_blocked &&
               m_pending == other.m_pending;
    }

    std::vector<std::uintptr_t> m_handlers;
    std::vector<int> m_blocked;
    std::vector<int> m_pending;
};

TEST_F(CallerLock, LeavesTheSignalsAsTheyWere) {
    const CHolder holder;
    CSignals::SetHandlers(TakeSignal);
    const CSignals before;
    ExpectBusy(120ms);
    EXPECT_TRUE(CSignals() == before);
    holder.Release();
    EXPECT_TRUE(CCallerLock::Take(kLong));
    EXPECT_TRUE(CSignals() == before);
    CSignals::SetHandlers(SIG_DFL);
}

TEST_F(CallerLock, GivesUpWhereAllSignalsAreBlocked) {
    const CHolder holder;
    std::thread thread([] {
        sigset_t all{};
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, nullptr);
        const CSignals before;
        const milliseconds waited = TimeOf([] { ExpectBusy(100ms); });
        EXPECT_GE(waited, 100ms);
        EXPECT_LT(waited, 100ms + kAtOnce);
        EXPECT_TRUE(CSignals() == before);
    });
    thread.join();
}

TEST_F(CallerLock, IsNotPutOffByOtherSignals) {
    const CHolder holder;
    struct sigaction action {};
    action.sa_handler = TakeSignal;
    struct sigaction before {};
    sigaction(SIGALRM, &action, &before);
    const itimerval often{{0, 3000}, {0, 3000}};
    const itimerval never{};
    setitimer(ITIMER_REAL, &often, nullptr);
    const milliseconds waited = TimeOf([] { ExpectBusy(200ms); });
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_GE(waited, 200ms);
    EXPECT_LT(waited, 200ms + kAtOnce);
}

TEST_F(CallerLock, WaitsInManyThreadsAtOnce) {
    constexpr int kThreads = 12;
    const CHolder holder;
    const CSignals before;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([i] {
            const milliseconds limit = 50ms * (i % 4 + 1);
            for (int round = 0; round < 3; ++round) {
                const milliseconds waited = TimeOf([limit] { ExpectBusy(limit); });
                EXPECT_GE(waited, limit);
                EXPECT_LT(waited, limit + kAtOnce);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(CSignals() == before);
}

// Runs a process so slowly that all its timers expire between its system calls; false when it does
// not come to its end.
bool EndsWhenSlow(pid_t process) {
    const auto end = steady_clock::now() + kLong / 2;
    int status = 0;
    while (steady_clock::now() < end) {
        if (waitpid(process, &status, WNOHANG) != process) {
            std::this_thread::sleep_for(1ms);
            continue;
        }
        if (!WIFSTOPPED(status)) {
            return status == 0;
        }
        const int signal = WSTOPSIG(status);
        std::this_thread::sleep_for(5ms);
        const bool passedOn = signal != SIGTRAP && signal != SIGSTOP;
        ptrace(PTRACE_SYSCALL, process, nullptr, passedOn ? signal : 0);
    }
    return false;
}

TEST_F(CallerLock, GivesUpWhenTheLimitPassesBeforeItWaits) {
    const CHolder holder;
    const pid_t process = fork();
    if (process == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
            _exit(0);
        }
        raise(SIGSTOP);
        const auto lock = CCallerLock::Take(1ms);
        _exit(!lock && lock.error().m_busy ? 0 : 1);
    }
    const bool ended = EndsWhenSlow(process);
    EXPECT_TRUE(ended);
    if (!ended) {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
}

TEST_F(CallerLock, SaysWhyItCannotBeLocked) {
    struct {
        const char* call;
        std::chrono::milliseconds limit;
    } const rows[] = {{"flock", 0ms}, {"flock", kLong}, {"timer_create", kLong}};
    for (const auto& row : rows) {
        const CFailingCall failing(row.call, ENOLCK);
        const auto lock = CCallerLock::Take(row.limit);
        ASSERT_FALSE(lock);
        EXPECT_FALSE(lock.error().m_busy);
        EXPECT_EQ(lock.error().m_problem.m_text,
                  std::string(KzmPaths::kCallerLock) + ": cannot be locked (No locks available).");
    }
}

TEST_F(CallerLock, LeavesNoDescriptorBehind) {
    const auto count = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    const auto before = count();
    for (const char* call : {"", "open", "openat", "fstat", "flock"}) {
        const CFailingCall failing(call, EIO);
        CCallerLock::Take(0ms);
    }
    fs::remove(KzmPaths::kCallerLock);
    fs::create_directory(KzmPaths::kCallerLock);
    CCallerLock::Take(0ms);
    EXPECT_EQ(count(), before);
}

} // namespace
