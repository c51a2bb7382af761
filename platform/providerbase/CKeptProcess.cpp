#include "providerbase/CKeptProcess.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <paths.h>
#include <sched.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <ctime>
#include <new>

// The sanitizers, too, keep account of a thread where the C library does.
#define KZM_IN_KEEPER __attribute__((no_sanitize("address", "thread")))

// clone, by the C library's other name for it: the thread sanitizer takes clone for a fork.
extern "C" int __clone(int (*function)(void*), void* stack, int flags, void* argument, ...);

namespace {

using Clock = std::chrono::steady_clock;
using Words = std::vector<std::string>;

constexpr std::size_t kGuardSize = std::size_t{64} * 1024; // the largest page there is
constexpr std::size_t kStackSize = std::size_t{256} * 1024;
constexpr std::chrono::seconds kKeepersEnd{1}; // it takes microseconds

// What the keeper is at. The system itself says that it is gone, however it came to its end.
enum Stage { kGone, kStarting, kRunning, kEnded, kReleased };

// By number: not every C library has a function for these, nor do those that have may all be called
// in the keeper.
template <class... Arguments>
KZM_IN_KEEPER long Call(long number, Arguments... arguments) {
    return syscall(number, arguments...);
}

KZM_IN_KEEPER void Say(int* stage, Stage now) {
    __atomic_store_n(stage, static_cast<int>(now), __ATOMIC_RELEASE);
    Call(SYS_futex, stage, FUTEX_WAKE, 1, nullptr, nullptr, 0);
}

int Read(const int* stage) {
    return __atomic_load_n(stage, __ATOMIC_ACQUIRE);
}

// Returns when the stage is another, after the time, or earlier.
KZM_IN_KEEPER void Sleep(int* stage, Stage asLongAs, const timespec* time) {
    Call(SYS_futex, stage, FUTEX_WAIT, asLongAs, time, nullptr, 0);
}

// Waits for another stage, or for this time; true in the first case.
bool WaitWhile(int* stage, Stage asLongAs, Clock::duration time) {
    const Clock::time_point deadline = Clock::now() + time;
    while (Read(stage) == asLongAs) {
        const auto left =
            std::chrono::ceil<std::chrono::nanoseconds>(deadline - Clock::now()).count();
        if (left <= 0) {
            return false;
        }
        constexpr long kSecond = 1'000'000'000;
        const timespec sleep{left / kSecond, left % kSecond};
        Sleep(stage, asLongAs, &sleep);
    }
    return true;
}

// No handler of the host runs in this thread as long as the object lives.
class CSignalPause {
public:
    CSignalPause() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~CSignalPause() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    CSignalPause(const CSignalPause&) = delete;
    CSignalPause& operator=(const CSignalPause&) = delete;

private:
    sigset_t m_before{};
};

// The attributes and the file actions of a start; they own memory until they are destroyed.
class CSpawnSettings {
public:
    CSpawnSettings() {
        posix_spawnattr_init(&m_attributes);
        posix_spawn_file_actions_init(&m_actions);
    }
    ~CSpawnSettings() {
        posix_spawn_file_actions_destroy(&m_actions);
        posix_spawnattr_destroy(&m_attributes);
    }
    CSpawnSettings(const CSpawnSettings&) = delete;
    CSpawnSettings& operator=(const CSpawnSettings&) = delete;

    // Returns 0 or an error number.
    int Prepare() {
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        posix_spawnattr_setpgroup(&m_attributes, 0);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                                    POSIX_SPAWN_SETPGROUP);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            const int error =
                posix_spawn_file_actions_addopen(&m_actions, stream, _PATH_DEVNULL, O_RDWR, 0);
            if (error != 0) {
                return error == EBADF ? EMFILE : error; // the limit leaves no room for it
            }
        }
        return posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1);
    }

    posix_spawnattr_t m_attributes{};
    posix_spawn_file_actions_t m_actions{};
};

// The pointers that a start takes, null at the end. They are valid as long as the words.
std::vector<char*> Pointers(Words& words) {
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

// What is started; read only while the thread that starts it stands still.
struct CStart {
    const char* m_pPath;
    const CSpawnSettings& m_settings;
    char* const* m_pWords;
    char* const* m_pEnvironment;
};

} // namespace

// The keeper's memory: its stack, which grows down to a guard, and what it tells.
struct CKeptProcess::CKeeper {
    std::array<std::byte, kGuardSize> m_guard;
    std::array<std::byte, kStackSize> m_stack;
    const CStart* m_pStart;
    pid_t m_iHost;
    int m_iError;
    pid_t m_iProcess;
    siginfo_t m_end; // of the program; written by the system
    int m_iStage;

    static int Keep(void* argument);
};

