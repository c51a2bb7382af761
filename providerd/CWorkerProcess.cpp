#include "providerd/CWorkerProcess.h"

#include "providerd/ProcessTree.h"
#include "providerd/WorkMessages.h"

#include <signal.h>
#include <spawn.h>
#include <sys/pidfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace providerd {

namespace {

using history::CDescriptor;
using std::chrono::milliseconds;

constexpr char kName[] = "kzm-providerd"; // in lists of processes
constexpr char kArgument[] = "--worker";
constexpr milliseconds kTimeToEnd{1000};
constexpr milliseconds kKillTime{2000};

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
        std::string name = kName;
        std::string argument = kArgument;
        const std::array<char*, 3> words{name.data(), argument.data(), nullptr};
        return posix_spawn(process, program.c_str(), &m_actions, &m_attributes, words.data(),
                           environ);
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
    CDescriptor ours(ends[0]);
    const CDescriptor theirs(ends[1]);
    pid_t process = -1;
    const int problem = CSpawnSettings(theirs.Get()).Spawn(program, &process);
    if (problem != 0) {
        *error = program + ": cannot be started (" + std::strerror(problem) + ").";
        return nullptr;
    }
    return std::unique_ptr<CWorkerProcess>(new CWorkerProcess(std::move(ours), process));
}

CWorkerProcess::CWorkerProcess(CDescriptor socket, pid_t process)
    : m_socket(std::move(socket)),
      m_process(process),
      m_processDescriptor(pidfd_open(process, 0)) {}

CWorkerProcess::~CWorkerProcess() {
    if (!m_hasEnded) {
        Finish(End::ByItself);
    }
}

bool CWorkerProcess::IsReady() const {
    return !WaitReadable(Socket(), In(milliseconds(0)));
}

bool CWorkerProcess::Finish(End end) {
    if (end == End::ByItself) {
        m_socket.Close();
        if (WaitForEnd(kTimeToEnd)) {
            return true;
        }
    }
    KillWithPrograms(m_process);
    return WaitForEnd(kKillTime);
}

bool CWorkerProcess::WaitForEnd(milliseconds time) {
    if (!m_hasEnded && WaitReadable(m_processDescriptor.Get(), In(time))) {
        waitpid(m_process, &m_status, 0);
        m_hasEnded = true;
    }
    return m_hasEnded;
}

std::string CWorkerProcess::Description() const {
    return WIFSIGNALED(m_status) ? "signal " + std::to_string(WTERMSIG(m_status))
                                 : "exit status " + std::to_string(WEXITSTATUS(m_status));
}

} // namespace providerd
