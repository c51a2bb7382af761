#include "providerbase/CCommandRunner.h"

#include "comlib/CTraceUtility.h"
#include "providerbase/TraceModule.h"

#include <fcntl.h>
#include <paths.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <optional>
#include <sstream>

namespace {

using Clock = std::chrono::steady_clock;
using Words = std::vector<std::string>;

const char kSearchPath[] = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";
const char kLanguage[] = "LANG=C";
const char kNotOnPath[] = "is not on the fixed PATH; give its full path";

constexpr std::chrono::seconds kGrace{2};
constexpr std::chrono::milliseconds kNap{20};
constexpr std::chrono::milliseconds kLook{100}; // how often EndAll is looked for

std::atomic<unsigned int> endings{0}; // how often EndAll was called

void TraceFailure(const std::string& program, const std::string& problem) {
    CTraceUtility::WriteDebug(kTraceModule, CTraceUtility::TRACE_DBG_FAILURE,
                              "CCommandRunner::Run() \"%s\" %s", program.c_str(), problem.c_str());
}

// ---- Starting ----

bool IsProgram(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) == 0;
}

// The program's path; empty when no folder of the search path has it.
std::string LookUp(const std::string& program) {
    if (program.find('/') != std::string::npos) {
        return program;
    }
    std::istringstream folders(kSearchPath);
    std::string folder;
    while (std::getline(folders, folder, ':')) {
        folder.append("/").append(program);
        if (IsProgram(folder)) {
            return folder;
        }
    }
    return {};
}

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
                return error;
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

// Returns 0 and the process, or an error number.
int Start(const std::string& path, Words words, pid_t* process) {
    Words environment{std::string("PATH=") + kSearchPath, kLanguage};
    CSpawnSettings settings;
    const int error = settings.Prepare();
    if (error != 0) {
        return error;
    }
    return posix_spawn(process, path.c_str(), &settings.m_actions, &settings.m_attributes,
                       Pointers(words).data(), Pointers(environment).data());
}

// ---- Waiting ----

// A descriptor that is readable once the process has ended; -1 where the kernel has none. By
// number, because not every C library declares the function for C++.
int OpenProcess(pid_t process) {
    return static_cast<int>(syscall(SYS_pidfd_open, process, 0));
}

// A started process. Its status is collected only when it is done with, so that until then neither
// its id nor its group's can belong to another.
class CChild {
public:
    explicit CChild(pid_t process) : m_iProcess(process), m_iDescriptor(OpenProcess(process)) {}
    ~CChild() {
        if (m_iDescriptor >= 0) {
            close(m_iDescriptor);
        }
    }
    CChild(const CChild&) = delete;
    CChild& operator=(const CChild&) = delete;

    // Waits until it has ended, the time is over or EndAll is called once more than it had been at
    // `begun`; true in the first case.
    [[nodiscard]] bool WaitFor(Clock::duration time, unsigned int begun) const {
        const Clock::time_point deadline = Clock::now() + time;
        while (!HasEnded()) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            if (left.count() <= 0 || endings != begun) {
                return false;
            }
            Sleep(std::min(left, kLook));
        }
        return true;
    }

    void EndGroup() const {
        kill(-m_iProcess, SIGTERM);
        static_cast<void>(WaitFor(kGrace, endings));
        kill(-m_iProcess, SIGKILL);
    }

    // Waits for its end. Nothing comes back when its status has been collected already.
    [[nodiscard]] std::optional<int> Collect() const {
        int status = 0;
        pid_t collected = 0;
        do {
            collected = waitpid(m_iProcess, &status, 0);
        } while (collected < 0 && errno == EINTR);
        return collected == m_iProcess ? std::optional<int>(status) : std::nullopt;
    }

private:
    [[nodiscard]] bool HasEnded() const {
        siginfo_t info{};
        const int result =
            waitid(P_PID, static_cast<id_t>(m_iProcess), &info, WEXITED | WNOHANG | WNOWAIT);
        // It cannot be waited for when its status went elsewhere: then it has ended, too.
        return result != 0 ? errno == ECHILD : info.si_pid == m_iProcess;
    }

    // Returns at its end, after the time, or earlier.
    void Sleep(std::chrono::milliseconds time) const {
        if (m_iDescriptor >= 0) {
            pollfd ended{m_iDescriptor, POLLIN, 0};
            poll(&ended, 1, static_cast<int>(time.count()));
        } else {
            poll(nullptr, 0, static_cast<int>(std::min(time, kNap).count()));
        }
    }

    pid_t m_iProcess;
    int m_iDescriptor;
};

} // namespace

int CCommandRunner::Run(const Words& words, std::chrono::seconds timeout) {
    const std::string path = LookUp(words.front());
    if (path.empty()) {
        TraceFailure(words.front(), kNotOnPath);
        return kNotRun;
    }
    const unsigned int begun = endings; // before the start, so that none is missed
    pid_t process = -1;
    const int error = Start(path, words, &process);
    if (error != 0) {
        TraceFailure(path, std::string("cannot be started (") + strerrordesc_np(error) +
                               "); check the command line");
        return kNotRun;
    }
    const CChild child(process);
    const bool isEnded = child.WaitFor(timeout, begun);
    const bool isInTime = isEnded || endings != begun;
    if (!isEnded) {
        child.EndGroup();
    }
    const std::optional<int> status = child.Collect();
    if (!isInTime) {
        TraceFailure(path, "took longer than TimeoutSeconds and was ended");
        return kTimedOut;
    }
    if (!status) {
        TraceFailure(path, "has lost its exit status; the host program must not ignore SIGCHLD or "
                           "wait for processes that are not its own");
        return kNotRun;
    }
    return WIFSIGNALED(*status) ? kSignalBase + WTERMSIG(*status) : WEXITSTATUS(*status);
}

std::string CCommandRunner::FindProblem(const Words& words) {
    const std::string path = LookUp(words.front());
    if (path.empty()) {
        return kNotOnPath;
    }
    return IsProgram(path) ? "" : "is no program that can be started";
}

void CCommandRunner::EndAll() {
    ++endings;
}
