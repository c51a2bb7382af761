#pragma once

#include "loggerctl/output/CTerminal.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace output {

// A line on the terminal of standard error while something takes long, from the construction to the
// destruction: what it is, and for how many seconds, e.g. "⠙ Stopping the agent's service ... 3 s".
// Off a terminal there is nothing, nor in the first half second. Who is to be quiet gives a
// default-constructed terminal.
//
// The line is drawn by a thread of its own, which has all signals blocked, and erased at the end.
// Where no thread can be had nothing is drawn. One line at a time can be shown.
class CProgressLine {
public:
    // Asked on the drawing thread, several times a second. Must be safe to print. Empty: nothing to
    // show now; the half second and the seconds begin again afterwards. Must not throw.
    using Describe = std::function<std::string()>;

    // The terminal is the one of standard error.
    CProgressLine(Describe describe, const CTerminal& terminal);
    CProgressLine(const std::string& text, const CTerminal& terminal);
    ~CProgressLine();
    CProgressLine(const CProgressLine&) = delete;
    CProgressLine& operator=(const CProgressLine&) = delete;

    // Writes a text, which is to end with a newline, to standard error without mixing with a line
    // drawn there, which stands below it afterwards. From any thread, and whether or not there is
    // such a line. Nothing is reported when it cannot be written.
    static void WriteAbove(const std::string& text);

private:
    void Start();
    void Run();
    void Look();

    const Describe m_describe;
    const CTerminal m_terminal;

    // When there was nothing to show last, or the construction; of the drawing thread alone.
    std::chrono::steady_clock::time_point m_since = std::chrono::steady_clock::now();

    std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_isEnded = false; // guarded by m_mutex
    std::thread m_thread;
};

} // namespace output
