#pragma once

#include "loggerctl/output/CTerminal.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

// Shows, from its construction to its destruction, a line on standard error for as long as another
// process holds the lock: who holds it, and for how many seconds that has been so. The line is
// erased when the wait ends. A short wait shows nothing, nor does one off a terminal.
//
// The line is drawn by a thread of its own; the lock itself is not touched.
class CLockWaitDisplay {
public:
    // The terminal is the one of standard error.
    CLockWaitDisplay(std::string lockFile, const CTerminal& terminal);
    ~CLockWaitDisplay();
    CLockWaitDisplay(const CLockWaitDisplay&) = delete;
    CLockWaitDisplay& operator=(const CLockWaitDisplay&) = delete;

private:
    void Watch();
    void Look();
    void Draw(const std::string& line);
    void Erase();

    const std::string m_sLockFile;
    const CTerminal m_terminal;

    // Of the drawing thread alone.
    unsigned int m_uiLooks = 0; // that found the lock held, in a row
    bool m_bDrawn = false;

    std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_bEnded = false; // guarded by m_mutex
    std::thread m_thread;
};
