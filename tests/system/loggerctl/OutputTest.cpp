// Where the output goes and what it may contain there.

#include "tests/support/CProgram.h"
#include "tests/support/CTestRoot.h"

#include <gtest/gtest.h>

#include <csignal>

namespace {

class Output : public testing::Test {
protected:
    const CTestRoot m_root;
    CProgram m_program{{"get", "--no-usage"}};
};

TEST_F(Output, HasNoSequencesInAPipe) {
    EXPECT_EQ(m_program.Run().m_sOutput.find('\033'), std::string::npos);
}

struct ColourRow {
    const char* m_pEnvironment;
    bool m_bColour;
};

TEST_F(Output, HasColourOnATerminalUnlessForbidden) {
    for (const ColourRow& row : {ColourRow{"NO_COLOR=1", false}, ColourRow{"NO_COLOR=", true},
                                 ColourRow{"TERM=dumb", false}, ColourRow{"TERM=", false},
                                 ColourRow{"TERM=vt100", true}}) {
        SCOPED_TRACE(row.m_pEnvironment);
        CProgram program({"get", "--no-usage"});
        program.SetEnvironment(row.m_pEnvironment);
        const CProgram::Result result = program.RunOnTerminal();
        EXPECT_EQ(result.m_iExitCode, 0);
        EXPECT_EQ(result.m_sOutput.find('\033') != std::string::npos, row.m_bColour)
            << result.m_sOutput;
    }
}

TEST_F(Output, ThatFindsNoRoomIsAFailure) {
    m_program.RedirectOutput("/dev/full");
    const CProgram::Result result = m_program.Run();
    EXPECT_EQ(result.m_iExitCode, 4);
    EXPECT_EQ(result.m_sError,
              "loggerctl: The output cannot be written: No space left on device.\n");
}

// Every command says it in the same way, whatever it would have said.
TEST_F(Output, OfEveryCommandThatFindsNoRoomIsAFailure) {
    const CProgram::Words commands[] = {
        {"--version"},
        {"set", "--help"},
        {"get", "cpu.count"},
        {"get", "--json"},
        {"set", "cpu.threshold=90"},
        {"set", "--dry-run", "cpu.threshold=95"},
        {"history"},
        {"history", "--json"},
        {"service", "stop"},
        {"--format=json", "get"},
        {"--format=json", "get", "no.such"},
    };
    for (const CProgram::Words& words : commands) {
        SCOPED_TRACE(words.back());
        CProgram program(words);
        program.RedirectOutput("/dev/full");
        const CProgram::Result result = program.Run();
        EXPECT_EQ(result.m_iExitCode, 4);
        EXPECT_NE(result.m_sError.find("The output cannot be written: No space left on device."),
                  std::string::npos)
            << result.m_sError;
    }
}

TEST_F(Output, ThatIsClosedIsAFailure) {
    m_program.RedirectOutput("");
    const CProgram::Result result = m_program.Run();
    EXPECT_EQ(result.m_iExitCode, 4);
    EXPECT_EQ(result.m_sError, "loggerctl: The output cannot be written: Bad file descriptor.\n");
}

TEST_F(Output, OfHelpThatFindsNoRoomIsAFailure) {
    CProgram help({"--help"});
    help.RedirectOutput("/dev/full");
    EXPECT_EQ(help.Run().m_iExitCode, 4);
}

TEST_F(Output, IntoAClosedPipeEndsQuietly) {
    const CProgram::Result result = m_program.RunIntoClosedPipe();
    EXPECT_EQ(result.m_iExitCode, 128 + SIGPIPE);
    EXPECT_EQ(result.m_sError, "");
}

TEST_F(Output, IntoAClosedPipeIsAFailureWithoutTheSignal) {
    m_program.IgnorePipeSignal();
    const CProgram::Result result = m_program.RunIntoClosedPipe();
    EXPECT_EQ(result.m_iExitCode, 4);
    EXPECT_EQ(result.m_sError, "loggerctl: The output cannot be written: Broken pipe.\n");
}

} // namespace
