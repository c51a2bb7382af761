// Signals in the midst of a change: it is finished, with a line that says so; a second one gives up
// and says what the host is left with. The vendor's script sends them itself, at the time wanted.

#include "KzmPaths.h"
#include "tests/support/CTempFile.h"
#include "tests/support/FindHost.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/support/SampleConf.h"
#include "tests/support/TableTest.h"
#include "tests/system/loggerctl/CGolden.h"
#include "tests/system/loggerctl/SampleHistory.h"
#include "tests/system/loggerctl/SetSupport.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <ostream>

namespace fs = std::filesystem;

namespace {

using Json = nlohmann::json;
using Words = CProgram::Words;
using Clock = std::chrono::steady_clock;

constexpr char kFinished[] = "loggerctl: Interrupted: what has begun is finished first";

// At the command, the script records itself, then runs the shell code, and succeeds.
void RunAt(const std::string& command, const std::string& code) {
    WriteFile(CTestRoot::Path("/opt/veltaro/agent/vendor-command"),
              "#!/bin/sh\necho \"$1\" >> " + CTestRoot::Path("/opt/veltaro/agent/vendor-calls") +
                  "\n" + kFindHost + "\nif [ \"$1\" = " + command + " ]; then " + code +
                  "; fi\nexit 0\n");
}

// Whether a process has this command line, in which blanks stand for the ends of words.
bool IsRunning(const std::string& commandLine) {
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
        std::ifstream file(entry.path() / "cmdline");
        std::string found;
        std::getline(file, found);
        std::replace(found.begin(), found.end(), '\0', ' ');
        if (found == commandLine + " ") {
            return true;
        }
    }
    return false;
}

// Not to be taken for that of another test program.
const std::string kOwnSleep = "sleep 4711." + std::to_string(getpid());

struct SignalRow {
    const char* name;
    const char* m_signal;
    const char* m_command;
    Words m_arguments;
};
std::ostream& operator<<(std::ostream& out, const SignalRow& row) {
    return out << row.name;
}

class Interrupt : public testing::TestWithParam<SignalRow> {
protected:
    Interrupt() {
        SampleHistory::Add(SampleHistory::kOlder, "x", SampleHistory::kAgentConfig,
                           SampleHistory::kAlertConfig);
    }
    const CTestRoot m_root;
};

TEST_P(Interrupt, LetsWhatHasBegunComeToItsEnd) {
    const SignalRow& row = GetParam();
    RunAt(row.m_command, std::string("kill -") + row.m_signal + " $host; sleep 0.3");
    const CProgram::Result result = CProgram(row.m_arguments).Run();
    EXPECT_EQ(result.m_iExitCode, 0) << result.m_sError;
    EXPECT_NE(result.m_sError.find(kFinished), std::string::npos) << result.m_sError;
    EXPECT_EQ(m_root.VendorCalls().back(), "ServiceStart");
    EXPECT_TRUE(IsLockFree());
    if (row.m_arguments.front() == "set") {
        EXPECT_EQ(ReadFile(KzmPaths::kAlertConfig), ChangedAlert());
    }
}

const SignalRow kSignalRows[] = {
    {"SetAtTheStop", "INT", "ServiceStop", {"set", "cpu.threshold=95"}},
    {"SetAtTheStart", "INT", "ServiceStart", {"set", "cpu.threshold=95"}},
    {"SetTerminated", "TERM", "ServiceStop", {"set", "cpu.threshold=95"}},
    {"SetHungUp", "HUP", "ServiceStop", {"set", "cpu.threshold=95"}},
    {"RestoreAtTheStop", "INT", "ServiceStop", {"restore", SampleHistory::kOlder}},
    {"RestoreAtTheStart", "TERM", "ServiceStart", {"restore", SampleHistory::kOlder}},
    {"Restart", "INT", "ServiceStop", {"service", "restart"}},
};
INSTANTIATE_TEST_SUITE_P(Once, Interrupt, testing::ValuesIn(kSignalRows),
                         [](const auto& row) { return row.param.name; });

