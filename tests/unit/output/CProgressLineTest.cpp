#include "loggerctl/output/CProgressLine.h"

#include "tests/system/loggerctl/CLocale.h"
#include "tests/unit/output/CStreamCapture.h"

#include <gtest/gtest.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>

using namespace output;

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

const std::string kErase = "\r\033[K";

class CProgressLineOnTerminal : public testing::Test {
protected:
    CProgressLineOnTerminal() { m_terminal.m_sequences = true; }

    // False when it does not come within some seconds.
    bool Await(const std::string& text) { return AwaitFrom(0, text); }

    bool AwaitFrom(std::size_t position, const std::string& text) {
        const Clock::time_point end = Clock::now() + std::chrono::seconds(10);
        while (m_capture.Text().find(text, position) == std::string::npos) {
            if (Clock::now() > end) {
                return false;
            }
            std::this_thread::sleep_for(milliseconds(10));
        }
        return true;
    }

    CStreamCapture m_capture{STDERR_FILENO, CStreamCapture::Kind::Terminal};
    CTerminal m_terminal;
};

bool EndsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), std::string::npos, end) == 0;
}

// As by Ctrl-S.
TEST_F(CProgressLineOnTerminal, DoesNotWaitForAStoppedTerminal) {
    const Clock::time_point begin = Clock::now();
    std::thread later([] {
        std::this_thread::sleep_for(std::chrono::seconds(4));
        tcflow(STDERR_FILENO, TCOON);
    });
    {
        const CProgressLine line("Stopping the service", m_terminal);
        EXPECT_TRUE(Await(" Stopping the service ... 0 s")) << m_capture.Text();
        EXPECT_EQ(tcflow(STDERR_FILENO, TCOOFF), 0);
        std::this_thread::sleep_for(milliseconds(500));
    }
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(3));
    later.join();
}

TEST_F(CProgressLineOnTerminal, CountsTheSecondsAndErasesTheLine) {
    {
        const CProgressLine line("Stopping the service", m_terminal);
        EXPECT_TRUE(Await(" Stopping the service ... 0 s")) << m_capture.Text();
        EXPECT_TRUE(Await(" Stopping the service ... 1 s")) << m_capture.Text();
    }
    const std::string& text = m_capture.Text();
    EXPECT_TRUE(EndsWith(text, "1 s" + kErase)) << text;
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_EQ(text.find_first_not_of("|/-\\", kErase.size()), kErase.size() + 1) << text;
}

TEST_F(CProgressLineOnTerminal, HasAFrameOfDotsWithUtf8) {
    m_terminal.m_utf8 = true;
    const CProgressLine line("Waiting", m_terminal);
    ASSERT_TRUE(Await(" Waiting ... 0 s")) << m_capture.Text();
    EXPECT_EQ(m_capture.Text().substr(kErase.size(), 2), "\xE2\xA0") << m_capture.Text();
}

TEST_F(CProgressLineOnTerminal, ShowsNothingInTheFirstHalfSecond) {
    {
        const CProgressLine line("Waiting", m_terminal);
        std::this_thread::sleep_for(milliseconds(300));
    }
    EXPECT_EQ(m_capture.Text(), "");
}

TEST_F(CProgressLineOnTerminal, ShowsNothingWhereThereIsNoTerminal) {
    std::atomic<int> asked = 0;
    {
        const CProgressLine line([&] { return std::to_string(++asked); }, CTerminal());
        std::this_thread::sleep_for(milliseconds(800));
    }
    EXPECT_EQ(m_capture.Text(), "");
    EXPECT_EQ(asked, 0);
}

TEST_F(CProgressLineOnTerminal, IsErasedAndBeginsAgainWhenThereIsNothingToShow) {
    std::atomic<bool> pause = false;
    const CProgressLine line([&] { return std::string(pause ? "" : "Waiting"); }, m_terminal);
    ASSERT_TRUE(Await("1 s")) << m_capture.Text();
    pause = true;
    ASSERT_TRUE(Await("1 s" + kErase)) << m_capture.Text();
    std::this_thread::sleep_for(milliseconds(300)); // the thread has looked meanwhile
    EXPECT_TRUE(EndsWith(m_capture.Text(), "1 s" + kErase)) << m_capture.Text();
    pause = false;
    EXPECT_TRUE(AwaitFrom(m_capture.Text().size(), " Waiting ... 0 s")) << m_capture.Text();
}

TEST_F(CProgressLineOnTerminal, IsCutToTheWidthOfTheTerminal) {
    const CLocale locale(kUtf8Locale);
    m_terminal.m_columns = 10;
    const CProgressLine line("ab\xE6\x97\xA5\xE6\x97\xA5\xE6\x97\xA5\xE6\x97\xA5", m_terminal);
    ASSERT_TRUE(Await("ab")) << m_capture.Text();
    const std::string& text = m_capture.Text();
    const std::size_t begin = kErase.size() + 1; // behind the first frame
    EXPECT_EQ(text.substr(begin, text.find('\r', begin) - begin), " ab\xE6\x97\xA5\xE6\x97\xA5");
}

TEST_F(CProgressLineOnTerminal, StaysBelowWhatIsWrittenAbove) {
    CProgressLine::WriteAbove("before\n");
    EXPECT_EQ(m_capture.Text(), "before\n");
    {
        const CProgressLine line("Waiting", m_terminal);
        ASSERT_TRUE(Await(" Waiting ... 0 s")) << m_capture.Text();
        CProgressLine::WriteAbove("above\n");
        EXPECT_TRUE(Await("0 s" + kErase + "above\n")) << m_capture.Text();
        EXPECT_EQ(m_capture.Text().find(" Waiting ... 0 s", m_capture.Text().find("above\n")),
                  m_capture.Text().find("above\n") + 7);
    }
    CProgressLine::WriteAbove("behind\n");
    EXPECT_TRUE(EndsWith(m_capture.Text(), "s" + kErase + "behind\n")) << m_capture.Text();
}

constexpr int kFirstOfTheLibrary = 32;

// Of this thread. All but the two that nobody can block, and those the thread library keeps.
bool AreAllSignalsBlocked() {
    sigset_t blocked{};
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    for (int signal = 1; signal < kFirstOfTheLibrary; ++signal) {
        if (signal != SIGKILL && signal != SIGSTOP && sigismember(&blocked, signal) == 0) {
            return false;
        }
    }
    return true;
}

TEST_F(CProgressLineOnTerminal, LeavesAllSignalsToOtherThreads) {
    const CProgressLine line(
        [] { return std::string(AreAllSignalsBlocked() ? "All blocked" : "Some not"); },
        m_terminal);
    EXPECT_FALSE(AreAllSignalsBlocked());
    EXPECT_TRUE(Await(" All blocked ... ")) << m_capture.Text();
}

} // namespace
