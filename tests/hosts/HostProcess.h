#pragma once

#include <functional>
#include <string>

#include <signal.h>

// Runs what a host does in a process of its own, which leaves no core and lives for fifty seconds
// at most. How it ended: "exit 0", or "SEGV" for the signal that ended it. The function is called
// on a thread of its own: nothing below it catches what it throws.
std::string EndOf(const std::function<int()>& host);

// Sets a handler as a host does, the flags and the mask included.
void SetHandler(int signalNumber, void (*handler)(int, siginfo_t*, void*), int flags = 0,
                int alsoBlocked = 0);

// Whether the calling thread blocks the signal.
bool IsBlocked(int signalNumber);

// Faults of the calling thread.
void ReadFromNowhere(); // SIGSEGV
void DivideByZero();    // SIGFPE

// Counts its destruction.
class CCounter {
public:
    explicit CCounter(int* count) : m_pCount(count) {}
    ~CCounter() { ++*m_pCount; }
    CCounter(const CCounter&) = delete;
    CCounter& operator=(const CCounter&) = delete;

private:
    int* m_pCount;
};

// For death by the sanitizers' own handlers of these signals.
#ifdef KZM_NO_FAULT_TRANSLATION
#define SKIP_UNLESS_TRANSLATED()                                                                   \
    GTEST_SKIP() << "the sanitizers handle the fault signals themselves"
#else
#define SKIP_UNLESS_TRANSLATED() static_cast<void>(0)
#endif
