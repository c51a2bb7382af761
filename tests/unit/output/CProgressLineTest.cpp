#include "loggerctl/output/CProgressLine.h"

#include "tests/support/CNoThreads.h"
#include "tests/system/loggerctl/CLocale.h"
#include "tests/unit/output/CStreamCapture.h"

#include <gtest/gtest.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <fstream>
#include <future>
#include <optional>
#include <thread>
#include <utility>

using namespace output;

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

const std::string kErase = "\r\033[K";

class CProgressLineOnTerminal : public testing::Test {
protected:
    CProgressLineOnTerminal() { m_terminal.m_sequences = true; }
    // A line that was left on a terminal that was stopped goes with the terminal.
    ~CProgressLineOnTerminal() override { CProgressLine::WriteAbove(""); }

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

// Stops the terminal as Ctrl-S does, and lets it go on at its end, or after some seconds so that
// what waits for it is only late.
class CStoppedTerminal {
public:
    CStoppedTerminal() { EXPECT_EQ(tcflow(STDERR_FILENO, TCOOFF), 0); }
    ~CStoppedTerminal() {
        m_over.set_value();
        m_thread.join();
        EXPECT_LT(Clock::now() - m_begin, kLong);
    }
    CStoppedTerminal(const CStoppedTerminal&) = delete;
    CStoppedTerminal& operator=(const CStoppedTerminal&) = delete;

private:
    static constexpr std::chrono::seconds kLong{4};
    const Clock::time_point m_begin = Clock::now();
    std::promise<void> m_over;
    std::thread m_thread{[this] {
        m_over.get_future().wait_for(kLong);
        tcflow(STDERR_FILENO, TCOON);
    }};
};

// Whether the thread waits in a system call.
bool Sleeps(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string text;
    std::getline(file, text);
    return text.find(") S ") != std::string::npos;
}

TEST_F(CProgressLineOnTerminal, DoesNotWaitForAStoppedTerminal) {
    std::optional<CProgressLine> line(std::in_place, "Stopping the service", m_terminal);
    EXPECT_TRUE(Await(" Stopping the service ... 0 s")) << m_capture.Text();
    {
        const CStoppedTerminal stopped;
        std::this_thread::sleep_for(milliseconds(500)); // it would be drawn again meanwhile
        line.reset();
    }
    // What could not be erased in time does not come back.
    CProgressLine::WriteAbove("behind\n");
    EXPECT_TRUE(EndsWith(m_capture.Text(), "s" + kErase + "behind\n")) << m_capture.Text();
    CProgressLine::WriteAbove("more\n");
    EXPECT_TRUE(EndsWith(m_capture.Text(), "behind\nmore\n")) << m_capture.Text();
}

TEST_F(CProgressLineOnTerminal, DoesNotWaitForAMessageThatAStoppedTerminalTakes) {
    std::optional<CProgressLine> line(std::in_place, "Stopping the service", m_terminal);
    EXPECT_TRUE(Await(" Stopping the service ... 0 s")) << m_capture.Text();
    std::thread writer;
    {
        const CStoppedTerminal stopped;
        std::atomic<pid_t> thread{0};
        writer = std::thread([&thread] {
            thread = gettid();
            CProgressLine::WriteAbove("A message.\n");
        });
        while (thread == 0 || !Sleeps(thread)) {
            std::this_thread::yield();
        }
        line.reset();
    }
    writer.join();
}

TEST_F(CProgressLineOnTerminal, EndsAtOnce) {
    Clock::duration shortest = std::chrono::hours(1);
    for (int i = 0; i < 5; ++i) {
        std::optional<CProgressLine> line(std::in_place, "Stopping the service", m_terminal);
        std::this_thread::sleep_for(milliseconds(20)); // it waits for its first look
        const Clock::time_point begin = Clock::now();
        line.reset();
        shortest = std::min(shortest, Clock::now() - begin);
    }
    EXPECT_LT(shortest, milliseconds(60)); // it looks every 125
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

TEST_F(CProgressLineOnTerminal, IsDoneWithoutWhereThereIsNoThread) {
    sigset_t before{};
    pthread_sigmask(SIG_SETMASK, nullptr, &before);
    {
        const CNoThreads none;
        const CProgressLine line("Stopping the service", m_terminal);
        sigset_t meanwhile{};
        pthread_sigmask(SIG_SETMASK, nullptr, &meanwhile);
        EXPECT_EQ(sigismember(&before, SIGINT), sigismember(&meanwhile, SIGINT));
    }
    CProgressLine::WriteAbove("done\n");
    EXPECT_TRUE(Await("done"));
    EXPECT_EQ(m_capture.Text().find("Stopping"), std::string::npos);
}

} // namespace
