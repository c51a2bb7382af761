// A restore that is killed, or that a system call fails, at every point where it changes something.

#include "KzmPaths.h"
#include "tests/support/CProgram.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/FindHost.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/support/TableTest.h"
#include "tests/system/loggerctl/CGolden.h"
#include "tests/system/loggerctl/SampleHistory.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <regex>

namespace fs = std::filesystem;
using namespace SampleHistory;

namespace {

constexpr int kKilled = 128 + 9;
constexpr int kMostCalls = 60; // more than any system call is made
constexpr char kStrace[] = "/usr/bin/strace";

bool CanTrace() {
    static const bool can =
        std::system("strace -o /dev/null -e inject=getpid:error=EPERM true 2>/dev/null") == 0;
    return can;
}

// Runs the command; at the n-th call of the system call the fault happens.
CProgram::Result RunWithFault(const std::string& systemCall, const std::string& fault, int n,
                              const CProgram::Words& arguments) {
    CProgram program(arguments);
    program.SetEnvironment("ASAN_OPTIONS=detect_leaks=0"); // which needs to trace, too
    program.SetWrapper({kStrace, "-o", "/dev/null", "-e",
                        "inject=" + systemCall + ":" + fault + ":when=" + std::to_string(n)});
    return program.Run();
}

void AddBoth() {
    Add(kOlder, "x", SampleHistory::kAgentConfig, SampleHistory::kAlertConfig);
    Add(kNewer, "y", kNewerAgentConfig, kNewerAlertConfig);
}

void ExpectOneOf(const std::string& path, const std::string& before, const std::string& after) {
    const std::string text = ReadFile(path);
    EXPECT_TRUE(text == before || text == after) << path << ":\n" << text;
}

void ExpectWholeFiles() {
    ExpectOneOf(KzmPaths::kAgentConfig, CTestRoot::kAgentConfig, SampleHistory::kAgentConfig);
    ExpectOneOf(KzmPaths::kAlertConfig, CTestRoot::kAlertConfig, SampleHistory::kAlertConfig);
}

void ExpectRestored() {
    EXPECT_EQ(ReadFile(KzmPaths::kAgentConfig), SampleHistory::kAgentConfig);
    EXPECT_EQ(ReadFile(KzmPaths::kAlertConfig), SampleHistory::kAlertConfig);
}

bool IsStopped(const CTestRoot& root) {
    std::vector<std::string> calls = root.VendorCalls();
    calls.erase(std::remove(calls.begin(), calls.end(), "CheckInstall"), calls.end());
    return !calls.empty() && calls.back() == "ServiceStop";
}

void ExpectNoRemains() {
    for (const fs::directory_entry& entry :
         fs::directory_iterator(fs::path(KzmPaths::kAgentConfig).parent_path())) {
        EXPECT_EQ(entry.path().extension(), ".cfg") << entry.path();
    }
    for (const std::string& name : Names()) {
        EXPECT_NE(name.front(), '.') << name;
    }
}

struct CallRow {
    const char* name; // the system call
};

class Interrupted : public testing::TestWithParam<CallRow> {
protected:
    void SetUp() override {
        if (!CanTrace()) {
            GTEST_SKIP() << "strace cannot be used here";
        }
    }
};

TEST_P(Interrupted, EndsWellWhenItIsRunAgain) {
    bool killed = true;
    int n = 1;
    for (; killed && n < kMostCalls; ++n) {
        SCOPED_TRACE("killed at call " + std::to_string(n));
        const CTestRoot root;
        AddBoth();
        const CProgram::Result first =
            RunWithFault(GetParam().name, "signal=KILL", n, {"restore", kOlder});
        killed = first.m_iExitCode == kKilled;
        ExpectWholeFiles();
        EXPECT_TRUE(IsLockFree());

        const CProgram::Result second = CProgram({"restore", kOlder}).Run();

        EXPECT_EQ(second.m_iExitCode, 0) << second.m_sError;
        ExpectRestored();
        EXPECT_FALSE(IsStopped(root));
        ExpectNoRemains();
    }
    EXPECT_GT(n, 2) << "it never calls " << GetParam().name;
    EXPECT_LT(n, kMostCalls);
}

const CallRow kChangingCalls[] = {
    {"fsync"},     {"renameat"}, {"unlinkat"},           {"mkdirat"}, {"fchmod"}, {"write"},
    {"utimensat"}, {"flock"},    {"vfork,clone,clone3"}, {"futex"}};

std::string CallName(const testing::TestParamInfo<CallRow>& info) {
    std::string name = info.param.name;
    std::replace(name.begin(), name.end(), ',', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(At, Interrupted, testing::ValuesIn(kChangingCalls), CallName);

class Faulty : public Interrupted {};

TEST_P(Faulty, LeavesAllAsItWasOrSaysThatTheServiceIsStopped) {
    bool failed = true;
    int n = 1;
    for (; failed && n < kMostCalls; ++n) {
        SCOPED_TRACE("failed at call " + std::to_string(n));
        const CTestRoot root;
        AddBoth();
        const CProgram::Result result =
            RunWithFault(GetParam().name, "error=ENOSPC", n, {"restore", kOlder});
        failed = result.m_iExitCode != 0;
        EXPECT_TRUE(IsLockFree());
        if (!failed) {
            ExpectRestored();
            EXPECT_FALSE(IsStopped(root));
        } else if (IsStopped(root)) {
            ExpectWholeFiles();
            EXPECT_NE(result.m_sError.find("the service is stopped"), std::string::npos)
                << result.m_sError;
        } else {
            EXPECT_TRUE(result.m_iExitCode == 4 || result.m_iExitCode == 7) << result.m_iExitCode;
            EXPECT_NE(result.m_sError.find("Nothing was restored."), std::string::npos)
                << result.m_sError;
            EXPECT_EQ(ReadFile(KzmPaths::kAgentConfig), CTestRoot::kAgentConfig);
            EXPECT_EQ(ReadFile(KzmPaths::kAlertConfig), CTestRoot::kAlertConfig);
            fs::remove(Path(".restoring")); // the same is restored the next time
            ExpectNoRemains();
            EXPECT_EQ(Names().size(), 2U);
        }
    }
    EXPECT_GT(n, 2) << "it never calls " << GetParam().name;
    EXPECT_LT(n, kMostCalls);
}

const CallRow kFailingCalls[] = {{"fsync"}, {"renameat"}, {"mkdirat"}, {"fchmod"}, {"utimensat"}};

INSTANTIATE_TEST_SUITE_P(At, Faulty, testing::ValuesIn(kFailingCalls), CallName);

// "fsync PATH" and "rename FROM" in their order, without root and new IDs.
std::vector<std::string> DiskSteps(const std::string& trace) {
    const std::regex step(R"x((fsync)\(\d+<(.*?)>\)|(rename)at\(\d+<.*?>, "(.*?)")x");
    std::vector<std::string> steps;
    for (std::sregex_iterator at(trace.begin(), trace.end(), step), end; at != end; ++at) {
        const std::string words = at->str(1) + at->str(3) + " " + at->str(2) + at->str(4);
        steps.push_back(CGolden::WithoutRoot(WithoutNewIds(words)));
    }
    return steps;
}

TEST(InterruptedRestore, HasEverythingOnDiskBeforeTheNextStep) {
    if (!CanTrace()) {
        GTEST_SKIP() << "strace cannot be used here";
    }
    const CTestRoot root;
    AddBoth();
    const std::string trace = CTestRoot::Path("/trace");
    CProgram program({"restore", kOlder});
    program.SetEnvironment("ASAN_OPTIONS=detect_leaks=0");
    program.SetWrapper({kStrace, "-y", "-e", "trace=fsync,renameat", "-o", trace});
    EXPECT_EQ(program.Run().m_iExitCode, 0);

    const std::string history = "ROOT/var/opt/veltaro/kzm/logger/history";
    const std::string folder = "ROOT/etc/opt/veltaro/ardenvale";
    EXPECT_EQ(DiskSteps(ReadFile(trace)), (std::vector<std::string>{
                                              "fsync " + history + "/.new-NEWID/reason",
                                              "fsync " + history + "/.new-NEWID/agent.cfg",
                                              "fsync " + history + "/.new-NEWID/alert.cfg",
                                              "fsync " + history + "/.new-NEWID",
                                              "rename .new-NEWID",
                                              "fsync " + history,
                                              "fsync " + history + "/.new-restoring",
                                              "rename .new-restoring",
                                              "fsync " + history,
                                              "fsync " + folder + "/.agent.cfg.loggerctl-new",
                                              "fsync " + folder + "/.alert.cfg.loggerctl-new",
                                              "rename .agent.cfg.loggerctl-new",
                                              "fsync " + folder,
                                              "rename .alert.cfg.loggerctl-new",
                                              "fsync " + folder,
                                              "fsync " + history,
                                          }));
}

TEST(InterruptedRestore, IsTakenUpWithoutAnId) {
    const CTestRoot root;
    AddBoth();
    const std::string script = CTestRoot::Path("/opt/veltaro/agent/vendor-command");
    const std::string good = ReadFile(script);
    WriteFile(script, std::string("#!/bin/sh\n") + kFindHost +
                          "\n[ \"$1\" = ServiceStart ] && kill -9 $host\nexit 0\n");
    EXPECT_EQ(CProgram({"restore", kOlder}).Run().m_iExitCode, kKilled);
    ExpectRestored();
    WriteFile(script, good);

    const CProgram::Result again = CProgram({"restore"}).Run();

    EXPECT_EQ(again.m_iExitCode, 0) << again.m_sError;
    EXPECT_NE(again.m_sOutput.find(std::string("as in ") + kOlder), std::string::npos)
        << again.m_sOutput;
    ExpectRestored();
    EXPECT_EQ(root.VendorCalls(),
              (std::vector<std::string>{"CheckInstall", "ServiceStop", "ServiceStart"}));
    EXPECT_EQ(CProgram({"restore", kOlder}).Run().m_iExitCode, 0);
    EXPECT_EQ(root.VendorCalls().size(), 4U); // nothing is left to be done
}

} // namespace