// At Ctrl-C in a pipeline the reader of the line that says so has gone already.
TEST(InterruptOnce, FinishesWithoutAReaderOfItsErrors) {
    const CTestRoot root;
    RunAt("ServiceStop", "sleep 0.3; kill -INT $host; sleep 0.3");
    CProgram program({"set", "cpu.threshold=95"});
    program.SetWrapper({"/bin/bash", "-c", "exec \"$@\" 2> >(:)", "bash"});
    EXPECT_EQ(program.Run().m_iExitCode, 0);
    EXPECT_EQ(root.VendorCalls().back(), "ServiceStart");
    EXPECT_EQ(ReadFile(KzmPaths::kAlertConfig), ChangedAlert());
}

// A connection that breaks hangs up twice: the shell does, and the terminal when the shell ends.
TEST(InterruptOnce, FinishesHoweverOftenItIsHungUp) {
    const CTestRoot root;
    RunAt("ServiceStop", "kill -HUP $host; sleep 0.6; kill -HUP $host; sleep 0.6");
    EXPECT_EQ(RunSet({"cpu.threshold=95"}).m_iExitCode, 0);
    EXPECT_EQ(root.VendorCalls().back(), "ServiceStart");
}

TEST(InterruptOnce, FinishesWhenATimeOutEndsItAndItsGroup) {
    const CTestRoot root;
    RunAt("ServiceStop", "sleep 3");
    CProgram program({"set", "cpu.threshold=95"});
    program.SetWrapper({"/usr/bin/timeout", "2"});
    EXPECT_EQ(program.Run().m_iExitCode, 124);
    EXPECT_EQ(root.VendorCalls().back(), "ServiceStart");
}

class InterruptTwice : public Interrupt {};

TEST_P(InterruptTwice, GivesUpAndSaysWhatTheHostIsLeftWith) {
    const SignalRow& row = GetParam();
    RunAt(row.m_command, std::string("kill -") + row.m_signal + " $host; sleep 0.6; kill -" +
                             row.m_signal + " $host; exec " + kOwnSleep);
    const Clock::time_point begin = Clock::now();
    CProgram::Result result = CProgram(row.m_arguments).Run();
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(10));
    EXPECT_FALSE(IsRunning(kOwnSleep));
    EXPECT_TRUE(IsLockFree());
    result.m_sError = SampleHistory::WithoutNewIds(result.m_sError);
    CGolden::Expect(std::string("interrupt-twice-") + row.name, result);
}

const SignalRow kTwiceRows[] = {
    {"set-stop", "INT", "ServiceStop", {"set", "cpu.threshold=95"}},
    {"set-start", "INT", "ServiceStart", {"set", "cpu.threshold=95"}},
    {"restore-stop", "TERM", "ServiceStop", {"restore", SampleHistory::kOlder}},
    {"restore-start", "INT", "ServiceStart", {"restore", SampleHistory::kOlder}},
    {"restart", "INT", "ServiceStop", {"service", "restart"}},
};
INSTANTIATE_TEST_SUITE_P(Twice, InterruptTwice, testing::ValuesIn(kTwiceRows), [](const auto& row) {
    std::string name = row.param.name;
    name[name.find_first_of('-') == std::string::npos ? 0 : name.find('-')] = '_';
    return name;
});

