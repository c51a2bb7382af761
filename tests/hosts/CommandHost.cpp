#include "tests/hosts/CommandHost.h"

#include "comlib/CTraceUtility.h"
#include "providerbase/CVendor.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <set>

namespace fs = std::filesystem;
using std::string;

namespace {

constexpr time_t kMostSeconds = 30;
constexpr std::size_t kMostText = 4096; // no more than a pipe takes at once

// Ends this process when it is too old, whatever it does with signals.
void LimitLife() {
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGKILL;
    timer_t timer{};
    const itimerspec once{{}, {kMostSeconds, 0}};
    EXPECT_EQ(0, timer_create(CLOCK_MONOTONIC, &event, &timer));
    EXPECT_EQ(0, timer_settime(timer, 0, &once, nullptr));
}

std::set<string> Names(const string& folder) {
    std::set<string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename());
    }
    return names;
}

[[maybe_unused]] long CountMappings() {
    std::ifstream maps("/proc/self/maps");
    long count = 0;
    for (string line; std::getline(maps, line);) {
        count += line.find("[heap]") == string::npos ? 1 : 0;
    }
    return count;
}

} // namespace

string CommandHost::In(const std::function<string()>& host) {
    std::array<int, 2> report{};
    EXPECT_EQ(0, pipe2(report.data(), O_CLOEXEC));
    const pid_t process = fork();
    if (process == 0) {
        LimitLife();
        const string text = host().substr(0, kMostText);
        _exit(write(report[1], text.data(), text.size()) < 0 ? 1 : 0);
    }
    int status = 0;
    EXPECT_EQ(process, waitpid(process, &status, 0));
    close(report[1]); // others may hold it, too: it has no end to wait for
    fcntl(report[0], F_SETFL, O_NONBLOCK);
    string text(kMostText, '\0');
    const ssize_t count = read(report[0], text.data(), text.size());
    close(report[0]);
    if (WIFSIGNALED(status)) {
        return string("ended by ") + sigabbrev_np(WTERMSIG(status));
    }
    return text.substr(0, count < 0 ? 0 : static_cast<std::size_t>(count));
}

string CommandHost::RunCommand(const Words& words, int timeoutSeconds) {
    static const char kBeginning[] = "CCommandRunner::Run()";
    CDeviceDescription description;
    description.m_commands["Command"] = words;
    description.m_timeout = std::chrono::seconds(timeoutSeconds);
    string failures;
    CTraceUtility::SetListener(CTraceUtility::TRACE_DBG_FAILURE,
                               [&failures](const CTraceUtility::Line& line) {
                                   EXPECT_EQ(0U, line.m_sText.find(kBeginning));
                                   failures += line.m_sText.substr(sizeof kBeginning - 1);
                               });
    const int answer = CVendor("Logger", "Logger", description).ExecuteCommand("Command");
    CTraceUtility::SetListener(0, {});
    return std::to_string(answer) + failures;
}

string CommandHost::RunShell(const string& script, int timeoutSeconds) {
    return RunCommand({"/bin/sh", "-c", script}, timeoutSeconds);
}

string CommandHost::Belongings() {
    string text = "descriptors";
    for (const string& name : Names("/proc/self/fd")) {
        text += " " + name;
    }
#ifndef KZM_NO_FAULT_TRANSLATION // the sanitizers map memory whenever they like
    text += "\nmappings " + std::to_string(CountMappings());
#endif
    text += "\nthreads " + std::to_string(Names("/proc/self/task").size());
    int children = 0;
    while (waitpid(-1, nullptr, WNOHANG | __WALL) > 0) {
        ++children;
    }
    return text + "\ndead children " + std::to_string(children);
}

double CommandHost::SecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

CommandHost::CSharedFile::CSharedFile()
    : m_iDescriptor(memfd_create("kzm-test", MFD_CLOEXEC)),
      m_sPath("/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(m_iDescriptor)) {
    EXPECT_LE(0, m_iDescriptor);
}

CommandHost::CSharedFile::~CSharedFile() {
    close(m_iDescriptor);
}

pid_t CommandHost::CSharedFile::Process() const {
    pid_t process = 0;
    std::ifstream(m_sPath) >> process;
    return process;
}

void CommandHost::CSharedFile::KillProcess() const {
    const pid_t process = Process();
    if (process > 0) { // 0 would be this process's group
        kill(process, SIGKILL);
    }
}
