// How commands run, seen from the vendor object that runs them.

#include "providerbase/CVendor.h"
#include "tests/support/CTempFile.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/CTraceCapture.h"
#include "tests/support/TableTest.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using Words = CDeviceDescription::Words;

int RunWords(const Words& words, int timeoutSeconds = 30) {
    CDeviceDescription description;
    description.m_commands["Command"] = words;
    description.m_timeout = std::chrono::seconds(timeoutSeconds);
    return CVendor("Logger", "Logger", description).ExecuteCommand("Command");
}

int RunShell(const std::string& script, int timeoutSeconds = 30) {
    return RunWords({"/bin/sh", "-c", script}, timeoutSeconds);
}

// ---- Answers ----

struct AnswerRow {
    const char* name;
    Words m_words;
    int m_iAnswer;
    std::string m_sFailure; // the line at level 2, if any
};

void PrintTo(const AnswerRow& row, std::ostream* out) {
    *out << testing::PrintToString(row.m_words);
}

class AnswerTest : public testing::TestWithParam<AnswerRow> {};

TEST_P(AnswerTest, IsAsDocumented) {
    const CTraceCapture trace("KzmProviderBase");
    EXPECT_EQ(GetParam().m_iAnswer, RunWords(GetParam().m_words));
    TraceLines failures;
    if (!GetParam().m_sFailure.empty()) {
        failures.push_back({2, "CCommandRunner::Run() " + GetParam().m_sFailure});
    }
    EXPECT_EQ(failures, trace.Lines(2));
}

const AnswerRow kAnswerRows[] = {
    {"Success", {"/bin/true"}, 0, ""},
    {"Failure", {"/bin/false"}, 1, ""},
    {"ExitStatus", {"/bin/sh", "-c", "exit 255"}, 255, ""},
    {"Killed", {"/bin/sh", "-c", "kill -KILL $$"}, 128 + SIGKILL, ""},
    {"Terminated", {"/bin/sh", "-c", "kill -TERM $$"}, 128 + SIGTERM, ""},
    {"OnThePath", {"true"}, 0, ""},
    {"NoShell", {"/bin/test", "$HOME;*|", "=", "$HOME;*|"}, 0, ""},
    {"EmptyArgument", {"/bin/test", "-z", ""}, 0, ""},
    {"MissingProgram",
     {"/missing/program"},
     127,
     "\"/missing/program\" cannot be started (No such file or directory); check the command line"},
    {"Folder",
     {"/etc"},
     127,
     "\"/etc\" cannot be started (Permission denied); check the command line"},
    {"NoExecutable",
     {"/etc/passwd"},
     127,
     "\"/etc/passwd\" cannot be started (Permission denied); check the command line"},
    {"NotOnThePath",
     {"no-such-program"},
     127,
     "\"no-such-program\" is not on the fixed PATH; give its full path"},
};

INSTANTIATE_TEST_SUITE_P(Rows, AnswerTest, testing::ValuesIn(kAnswerRows), RowName<AnswerRow>);

TEST(CommandRunnerTest, AScriptWithoutAnInterpreterIsNotGivenToAShell) {
    const CTempFile script("exit 3\n");
    chmod(script.Path().c_str(), 0755);
    EXPECT_EQ(127, RunWords({script.Path()}));
}

// ---- What a command finds when it starts ----

TEST(CommandRunnerTest, TheEnvironmentIsFixed) {
    const CTempFile file("");
    setenv("KZM_TEST_VARIABLE", "seen", 1);
    EXPECT_EQ(0, RunShell("tr '\\0' '\\n' < /proc/$$/environ > " + file.Path()));
    unsetenv("KZM_TEST_VARIABLE");
    EXPECT_EQ("PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin\nLANG=C\n",
              ReadFile(file.Path()));
}

TEST(CommandRunnerTest, ThePathOfTheCallerIsNotSearched) {
    const std::string folder = CTestRoot::Path("/bin");
    const CTestRoot root;
    WriteFile(folder + "/only-here", "#!/bin/sh\nexit 0\n");
    chmod((folder + "/only-here").c_str(), 0755);
    const std::string before = getenv("PATH");
    setenv("PATH", folder.c_str(), 1);
    EXPECT_EQ(127, RunWords({"only-here"}));
    EXPECT_EQ(0, RunWords({"true"}));
    setenv("PATH", before.c_str(), 1);
}