// The stop may come to a good end although it was to be ended: then, too, nothing more is begun.
TEST(InterruptTwiceOnly, DoesNotStartTheServiceAgain) {
    const Words commands[] = {{"set", "cpu.threshold=95"}, {"restore", SampleHistory::kOlder}};
    for (Words words : commands) {
        SCOPED_TRACE(words.front());
        const CTestRoot root;
        SampleHistory::Add(SampleHistory::kOlder, "x", SampleHistory::kAgentConfig,
                           SampleHistory::kAlertConfig);
        RunAt("ServiceStop", "trap 'exit 0' TERM; kill -INT $host; sleep 0.6; kill -INT $host; "
                             "sleep 20 & wait");
        words.insert(words.begin(), "--format=json");
        const CProgram::Result result = CProgram(words).Run();
        EXPECT_EQ(result.m_iExitCode, 4);
        EXPECT_EQ(root.VendorCalls().back(), "ServiceStop");
        const Json error = Json::parse(result.m_sOutput).at("error");
        EXPECT_EQ(error.at("stage"), "given-up");
        EXPECT_EQ(error.at("host_state").at("service"), "stopped");
        EXPECT_EQ(error.at("host_state").at("files"), "changed");
    }
}

// The mount command is nobody's service command: it cannot be waited for without end.
TEST(InterruptTwiceOnly, EndsAChangeThatHangs) {
    const CTestRoot root;
    const std::string pipe = CTestRoot::Path("/bin/mount.output");
    // When the tool has ended, the mount command is let go of, which it leaves behind.
    const std::string untilItHasEnded =
        "for n in $(seq 300); do read -r id name state rest < /proc/$host/stat && "
        "[ $state != Z ] || break; sleep 0.1; done; ";
    RunAt("ServiceStop", "rm " + pipe + "; mkfifo " + pipe +
                             "; (sleep 0.3; kill -INT $host; sleep 0.6; kill -INT $host; " +
                             untilItHasEnded + ": > " + pipe + ") & true");
    const CProgram::Result result = RunSet({"cpu.threshold=95"});
    EXPECT_EQ(result.m_iExitCode, 4) << result.m_sError;
    EXPECT_NE(result.m_sError.find("given up while it was under way"), std::string::npos)
        << result.m_sError;
    EXPECT_NE(result.m_sError.find("loggerctl service start"), std::string::npos)
        << result.m_sError;
    EXPECT_TRUE(IsLockFree());
}

// A trace that nobody reads any more is no reason to leave the agent stopped.
TEST(InterruptByAPipe, DoesNotEndAChange) {
    const CTestRoot root;
    const std::string stopped = CTestRoot::Path("/stopped");
    RunAt("ServiceStop", "touch " + stopped + "; sleep 0.2");
    CProgram program({"set", "cpu.threshold=95"});
    program.SetEnvironment("KZM_TRACE=15");
    program.SetWrapper({"/bin/sh", "-c",
                        "{ \"$0\" \"$@\"; } 2>&1 >/dev/null | while [ ! -e " + stopped +
                            " ] && read line; do :; done"});
    EXPECT_EQ(program.Run().m_sError, "");
    EXPECT_EQ(root.VendorCalls().back(), "ServiceStart");
    EXPECT_EQ(ReadFile(KzmPaths::kAlertConfig), ChangedAlert());
}

// Nobody waits longer than that for an answer to what the service does.
TEST(InterruptTwiceOnly, DoesNotWaitForTheStatusOfTheService) {
    const CTestRoot root;
    SetVendorCommand("ServiceStatus", "/bin/sleep 20");
    RunAt("ServiceStop", "trap '' TERM; kill -INT $host; sleep 0.6; kill -INT $host; sleep 20");
    const Clock::time_point begin = Clock::now();
    const CProgram::Result result = RunSet({"cpu.threshold=95"});
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(7));
    EXPECT_EQ(result.m_iExitCode, 4);
    EXPECT_NE(result.m_sError.find("The settings files are as they were."), std::string::npos)
        << result.m_sError;
}

TEST(InterruptBefore, EndsTheCommandAtOnce) {
    const CTestRoot root;
    RunAt("CheckInstall", "kill -INT $host; sleep 1");
    EXPECT_EQ(RunSet({"cpu.threshold=95"}).m_iExitCode, 128 + 2);
    EXPECT_EQ(ReadFile(KzmPaths::kAlertConfig), CTestRoot::kAlertConfig);
    EXPECT_TRUE(IsLockFree());
}

} // namespace
