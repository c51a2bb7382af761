#pragma once

#include <sys/types.h>

#include <array>

// A process of which this one is the tracer, stopped at a system call. What depends on the machine
// stands here alone.
class CTracee {
public:
    struct SystemCall {
        bool m_bIsEntry = false;
        long m_iNumber = 0;                         // known at the entry
        std::array<unsigned long, 6> m_arguments{}; // likewise
        bool m_bIsInterrupted = false; // known at the exit: unless a handler runs it is made again
    };

    explicit CTracee(pid_t process) : m_iProcess(process) {}

    [[nodiscard]] SystemCall Read() const;
    // At a signal: whether the process sent it itself.
    [[nodiscard]] bool HasSentSignal() const;

    // At the entry: the call is not made.
    void Skip() const;
    // At the entry: exchanges the first argument for 0.
    void ClearFirst() const;
    // At the exit: gives the caller its first argument back, where a call leaves that as it was.
    void RestoreFirst(unsigned long value) const;
    // At the entry: exchanges the third argument, the size of a transfer.
    void SetSize(unsigned long size) const;
    // At the exit: exchanges what the call answers.
    void SetResult(long result) const;

private:
    pid_t m_iProcess;
};