TEST(CommandRunnerTest, TheStandardStreamsAreOnDevNull) {
    for (const char* stream : {"0", "1", "2"}) {
        SCOPED_TRACE(stream);
        EXPECT_EQ(0, RunWords({"/bin/sh", "-c", "[ /proc/$$/fd/$0 -ef /dev/null ]", stream}));
    }
}

TEST(CommandRunnerTest, NoOtherDescriptorIsHandedDown) {
    for (const int wanted : {3, 50, 900}) {
        const int descriptor = fcntl(STDERR_FILENO, F_DUPFD, wanted);
        SCOPED_TRACE(descriptor);
        EXPECT_EQ(1, RunShell("[ -e /proc/$$/fd/" + std::to_string(descriptor) + " ]"));
        close(descriptor);
    }
}

TEST(CommandRunnerTest, TheProcessGroupIsItsOwn) {
    EXPECT_EQ(0, RunShell("read -r id name state parent group rest < /proc/$$/stat; "
                          "[ \"$group\" = $$ ]"));
}

TEST(CommandRunnerTest, SignalsAreAtTheirDefault) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const auto handlerBefore = signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(0, RunWords({"/bin/grep", "-q", "^SigBlk:.0*$", "/proc/self/status"}));
    // From signal 32 on they are the C library's own.
    EXPECT_EQ(0, RunWords({"/bin/grep", "-q", "^SigIgn:.*[08]0000000$", "/proc/self/status"}));
    signal(SIGPIPE, handlerBefore);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

// ---- How a command ends ----

// Whether the process runs; one that nobody has collected yet does not.
bool IsRunning(const std::string& process) {
    std::ifstream file("/proc/" + process + "/stat");
    std::string id;
    std::string name;
    std::string state;
    return file >> id >> name >> state && state != "Z" && state != "X";
}

void ExpectTimedOut(const std::string& script, double secondsAtLeast, double secondsAtMost) {
    const CTraceCapture trace("KzmProviderBase");
    const Clock::time_point begin = Clock::now();
    EXPECT_EQ(124, RunShell(script, 1));
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    EXPECT_GE(seconds, secondsAtLeast);
    EXPECT_LE(seconds, secondsAtMost);
    EXPECT_EQ((TraceLines{{2, "CCommandRunner::Run() \"/bin/sh\" took longer than TimeoutSeconds "
                              "and was ended"}}),
              trace.Lines(2));
}

// Runs the script, which writes the ids of its processes to the file $1, until its time-out.
void ExpectAllEnded(const std::string& script) {
    SCOPED_TRACE(script);
    const CTempFile file("");
    ExpectTimedOut("set -- " + file.Path() + "; " + script, 1.0, 2.5);
    std::istringstream processes(ReadFile(file.Path()));
    std::string child;
    std::string self;
    ASSERT_TRUE(processes >> child >> self);
    usleep(100'000);
    EXPECT_FALSE(IsRunning(child));
    EXPECT_FALSE(IsRunning(self));
}

TEST(CommandRunnerTest, AfterTheTimeoutItsWholeGroupIsEnded) {
    ExpectAllEnded("sleep 300 & echo $! $$ > $1; wait");
    ExpectAllEnded("(trap '' TERM; exec sleep 300) & echo $! $$ > $1; wait");
}

TEST(CommandRunnerTest, ItHasTwoSecondsToEndByItself) {
    const CTempFile file("");
    ExpectTimedOut("trap 'echo ended > " + file.Path() + "; exit 0' TERM; sleep 300 & wait", 1.0,
                   2.5);
    EXPECT_EQ("ended\n", ReadFile(file.Path()));
    ExpectTimedOut("trap '' TERM; sleep 300 & wait; sleep 300", 3.0, 4.5);
}

TEST(CommandRunnerTest, WhatItLeavesBehindInTimeGoesOn) {
    const CTempFile file("");
    EXPECT_EQ(0, RunShell("sleep 300 & echo $! > " + file.Path()));
    std::string service = ReadFile(file.Path());
    service.pop_back();
    EXPECT_TRUE(IsRunning(service));
    kill(std::stoi(service), SIGKILL);
}

TEST(CommandRunnerTest, ItsStatusIsCollected) {
    EXPECT_EQ(0, RunWords({"/bin/true"}));
    ExpectTimedOut("sleep 300", 1.0, 2.5);
    EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
    EXPECT_EQ(ECHILD, errno);
}

TEST(CommandRunnerTest, SignalsOfTheHostDoNotDisturbTheWait) {
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, &before);
    const itimerval often{{0, 5000}, {0, 5000}};
    const itimerval never{};
    setitimer(ITIMER_REAL, &often, nullptr);
    EXPECT_EQ(3, RunShell("sleep 0.3; exit 3"));
    setitimer(ITIMER_REAL, &never, nullptr);
    signal(SIGALRM, SIG_IGN); // one that is still on its way is dropped
    sigaction(SIGALRM, &before, nullptr);
}

