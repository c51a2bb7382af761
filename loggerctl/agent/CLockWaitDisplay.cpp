#include "loggerctl/agent/CLockWaitDisplay.h"

#include "loggerctl/agent/CLockHolder.h"

#include <unistd.h>

#include <array>
#include <chrono>
#include <optional>
#include <utility>

namespace {

constexpr std::chrono::milliseconds kInterval{125};
constexpr unsigned int kLooksPerSecond = 8;
constexpr unsigned int kLooksBeforeDrawing = 3;
constexpr std::array kUtf8Frames{"⠋", "⠙", "⠸", "⠴", "⠦", "⠇"};
constexpr std::array kAsciiFrames{"|", "/", "-", "\\"};
constexpr char kEraseLine[] = "\r\033[K";

template <std::size_t Count>
const char* Frame(const std::array<const char*, Count>& frames, unsigned int look) {
    return frames[look % Count];
}

// Nothing can be done about a terminal that takes no more; the display is not needed for the work.
void WriteToTerminal(const std::string& text) {
    [[maybe_unused]] const ssize_t count = write(STDERR_FILENO, text.data(), text.size());
}

} // namespace

CLockWaitDisplay::CLockWaitDisplay(std::string lockFile, const CTerminal& terminal)
    : m_sLockFile(std::move(lockFile)),
      m_terminal(terminal) {
    if (m_terminal.m_bTerminal) {
        m_thread = std::thread(&CLockWaitDisplay::Watch, this);
    }
}

CLockWaitDisplay::~CLockWaitDisplay() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_bEnded = true;
    }
    m_ended.notify_one();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void CLockWaitDisplay::Watch() {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_ended.wait_for(lock, kInterval, [this] { return m_bEnded; })) {
        Look();
    }
    Erase();
}

void CLockWaitDisplay::Look() {
    const std::optional<pid_t> holder = CLockHolder::Find(m_sLockFile);
    if (!holder || *holder == getpid()) {
        m_uiLooks = 0;
        Erase();
        return;
    }
    ++m_uiLooks;
    if (m_uiLooks < kLooksBeforeDrawing) {
        return;
    }
    const char* frame =
        m_terminal.m_bUtf8 ? Frame(kUtf8Frames, m_uiLooks) : Frame(kAsciiFrames, m_uiLooks);
    const std::string text = " Waiting for the settings lock, held by process " +
                             std::to_string(*holder) + " ... " +
                             std::to_string(m_uiLooks / kLooksPerSecond) + " s";
    // A line that wraps could not be erased.
    Draw(frame + text.substr(0, m_terminal.m_columns > 2 ? m_terminal.m_columns - 2 : 0));
}

void CLockWaitDisplay::Draw(const std::string& line) {
    WriteToTerminal(kEraseLine + line);
    m_bDrawn = true;
}

void CLockWaitDisplay::Erase() {
    if (m_bDrawn) {
        WriteToTerminal(kEraseLine);
        m_bDrawn = false;
    }
}
