#include "tests/support/CDaemonProcess.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <utility>

using std::string;

namespace {

constexpr int kPatience = 20000; // milliseconds
constexpr int kTimeToEnd = 1000; // milliseconds
constexpr int kFirstListener = 3;
constexpr int kCannotExecute = 127;

// Its value is written in the child, which alone knows it.
const string kListenProcess = "LISTEN_PID=";
constexpr std::size_t kMostDigits = std::numeric_limits<pid_t>::digits10 + 1;

} // namespace

CDaemonProcess::CDaemonProcess(const string& program, const Words& arguments,
                               const Words& environment, const std::vector<int>& listeners) {
    std::array<int, 2> log{};
    EXPECT_EQ(pipe2(log.data(), O_CLOEXEC | O_NONBLOCK), 0);
    m_logReader = log[0];
    m_logWriter = log[1];
    Words words = {program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const CExecWords command(std::move(words));
    const CExecWords variables(Environment(listeners.size(), environment));
    m_process = fork();
    if (m_process == 0) {
        Execute(command, variables, listeners);
    }
    close(m_logWriter);
    m_end = static_cast<int>(syscall(SYS_pidfd_open, m_process, 0));
}

CDaemonProcess::~CDaemonProcess() {
    if (m_process > 0) {
        // By itself where it can: at its end it counts what it reached.
        Signal(SIGTERM);
        pollfd polled{m_end, POLLIN, 0};
        const bool isKilled = poll(&polled, 1, kTimeToEnd) == 0;
        if (isKilled) {
            Signal(SIGKILL);
        }
        const int status = AwaitExit();
        EXPECT_TRUE(isKilled || status == 0) << "ended with " << status << "; log:\n" << Log();
    }
    close(m_logReader);
}

CDaemonProcess::Words CDaemonProcess::Environment(std::size_t listeners, const Words& own) const {
    Words variables = {"PATH=/usr/bin:/bin", "LC_ALL=C", "NOTIFY_SOCKET=" + m_notify.Name()};
    if (listeners > 0) {
        variables.insert(variables.begin(), kListenProcess + string(kMostDigits, '\0'));
        variables.push_back("LISTEN_FDS=" + std::to_string(listeners));
    }
    variables.insert(variables.end(), own.begin(), own.end());
    return variables;
}

void CDaemonProcess::Execute(const CExecWords& command, const CExecWords& environment,
                             const std::vector<int>& listeners) const {
    fcntl(m_logWriter, F_SETFL, 0);
    dup2(m_logWriter, STDOUT_FILENO);
    dup2(m_logWriter, STDERR_FILENO);
    int next = kFirstListener;
    for (const int listener : listeners) {
        if (listener == next) {
            fcntl(listener, F_SETFD, 0);
        } else {
            dup2(listener, next);
        }
        ++next;
    }
    if (!listeners.empty()) {
        char* const id = environment.First() + kListenProcess.size();
        std::to_chars(id, id + kMostDigits, getpid());
    }
    execve(command.First(), command.All(), environment.All());
    _exit(kCannotExecute);
}

// Whether there is something to be read before the daemon ends.
bool CDaemonProcess::AwaitReadable(int descriptor) {
    std::array<pollfd, 2> polled{{{descriptor, POLLIN, 0}, {m_end, POLLIN, 0}}};
    EXPECT_GT(poll(polled.data(), polled.size(), kPatience), 0) << "nothing came; log:\n" << m_log;
    return (polled[0].revents & POLLIN) != 0;
}

bool CDaemonProcess::AwaitTold(const string& line) {
    std::array<char, 4096> buffer{};
    while (AwaitReadable(m_notify.Descriptor())) {
        const ssize_t size = recv(m_notify.Descriptor(), buffer.data(), buffer.size(), 0);
        const string told = "\n" + string(buffer.data(), size < 0 ? 0 : std::size_t(size)) + "\n";
        if (told.find("\n" + line + "\n") != string::npos) {
            return true;
        }
    }
    return false;
}

string CDaemonProcess::AwaitLogged(const string& part) {
    for (;;) {
        TakeLog();
        for (std::size_t end = m_log.find('\n', m_given); end != string::npos;
             end = m_log.find('\n', m_given)) {
            const string line = m_log.substr(m_given, end - m_given);
            m_given = end + 1;
            if (line.find(part) != string::npos) {
                return line;
            }
        }
        if (!AwaitReadable(m_logReader)) {
            return {};
        }
    }
}

void CDaemonProcess::CloseLog() {
    TakeLog();
    close(m_logReader);
    m_logReader = -1;
}

void CDaemonProcess::Signal(int signal) const {
    kill(m_process, signal);
}

int CDaemonProcess::AwaitExit() {
    pollfd polled{m_end, POLLIN, 0};
    EXPECT_EQ(poll(&polled, 1, kPatience), 1) << "it goes on; log:\n" << Log();
    int status = 0;
    kill(m_process, SIGKILL); // nothing to one that has ended
    waitpid(m_process, &status, 0);
    m_process = -1;
    close(m_end);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

string CDaemonProcess::Log() {
    TakeLog();
    return m_log;
}

void CDaemonProcess::TakeLog() {
    std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t size = read(m_logReader, buffer.data(), buffer.size());
        if (size <= 0) {
            return;
        }
        m_log.append(buffer.data(), static_cast<std::size_t>(size));
    }
}