// ---- Commands that are ended from outside ----

// Ends the commands that run once the file has a text.
std::thread EndCommandsLater(const std::string& path) {
    return std::thread([path] {
        for (int i = 0; i < 500 && ReadFile(path).empty(); ++i) {
            usleep(10'000);
        }
        CVendor::EndCommands();
    });
}

TEST(CommandRunnerTest, EndingCommandsEndsTheirGroupsAtOnce) {
    const CTempFile file("");
    const CTraceCapture trace("KzmProviderBase");
    std::thread ender = EndCommandsLater(file.Path());
    const Clock::time_point begin = Clock::now();
    EXPECT_EQ(128 + SIGTERM,
              RunShell("sleep 300 & echo $! $$ > " + file.Path() + "; wait; exit 3"));
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5));
    ender.join();
    EXPECT_EQ(TraceLines{}, trace.Lines(2));
    std::istringstream processes(ReadFile(file.Path()));
    std::string child;
    std::string self;
    ASSERT_TRUE(processes >> child >> self);
    usleep(100'000);
    EXPECT_FALSE(IsRunning(child));
    EXPECT_FALSE(IsRunning(self));
}

TEST(CommandRunnerTest, EndingCommandsGivesThemTwoSeconds) {
    const CTempFile file("");
    std::thread ender = EndCommandsLater(file.Path());
    EXPECT_EQ(9, RunShell("trap 'sleep 0.5; exit 9' TERM; echo x > " + file.Path() +
                          "; sleep 300 & wait"));
    ender.join();
    const CTempFile other("");
    ender = EndCommandsLater(other.Path());
    const Clock::time_point begin = Clock::now();
    EXPECT_EQ(128 + SIGKILL,
              RunShell("trap '' TERM; echo x > " + other.Path() + "; while :; do sleep 1; done"));
    EXPECT_GE(Clock::now() - begin, std::chrono::seconds(2));
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5));
    ender.join();
}

TEST(CommandRunnerTest, EndingCommandsEndsAllThatRunAndNoneThatFollows) {
    const CTempFile files[] = {CTempFile(""), CTempFile("")};
    std::atomic<int> answers[2] = {{-1}, {-1}};
    std::thread runners[2];
    for (int i = 0; i < 2; ++i) {
        runners[i] = std::thread([&files, &answers, i] {
            answers[i] = RunShell("echo x > " + files[i].Path() + "; exec sleep 300");
        });
    }
    for (const CTempFile& file : files) {
        for (int i = 0; i < 500 && ReadFile(file.Path()).empty(); ++i) {
            usleep(10'000);
        }
    }
    CVendor::EndCommands();
    for (int i = 0; i < 2; ++i) {
        runners[i].join();
        EXPECT_EQ(128 + SIGTERM, answers[i]);
    }
    EXPECT_EQ(3, RunShell("sleep 0.3; exit 3"));
}

} // namespace