// Runs in the keeper.
//
// It shares with the calling thread what the C library keeps for a thread, errno first of all. So
// what can fail is done only while that thread stands still with its signals blocked: before
// kRunning and behind kReleased. In between stand system calls that cannot fail.
KZM_IN_KEEPER int CKeptProcess::CKeeper::Keep(void* argument) {
    auto* const keeper = static_cast<CKeeper*>(argument);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != keeper->m_iHost) {
        return 0; // the host has died already, and counts no line: GCOVR_EXCL_LINE
    }
    prctl(PR_SET_NAME, "kzm-keeper");
    // Ignoring SIGCHLD is handed down, and would lose the status here. All zero is SIG_DFL. The
    // C library's function is not for this process: sanitizers note for the host what it sets.
    static const std::array<unsigned long, 8> kDefault{};
    Call(SYS_rt_sigaction, SIGCHLD, kDefault.data(), nullptr, sizeof(unsigned long));
    const CStart& start = *keeper->m_pStart;
    keeper->m_iError =
        posix_spawn(&keeper->m_iProcess, start.m_pPath, &start.m_settings.m_actions,
                    &start.m_settings.m_attributes, start.m_pWords, start.m_pEnvironment);
    if (keeper->m_iError != 0) {
        return 0;
    }
    Say(&keeper->m_iStage, kRunning);
    Call(SYS_waitid, P_PID, keeper->m_iProcess, &keeper->m_end, WEXITED | WNOWAIT, nullptr);
    Say(&keeper->m_iStage, kEnded);
    while (__atomic_load_n(&keeper->m_iStage, __ATOMIC_ACQUIRE) == kEnded) {
        Sleep(&keeper->m_iStage, kEnded, nullptr);
    }
    Call(SYS_wait4, keeper->m_iProcess, nullptr, 0, nullptr);
    return 0;
}

int CKeptProcess::Start(const std::string& path, Words words, Words environment) {
    CSpawnSettings settings;
    const int error = settings.Prepare();
    if (error != 0) {
        return error;
    }
    const std::vector<char*> wordPointers = Pointers(words);
    const std::vector<char*> environmentPointers = Pointers(environment);
    const CStart start{path.c_str(), settings, wordPointers.data(), environmentPointers.data()};

    void* const memory = mmap(nullptr, sizeof(CKeeper), PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        return errno; // GCOVR_EXCL_LINE: reached by the tests of failing system calls
    }
    mprotect(memory, kGuardSize, PROT_NONE);
    m_keeper = static_cast<CKeeper*>(memory);
    m_keeper->m_pStart = &start;
    return StartKeeper();
}

int CKeptProcess::StartKeeper() {
    m_keeper->m_iHost = getpid();
    m_keeper->m_iError = 0;
    m_keeper->m_iStage = kStarting;
    const CSignalPause pause;
    // Without a signal at its end, which is what hides it from the host.
    m_iKeeper = __clone(CKeeper::Keep, m_keeper->m_stack.end(),
                        CLONE_VM | CLONE_FS | CLONE_FILES | CLONE_CHILD_CLEARTID, m_keeper, nullptr,
                        nullptr, &m_keeper->m_iStage);
    if (m_iKeeper < 0) {
        return errno; // GCOVR_EXCL_LINE: as above
    }
    while (Read(&m_keeper->m_iStage) == kStarting) {
        Sleep(&m_keeper->m_iStage, kStarting, nullptr);
    }
    return m_keeper->m_iError;
}

bool CKeptProcess::WaitFor(Clock::duration time) {
    return WaitWhile(&m_keeper->m_iStage, kRunning, time);
}

void CKeptProcess::Signal(int number) const {
    if (Read(&m_keeper->m_iStage) == kGone) {
        return; // GCOVR_EXCL_LINE: the keeper was killed at this very moment
    }
    const pid_t process = m_keeper->m_iProcess;
    kill(-process, number);
    if (number == SIGKILL || getpgid(process) != process) {
        kill(process, number);
    }
}

std::optional<int> CKeptProcess::Answer() const {
    if (Read(&m_keeper->m_iStage) != kEnded) {
        return std::nullopt;
    }
    const siginfo_t& end = m_keeper->m_end;
    return end.si_code == CLD_EXITED ? end.si_status : kSignalBase + end.si_status;
}

CKeptProcess::~CKeptProcess() {
    const bool isGone = m_iKeeper < 0 || EndKeeper();
    if (m_keeper != nullptr && isGone) {
        munmap(m_keeper, sizeof(CKeeper));
    }
}

// False when it does not end, because somebody has stopped it or the host is another user by now:
// it is left alone then, with its memory.
bool CKeptProcess::EndKeeper() {
    int* const stage = &m_keeper->m_iStage;
    const CSignalPause pause;
    if (Read(stage) == kRunning) {
        kill(m_iKeeper, SIGKILL);
    }
    int ended = kEnded;
    __atomic_compare_exchange_n(stage, &ended, static_cast<int>(kReleased), false, __ATOMIC_ACQ_REL,
                                __ATOMIC_ACQUIRE);
    Call(SYS_futex, stage, FUTEX_WAKE, 1, nullptr, nullptr, 0);
    for (const Stage last : {kRunning, kEnded, kReleased}) {
        WaitWhile(stage, last, kKeepersEnd);
    }
    if (Read(stage) != kGone) {
        return false;
    }
    // Fails when a wait of the host with __WALL was here before.
    Call(SYS_wait4, m_iKeeper, nullptr, __WCLONE, nullptr);
    return true;
}
