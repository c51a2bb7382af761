#include "tests/support/CProgram.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <map>
#include <utility>

namespace {

// Reads what there is; false at the end. A terminal's end is the error EIO.
bool ReadSome(int descriptor, std::string* text) {
    std::array<char, 4096> buffer{};
    const ssize_t count = read(descriptor, buffer.data(), buffer.size());
    if (count <= 0) {
        return false;
    }
    text->append(buffer.data(), static_cast<std::size_t>(count));
    return true;
}

int Wait(pid_t process) {
    int status = 0;
    waitpid(process, &status, 0);
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

// Reads both to their ends, in whatever order they come.
void ReadBoth(int first, std::string* firstText, int second, std::string* secondText) {
    std::array<struct pollfd, 2> streams{{{first, POLLIN, 0}, {second, POLLIN, 0}}};
    const std::array texts{firstText, secondText};
    while (streams[0].fd >= 0 || streams[1].fd >= 0) {
        poll(streams.data(), streams.size(), -1);
        for (std::size_t i = 0; i < streams.size(); ++i) {
            if (streams[i].revents != 0 && !ReadSome(streams[i].fd, texts[i])) {
                close(streams[i].fd);
                streams[i].fd = -1;
            }
        }
    }
}

std::vector<std::string> MakeEnvironment(const std::vector<std::string>& own) {
    std::vector<std::string> all = {"PATH=/usr/bin:/bin", "LC_ALL=C", "TERM=xterm"};
    all.insert(all.end(), own.begin(), own.end());
    std::map<std::string, std::string> byName;
    for (const std::string& entry : all) {
        byName[entry.substr(0, entry.find('='))] = entry;
    }
    std::vector<std::string> environment;
    for (const auto& [name, entry] : byName) {
        environment.push_back(entry);
    }
    return environment;
}

} // namespace

CProgram::CProgram(Words arguments)
    : m_arguments(std::move(arguments)),
      m_program(LOGGERCTL_PROGRAM) {}

CProgram::Result CProgram::Run() const {
    std::array<int, 2> output{};
    std::array<int, 2> error{};
    EXPECT_EQ(pipe2(output.data(), O_CLOEXEC), 0);
    EXPECT_EQ(pipe2(error.data(), O_CLOEXEC), 0);
    const CExecWords command(Command());
    const CExecWords environment(MakeEnvironment(m_environment));
    const pid_t process = fork();
    if (process == 0) {
        dup2(open(m_sInputFile.c_str(), O_RDONLY | O_CLOEXEC), STDIN_FILENO);
        dup2(output[1], STDOUT_FILENO);
        dup2(error[1], STDERR_FILENO);
        Execute(command, environment);
    }
    close(output[1]);
    close(error[1]);
    Result result;
    ReadBoth(output[0], &result.m_sOutput, error[0], &result.m_sError);
    result.m_iExitCode = Wait(process);
    return result;
}

CProgram::Result CProgram::RunIntoClosedPipe() const {
    std::array<int, 2> output{};
    std::array<int, 2> error{};
    EXPECT_EQ(pipe2(output.data(), O_CLOEXEC), 0);
    EXPECT_EQ(pipe2(error.data(), O_CLOEXEC), 0);
    close(output[0]);
    const CExecWords command(Command());
    const CExecWords environment(MakeEnvironment(m_environment));
    const pid_t process = fork();
    if (process == 0) {
        dup2(output[1], STDOUT_FILENO);
        dup2(error[1], STDERR_FILENO);
        Execute(command, environment);
    }
    close(output[1]);
    close(error[1]);
    Result result;
    while (ReadSome(error[0], &result.m_sError)) {
    }
    close(error[0]);
    result.m_iExitCode = Wait(process);
    return result;
}

CProgram::Result
CProgram::RunOnTerminal(const std::function<void(const std::string&)>& seen) const {
    struct winsize size {};
    size.ws_col = 80;
    size.ws_row = 40;
    int terminal = -1;
    const CExecWords command(Command());
    const CExecWords environment(MakeEnvironment(m_environment));
    const pid_t process = forkpty(&terminal, nullptr, nullptr, &size);
    if (process == 0) {
        Execute(command, environment);
    }
    Result result;
    while (ReadSome(terminal, &result.m_sOutput)) {
        if (seen) {
            seen(result.m_sOutput);
        }
    }
    close(terminal);
    result.m_iExitCode = Wait(process);
    return result;
}

CProgram::Words CProgram::Command() const {
    Words words = m_wrapper;
    words.push_back(m_program);
    if (!m_bDefaultFiles) {
        words.insert(words.end(),
                     {"--provider", PROVIDER_LIBRARY, "--definitions", CLASS_DEFINITIONS});
    }
    words.insert(words.end(), m_arguments.begin(), m_arguments.end());
    return words;
}

void CProgram::Execute(const CExecWords& command, const CExecWords& environment) const {
    std::signal(SIGPIPE, m_bIgnorePipeSignal ? SIG_IGN : SIG_DFL);
    // However the tests were started: in the background some of these are ignored.
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
        std::signal(number, SIG_DFL);
    }
    if (m_bRedirected) {
        close(STDOUT_FILENO);
        if (!m_sOutputFile.empty()) {
            open(m_sOutputFile.c_str(), O_WRONLY); // the lowest free number: standard output
        }
    }
    execve(command.First(), command.All(), environment.All());
    _exit(127);
}
