#include "loggerctl/output/CTerminal.h"

#include "tests/system/loggerctl/CLocale.h"
#include "tests/unit/output/CStreamCapture.h"

#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

using namespace output;

namespace {

using Kind = CStreamCapture::Kind;

// The variable's value in the test; nullptr: it is not set.
struct CEnvironmentRow {
    const char* m_term;
    const char* m_noColour;
    bool m_sequences;
    bool m_colour;
};

void Set(const char* name, const char* value) {
    ASSERT_EQ(value == nullptr ? unsetenv(name) : setenv(name, value, 1), 0);
}

TEST(CTerminal, LooksAtTheEnvironment) {
    for (const CEnvironmentRow& row :
         {CEnvironmentRow{"xterm", nullptr, true, true}, CEnvironmentRow{"xterm", "", true, true},
          CEnvironmentRow{"xterm", "1", true, false},
          CEnvironmentRow{"dumb", nullptr, false, false},
          CEnvironmentRow{"", nullptr, false, false},
          CEnvironmentRow{nullptr, nullptr, false, false}}) {
        Set("TERM", row.m_term);
        Set("NO_COLOR", row.m_noColour);
        const CStreamCapture capture(STDERR_FILENO, Kind::Terminal);
        const CTerminal terminal = CTerminal::Of(STDERR_FILENO);
        EXPECT_TRUE(terminal.m_terminal);
        EXPECT_EQ(terminal.m_sequences, row.m_sequences);
        EXPECT_EQ(terminal.m_colour, row.m_colour);
    }
}

TEST(CTerminal, IsNoFile) {
    Set("TERM", "xterm");
    Set("NO_COLOR", nullptr);
    const CStreamCapture capture(STDERR_FILENO, Kind::File);
    const CTerminal terminal = CTerminal::Of(STDERR_FILENO);
    EXPECT_FALSE(terminal.m_terminal);
    EXPECT_FALSE(terminal.m_colour);
    EXPECT_EQ(terminal.m_columns, 80U);
}

TEST(CTerminal, KnowsTheLocale) {
    const CLocale utf8(kUtf8Locale);
    EXPECT_TRUE(CTerminal::Of(STDERR_FILENO).m_utf8);
    const CLocale plain(kPlainLocale);
    EXPECT_FALSE(CTerminal::Of(STDERR_FILENO).m_utf8);
}

TEST(CTerminal, KnowsTheTerminalsWidth) {
    const CStreamCapture capture(STDERR_FILENO, Kind::Terminal);
    struct winsize size {};
    size.ws_row = 24;
    size.ws_col = 132;
    ASSERT_EQ(ioctl(STDERR_FILENO, TIOCSWINSZ, &size), 0);
    EXPECT_EQ(CTerminal::Of(STDERR_FILENO).m_columns, 132U);
    size.ws_col = 0; // it does not know it
    ASSERT_EQ(ioctl(STDERR_FILENO, TIOCSWINSZ, &size), 0);
    EXPECT_EQ(CTerminal::Of(STDERR_FILENO).m_columns, 80U);
}

} // namespace
