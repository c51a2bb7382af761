// "loggerctl set" beside others who change the same files: no change that was acknowledged is lost,
// and a foreign one is named as what it is.

#include "KzmPaths.h"
#include "tests/support/CTempFile.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/support/SampleConf.h"
#include "tests/support/WholeRun.h"
#include "tests/system/loggerctl/CGolden.h"
#include "tests/system/loggerctl/SetSupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <future>
#include <thread>

namespace fs = std::filesystem;

namespace {

using Words = CProgram::Words;
using std::chrono::milliseconds;

constexpr char kStrace[] = "/usr/bin/strace";

bool CanTrace() {
    static const bool can =
        std::system("strace -o /dev/null -e inject=getpid:error=EPERM true 2>/dev/null") == 0;
    return can;
}

std::string Values(const Words& keys) {
    Words words = {"get"};
    words.insert(words.end(), keys.begin(), keys.end());
    return CProgram(words).Run().m_sOutput;
}

std::string VendorScript() {
    return CTestRoot::Path("/opt/veltaro/agent/vendor-command");
}

std::string AppendToAlert(const std::string& line) {
    return "echo '" + line + "' >> " + KzmPaths::kAlertConfig;
}

// The first caller stands still before its n-th lock; the second comes in between.
class Delayed : public testing::TestWithParam<int> {};

TEST_P(Delayed, ChangeIsNotLostByOneThatComesInBetween) {
    if (!CanTrace()) {
        GTEST_SKIP() << "strace cannot be used here";
    }
    const CTestRoot root;
    auto first = std::async(std::launch::async, [] {
        CProgram program({"set", "cpu.threshold=51"});
        program.SetEnvironment("ASAN_OPTIONS=detect_leaks=0");
        program.SetWrapper({kStrace, "-f", "-o", "/dev/null", "-e",
                            "inject=flock:delay_enter=1500000:when=" + std::to_string(GetParam())});
        return program.Run();
    });
    std::this_thread::sleep_for(milliseconds(700));
    const CProgram::Result second = RunSet({"memory.threshold=53"});
    EXPECT_EQ(first.get().m_iExitCode, 0);
    EXPECT_EQ(second.m_iExitCode, 0) << second.m_sError;
    EXPECT_EQ(Values({"cpu.threshold", "memory.threshold"}), "51\n53\n");
}

INSTANTIATE_TEST_SUITE_P(Before, Delayed, testing::Values(2, 4, 6));

TEST(SetTogether, NoneOfFourCallersLosesAChange) {
    const CTestRoot root;
    const Words keys = {"cpu.threshold", "memory.threshold", "fs:/home.threshold", "fs.interval"};
    const int rounds = IsWholeRun() ? 50 : 8;
    for (int round = 1; round <= rounds; ++round) {
        std::vector<std::future<CProgram::Result>> callers;
        std::string expected;
        for (const std::string& key : keys) {
            callers.push_back(std::async(std::launch::async, [key, round] {
                return RunSet({key + "=" + std::to_string(round)});
            }));
            expected += std::to_string(round) + "\n";
        }
        for (auto& caller : callers) {
            const CProgram::Result result = caller.get();
            ASSERT_EQ(result.m_iExitCode, 0) << result.m_sError;
        }
        ASSERT_EQ(Values(keys), expected);
    }
}

TEST(SetTogether, ACallerWhoMayNotWaitIsBusy) {
    const CTestRoot root;
    WriteFile(VendorScript(), "#!/bin/sh\n[ \"$1\" != ServiceStop ] || sleep 4\n");
    auto first = std::async(std::launch::async, [] { return RunSet({"cpu.threshold=51"}); });
    std::this_thread::sleep_for(milliseconds(500));
    const auto begin = std::chrono::steady_clock::now();
    const CProgram::Result impatient = RunSet({"memory.threshold=53", "--no-wait"});
    EXPECT_LT(std::chrono::steady_clock::now() - begin, milliseconds(2000));
    const CProgram::Result brief = RunSet({"memory.threshold=53", "--wait", "1"});
    EXPECT_EQ(impatient.m_iExitCode, 7);
    EXPECT_NE(impatient.m_sError.find("Another change of the settings is under way, by process "),
              std::string::npos)
        << impatient.m_sError;
    EXPECT_EQ(brief.m_iExitCode, 7);
    EXPECT_NE(brief.m_sError.find(", and did not end within 1 second."), std::string::npos)
        << brief.m_sError;
    EXPECT_EQ(first.get().m_iExitCode, 0);
    EXPECT_EQ(Values({"memory.threshold"}), "85\n");
}

TEST(SetTogether, DryRunsAndReadersDoNotWait) {
    const CTestRoot root;
    WriteFile(VendorScript(), "#!/bin/sh\nexit 0\n");
    const CTempFile held("");
    // A callers' lock that is never given up.
    auto holder = std::async(std::launch::async, [] {
        return std::system((std::string("flock ") + KzmPaths::kCallerLock + " sleep 5").c_str());
    });
    std::this_thread::sleep_for(milliseconds(300));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(RunSet({"memory.threshold=53", "--dry-run"}).m_iExitCode, 0);
    EXPECT_EQ(Values({"memory.threshold"}), "85\n");
    EXPECT_EQ(CProgram({"history"}).Run().m_iExitCode, 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, milliseconds(4000));
    holder.wait();
}

// ---- Those who take no lock of ours ----

TEST(SetTogether, AForeignChangeIsFoundBeforeTheStop) {
    const CTestRoot root;
    // CheckInstall runs once for the reading and once, after everything was rehearsed, for the
    // change.
    const std::string seen = CTestRoot::Path("/seen");
    WriteFile(VendorScript(), "#!/bin/sh\necho \"$1\" >> " +
                                  CTestRoot::Path("/opt/veltaro/agent/vendor-calls") +
                                  "\nif [ -e " + seen + " ]; then " + AppendToAlert("# by hand") +
                                  "; fi\ntouch " + seen + "\n");
    const CProgram::Result result = RunSet({"cpu.threshold=51"});
    EXPECT_EQ(result.m_iExitCode, 4);
    ExpectGolden("refused_changed_before_the_stop", result);
    EXPECT_EQ(ReadFile(KzmPaths::kAlertConfig),
              std::string(CTestRoot::kAlertConfig) + "# by hand\n");
    EXPECT_EQ(root.VendorCalls(), (Words{"CheckInstall", "CheckInstall"}));
    EXPECT_FALSE(fs::exists(KzmPaths::kHistoryFolder));
    EXPECT_TRUE(IsLockFree());
}

TEST(SetTogether, AForeignChangeIsFoundAtTheEnd) {
    const CTestRoot root;
    WriteFile(VendorScript(),
              "#!/bin/sh\n[ \"$1\" != ServiceStart ] || " + AppendToAlert("# by hand") + "\n");
    ExpectGolden("failed_changed_at_the_end", RunSet({"cpu.threshold=51"}));
}

// ---- What the disk does not take ----

TEST(SetTogether, ATailThatWasCutOffIsNotCalledAChange) {
    if (!CanTrace()) {
        GTEST_SKIP() << "strace cannot be used here";
    }
    const CTestRoot root;
    // Every line is one write; the last one, behind all settings, finds no room.
    CProgram program({"set", "cpu.threshold=51"});
    program.SetEnvironment("ASAN_OPTIONS=detect_leaks=0");
    program.SetWrapper({kStrace, "-f", "-o", "/dev/null", "-P", KzmPaths::kAlertConfig, "-e",
                        "inject=write,writev:error=ENOSPC:when=8+"});
    const CProgram::Result result = program.Run();
    ASSERT_EQ(ReadFile(KzmPaths::kAlertConfig).find("Retention"), std::string::npos);
    ExpectGolden("failed_tail_cut_off", result);
    const CProgram::Result back = CProgram({"restore"}).Run();
    EXPECT_EQ(back.m_iExitCode, 0) << back.m_sError;
    EXPECT_EQ(ReadFile(KzmPaths::kAlertConfig), CTestRoot::kAlertConfig);
}

} // namespace
