// What is seen while another process holds the settings lock.

#include "history/CCallerLock.h"
#include "tests/support/CProgram.h"
#include "tests/support/CTestRoot.h"
#include "tests/system/loggerctl/CGolden.h"
#include "tests/system/loggerctl/CHeldLock.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <optional>

namespace {

std::string Waiting() {
    return " Waiting for the settings lock, held by process " + std::to_string(getpid()) + " ... ";
}

TEST(LockWait, ShowsTheHolderOnATerminalAndErasesIt) {
    const CTestRoot root;
    const CHeldLock lock;
    const CProgram::Result result =
        CProgram({"get", "cpu.count"}).RunOnTerminal([&lock](const std::string& output) {
            if (output.find(Waiting() + "1 s") != std::string::npos) {
                lock.Release();
            }
        });
    EXPECT_EQ(result.m_iExitCode, 0) << result.m_sOutput;
    EXPECT_NE(result.m_sOutput.find(Waiting() + "0 s"), std::string::npos) << result.m_sOutput;
    const std::string end = "\r\033[K5\r\n";
    ASSERT_GE(result.m_sOutput.size(), end.size());
    EXPECT_EQ(result.m_sOutput.substr(result.m_sOutput.size() - end.size()), end);
}

// The commands that take the lock themselves, and the lock that callers take before.
TEST(LockWait, IsShownByEveryCommandThatWaits) {
    const CTestRoot root;
    const CHeldLock lock;
    const CProgram::Result settings =
        CProgram({"service", "stop"}).RunOnTerminal([&lock](const std::string& output) {
            if (output.find(Waiting() + "0 s") != std::string::npos) {
                lock.Release();
            }
        });
    EXPECT_EQ(settings.m_iExitCode, 0) << settings.m_sOutput;
    EXPECT_NE(settings.m_sOutput.find(Waiting()), std::string::npos) << settings.m_sOutput;

    auto other = history::CCallerLock::Take(std::chrono::milliseconds(0));
    ASSERT_TRUE(other);
    const std::string waiting =
        " Waiting for another change, held by process " + std::to_string(getpid()) + " ... ";
    std::optional<history::CCallerLock> held(std::move(*other));
    const CProgram::Result callers =
        CProgram({"service", "stop"}).RunOnTerminal([&](const std::string& output) {
            if (output.find(waiting + "0 s") != std::string::npos) {
                held.reset();
            }
        });
    EXPECT_EQ(callers.m_iExitCode, 0) << callers.m_sOutput;
    EXPECT_NE(callers.m_sOutput.find(waiting), std::string::npos) << callers.m_sOutput;
}

TEST(LockWait, IsNoneForThoseWhoAskForNone) {
    const CTestRoot root;
    const auto other = history::CCallerLock::Take(std::chrono::milliseconds(0));
    ASSERT_TRUE(other);
    for (CProgram::Words words : {CProgram::Words{"service", "stop"}, {"set", "cpu.count=3"}}) {
        words.emplace_back("--no-wait");
        const CProgram::Result result = CProgram(words).Run();
        EXPECT_EQ(result.m_iExitCode, 7);
        EXPECT_NE(result.m_sError.find("). Try again later, or wait with --wait SECONDS."),
                  std::string::npos)
            << result.m_sError;
    }
}

TEST(LockWait, ShowsNothingWhenNobodyHoldsTheLock) {
    const CTestRoot root;
    EXPECT_EQ(CProgram({"get", "cpu.count"}).RunOnTerminal().m_sOutput, "5\r\n");
}

TEST(LockWait, ShowsNothingWhileTheToolItselfHoldsTheLock) {
    const CTestRoot root;
    WriteFile(CTestRoot::Path("/bin/mount"), "#!/bin/sh\nsleep 1\n"); // the lock is held meanwhile
    EXPECT_EQ(CProgram({"get", "cpu.count"}).RunOnTerminal().m_sOutput, "5\r\n");
}

} // namespace
