#include "tests/system/server/http/CServerProcess.h"

#include "KzmPaths.h"
#include "tests/support/CTestRoot.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <utility>

namespace fs = std::filesystem;
using std::string;

namespace {

constexpr int kPatience = 10'000; // milliseconds

void HandOver(int listener) {
    constexpr int kFirst = 3; // where service managers put them
    dup2(listener, kFirst);
    setenv("LISTEN_PID", std::to_string(getpid()).c_str(), 1);
    setenv("LISTEN_FDS", "1", 1);
}

[[noreturn]] void Execute(const std::vector<string>& arguments, int output, int listener) {
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    if (listener >= 0) {
        HandOver(listener);
    }
    std::vector<char*> words = {const_cast<char*>(WBEMD_PROGRAM)};
    for (const string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    execv(words[0], words.data());
    _exit(127);
}

} // namespace

CServerProcess::CServerProcess(const string& lines)
    : CServerProcess(Start("ListenPlain=127.0.0.1:0\n" +
                           (lines.find("Listen=") == string::npos ? "Listen=\n" + lines : lines))) {
    if (lines.find("Listen=") != string::npos) {
        AwaitPort("https");
    }
    AwaitPort("http");
}

CServerProcess CServerProcess::Start(const string& lines, const std::vector<string>& arguments,
                                     int listener) {
    SetConfiguration(lines);
    std::array<int, 2> pipe{};
    EXPECT_EQ(pipe2(pipe.data(), O_CLOEXEC), 0);
    history::CDescriptor log(pipe[0]);
    const history::CDescriptor output(pipe[1]);
    const pid_t process = fork();
    if (process == 0) {
        Execute(arguments, output.Get(), listener);
    }
    return {process, std::move(log)};
}

CServerProcess::~CServerProcess() {
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
}

CServerProcess::CServerProcess(CServerProcess&& other) noexcept
    : m_process(std::exchange(other.m_process, -1)),
      m_log(std::move(other.m_log)),
      m_text(std::move(other.m_text)),
      m_httpPort(other.m_httpPort),
      m_httpsPort(other.m_httpsPort) {}

void CServerProcess::SetConfiguration(const string& lines) {
    fs::create_directories(fs::path(KzmPaths::kWbemdConfig).parent_path());
    WriteFile(KzmPaths::kWbemdConfig, lines);
}

void CServerProcess::AwaitPort(const string& kind) {
    const string line = AwaitLine("(" + kind + ").");
    const string port = line.substr(line.rfind(':') == string::npos ? 0 : line.rfind(':') + 1);
    (kind == "http" ? m_httpPort : m_httpsPort) = std::atoi(port.c_str());
}

string CServerProcess::AwaitLine(const string& text) {
    for (;;) {
        std::size_t begin = 0;
        for (std::size_t end = m_text.find('\n'); end != string::npos;
             end = m_text.find('\n', begin)) {
            const string line = m_text.substr(begin, end - begin);
            begin = end + 1;
            if (line.find(text) != string::npos) {
                m_text.erase(0, begin);
                return line;
            }
        }
        if (!ReadMore()) {
            ADD_FAILURE() << "no line \"" << text << "\" in\n" << m_text;
            return "";
        }
    }
}

bool CServerProcess::ReadMore() {
    constexpr std::size_t kSize = 4096;
    std::array<char, kSize> bytes{};
    pollfd waiting{m_log.Get(), POLLIN, 0};
    if (poll(&waiting, 1, kPatience) <= 0) {
        return false;
    }
    const ssize_t count = read(m_log.Get(), bytes.data(), bytes.size());
    m_text.append(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    return count > 0;
}

void CServerProcess::Signal(int signal) const {
    kill(m_process, signal);
}

int CServerProcess::AwaitEnd() {
    while (ReadMore()) {
    }
    int status = 0;
    waitpid(std::exchange(m_process, -1), &status, 0);
    constexpr int kSignalled = 128;
    return WIFEXITED(status) ? WEXITSTATUS(status) : kSignalled + WTERMSIG(status);
}

string CServerProcess::Rest() {
    return std::exchange(m_text, "");
}
