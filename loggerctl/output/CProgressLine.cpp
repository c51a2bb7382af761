#include "loggerctl/output/CProgressLine.h"

#include "history/CDescriptor.h"
#include "loggerctl/output/SafeText.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <system_error>
#include <utility>

namespace output {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kInterval{125};
constexpr std::chrono::milliseconds kShort{500};
constexpr std::array kUtf8Frames{"⠋", "⠙", "⠴", "⠦"};
constexpr std::array kAsciiFrames{"|", "/", "-", "\\"};
constexpr char kEraseLine[] = "\r\033[K";

// What stands on the terminal's last line, for all threads of the process.
struct CScreen {
    std::mutex m_mutex;
    std::string m_line;                 // guarded by m_mutex
    std::atomic<bool> m_isDrawn{false}; // by somebody, who erases it; otherwise it was left there
};
CScreen screen;

bool TakesText(int terminal) {
    pollfd events{terminal, POLLOUT, 0};
    return poll(&events, 1, 0) == 1 && (events.revents & POLLOUT) != 0;
}

// Empty: nothing is left there. What is shown is not needed for the work, which must not wait for
// it: a terminal that takes nothing, such as one that Ctrl-S has stopped, is left as it is, and so
// is one that somebody else writes to.
void Draw(const std::string& line) {
    const std::unique_lock<std::mutex> lock(screen.m_mutex, std::try_to_lock);
    const bool isNeeded = lock && (!line.empty() || !screen.m_line.empty());
    if (isNeeded && TakesText(STDERR_FILENO)) {
        history::CDescriptor::WriteAll(STDERR_FILENO, kEraseLine + line);
        screen.m_line = line;
    }
}

// A line that wraps could not be erased.
std::string Cut(std::string text, std::size_t columns) {
    while (!text.empty() && Width(text) > columns) {
        while (text.size() > 1 && (static_cast<unsigned char>(text.back()) & 0xC0U) == 0x80U) {
            text.pop_back();
        }
        text.pop_back();
    }
    return text;
}

} // namespace

CProgressLine::CProgressLine(Describe describe, const CTerminal& terminal)
    : m_describe(std::move(describe)),
      m_terminal(terminal) {
    if (m_terminal.m_sequences) {
        Start();
    }
}

CProgressLine::CProgressLine(const std::string& text, const CTerminal& terminal)
    : CProgressLine([text] { return text; }, terminal) {}

CProgressLine::~CProgressLine() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isEnded = true;
    }
    m_ended.notify_one();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void CProgressLine::WriteAbove(const std::string& text) {
    const std::lock_guard<std::mutex> lock(screen.m_mutex);
    std::string& line = screen.m_line;
    const std::string before = line.empty() ? "" : kEraseLine;
    if (!screen.m_isDrawn) {
        line.clear();
    }
    history::CDescriptor::WriteAll(STDERR_FILENO, before + text + line);
}

void CProgressLine::Start() {
    sigset_t all{};
    sigset_t former{};
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former);
    try {
        m_thread = std::thread(&CProgressLine::Run, this);
    } catch (const std::system_error&) {
        m_thread = std::thread(); // the work goes on without the line
    }
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
}

void CProgressLine::Run() {
    std::unique_lock<std::mutex> lock(m_mutex);
    screen.m_isDrawn = true;
    while (!m_ended.wait_for(lock, kInterval, [this] { return m_isEnded; })) {
        Look();
    }
    Draw("");
    screen.m_isDrawn = false;
}

void CProgressLine::Look() {
    const std::string text = m_describe();
    const Clock::time_point now = Clock::now();
    if (text.empty()) {
        m_since = now;
        Draw("");
        return;
    }
    const Clock::duration elapsed = now - m_since;
    if (elapsed < kShort) {
        return;
    }
    const auto& frames = m_terminal.m_utf8 ? kUtf8Frames : kAsciiFrames;
    std::string line = frames.at(static_cast<std::size_t>(elapsed / kInterval) % frames.size());
    line += ' ' + text + " ... " + std::to_string(elapsed / std::chrono::seconds(1)) + " s";
    Draw(Cut(line, m_terminal.m_columns - 1));
}

} // namespace output
