#include "providerd/CWorkerProcess.h"

#include "providerd/ProcessTree.h"
#include "providerd/WorkMessages.h"

#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

namespace providerd {

namespace {

using history::CDescriptor;
using std::chrono::milliseconds;

constexpr char kName[] = "kzm-providerd"; // in lists of processes
constexpr char kArgument[] = "--worker";
constexpr milliseconds kTimeToEnd{1000};
constexpr milliseconds kKillTime{2000};

// The worker has the mount command in it, which is to find what the system has installed, and what
// it logs, to be marked as the daemon's own lines are. Of the rest of the environment it has the
// variables of this software alone.
constexpr char kPath[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
constexpr char kLanguage[] = "LC_ALL=C";
constexpr std::string_view kHandedDown[] = {"KZM_", "JOURNAL_STREAM="}; // how they begin

std::vector<std::string> Environment() {
    std::vector<std::string> variables = {kPath, kLanguage};
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string_view text = *variable;
        const bool isHandedDown = std::any_of(
            std::begin(kHandedDown), std::end(kHandedDown),
            [text](std::string_view begin) { return text.substr(0, begin.size()) == begin; });
        if (isHandedDown) {
            variables.emplace_back(text);
        }
    }
    return variables;
}

// As the system takes them. The texts must outlive what comes back.
std::vector<char*> Pointers(std::vector<std::string>* texts) {
    std::vector<char*> pointers;
    for (std::string& text : *texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

// The attributes and the file actions of a start; they own memory until they are destroyed.
class CSpawnSettings {
public:
    explicit CSpawnSettings(int socket) {
        posix_spawnattr_init(&m_attributes);
        posix_spawn_file_actions_init(&m_actions);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        posix_spawnattr_setpgroup(&m_attributes, 0);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                                    POSIX_SPAWN_SETPGROUP);
        posix_spawn_file_actions_adddup2(&m_actions, socket, kWorkerDescriptor);
        posix_spawn_file_actions_addclosefrom_np(&m_actions, kWorkerDescriptor + 1);
    }
    ~CSpawnSettings() {
        posix_spawn_file_actions_destroy(&m_actions);
        posix_spawnattr_destroy(&m_attributes);
    }
    CSpawnSettings(const CSpawnSettings&) = delete;
    CSpawnSettings& operator=(const CSpawnSettings&) = delete;

    // Returns 0 or an error number.
    int Spawn(const std::string& program, pid_t* process) const {
        std::vector<std::string> words = {kName, kArgument};
        std::vector<std::string> variables = Environment();
        return posix_spawn(process, program.c_str(), &m_actions, &m_attributes,
                           Pointers(&words).data(), Pointers(&variables).data());
    }

private:
    posix_spawnattr_t m_attributes{};
    posix_spawn_file_actions_t m_actions{};
};

Deadline In(milliseconds time) {
    return std::chrono::steady_clock::now() + time;
}

} // namespace

std::unique_ptr<CWorkerProcess> CWorkerProcess::Start(const std::string& program,
                                                      std::string* error) {
    std::array<int, 2> ends{-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        *error = std::string("there is no connection to be had (") + std::strerror(errno) + ").";
        return nullptr;
    }
    const CDescriptor theirs(ends[1]);
    std::unique_ptr<CWorkerProcess> worker(new CWorkerProcess(CDescriptor(ends[0])));
    int problem = CSpawnSettings(theirs.Get()).Spawn(program, &worker->m_process);
    if (problem == 0) {
        problem = worker->Watch();
    }
    if (problem != 0) {
        *error = program + ": cannot be started (" + std::strerror(problem) + ").";
        return nullptr;
    }
    return worker;
}

CWorkerProcess::CWorkerProcess(CDescriptor socket) : m_socket(std::move(socket)) {}

CWorkerProcess::~CWorkerProcess() {
    if (m_isRunning) {
        Finish(End::ByItself);
    }
}

// Returns 0, or an error number: then the process has been ended.
int CWorkerProcess::Watch() {
    m_processDescriptor = CDescriptor(static_cast<int>(syscall(SYS_pidfd_open, m_process, 0)));
    m_isRunning = m_processDescriptor.IsOpen();
    if (m_isRunning) {
        return 0;
    }
    const int error = errno;
    kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
    return error;
}

bool CWorkerProcess::IsReady() const {
    return !WaitReadable(Socket(), In(milliseconds(0)));
}

bool CWorkerProcess::Finish(End end) {
    if (end == End::ByItself) {
        shutdown(Socket(), SHUT_WR);
        if (WaitForEnd(kTimeToEnd)) {
            return true;
        }
    }
    if (m_isRunning) {
        KillWithPrograms(m_process);
    }
    shutdown(Socket(), SHUT_WR); // for one that the system keeps from being killed
    return WaitForEnd(kKillTime);
}

bool CWorkerProcess::WaitForEnd(milliseconds time) {
    const Deadline deadline = In(time);
    if (m_isRunning && WaitReadable(m_processDescriptor.Get(), deadline)) {
        waitpid(m_process, &m_status, 0);
        m_isRunning = false;
    }
    // The keeper of a service command has the worker's descriptors, and so its locks, and ends a
    // little later.
    return !m_isRunning && WaitHungUp(Socket(), deadline);
}

std::string CWorkerProcess::Description() const {
    return WIFSIGNALED(m_status) ? "signal " + std::to_string(WTERMSIG(m_status))
                                 : "exit status " + std::to_string(WEXITSTATUS(m_status));
}

} // namespace providerd
