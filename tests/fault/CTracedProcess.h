#pragma once

#include "tests/fault/CSystemCallFault.h"
#include "tests/fault/CTracee.h"

#include <cstddef>
#include <functional>
#include <vector>

// A copy of this process in which a fault happens at a system call. Only the calls that it makes
// itself count, not those of processes that it starts, and only those inside its window.
class CTracedProcess {
public:
    static constexpr int kSignalBase = 128;
    static constexpr int kKilled = kSignalBase + 9; // the status of a process that was killed

    // What became of it.
    struct End {
        std::vector<long> m_calls; // the numbers of all calls in the window, in their order
        std::vector<std::size_t> m_counted; // which of them count for the fault
        bool m_bMet = false;                // the fault happened
        int m_iStatus = -1;                 // the exit status; 128+n when signal n ended it

        [[nodiscard]] int Counted() const { return static_cast<int>(m_counted.size()); }
    };

    // False where this machine or its administrator lets nobody trace.
    static bool IsPermitted();

    // Runs the function in the process and waits for its end. What the function returns becomes the
    // exit status. A process that runs longer than a minute is ended by SIGALRM.
    static End Run(const std::function<int()>& body, const CSystemCallFault& fault);

    // For the function: the window begins here. It lasts over a program that is executed.
    static void OpenWindow();
    // The window ends here, and the process is not traced any more.
    static void CloseWindow();

private:
    CTracedProcess(pid_t process, const CSystemCallFault& fault);

    End Trace();
    // True when the process is to go on being traced.
    bool Handle(int status);
    void OnSystemCall();
    void OnEntry(const CTracee::SystemCall& call);
    [[nodiscard]] bool Counts(const CTracee::SystemCall& call) const;
    void Meet(const CTracee::SystemCall& call);
    void OnExit();
    void Resume(int signal) const;

    const pid_t m_iProcess;
    const CTracee m_tracee;
    const CSystemCallFault m_fault;
    bool m_bInWindow = false;
    bool m_bInterrupted = false; // the last call was, and will be made again
    bool m_bRepeats = false;     // the next call is the last one, made again
    bool m_bAtCall = false;      // the present call is one that the fault happens to
    bool m_bAtSleep = false;     // it is one that is left out
    unsigned long m_uiBreak = 0; // what was asked for in a call that fails
    End m_end;
};
