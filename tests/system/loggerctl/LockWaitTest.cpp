// What is seen while another process holds the settings lock.

#include "tests/support/CProgram.h"
#include "tests/support/CTestRoot.h"
#include "tests/system/loggerctl/CGolden.h"
#include "tests/system/loggerctl/CHeldLock.h"

#include <gtest/gtest.h>
#include <unistd.h>

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
