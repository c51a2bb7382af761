#pragma once

#include "comlib/KzmApi.h"

#include <array>
#include <exception>

// A low-level fault (SIGSEGV, SIGBUS, SIGFPE or SIGILL) of one thread's own code, as an exception.
class KZM_API KzmException : public std::exception {
public:
    // Makes the calling thread translate its faults from now on: a SIGSEGV, SIGBUS, SIGFPE or
    // SIGILL that an instruction of this thread raises is thrown as a KzmException from that
    // instruction. Can be called any number of times, from any thread.
    //
    // Every other thread, every other signal, and the same signals sent by kill() or raise() do
    // what they did before the first call: the handler that the process had then is called, or the
    // default action is taken.
    //
    // The code that faults, and every frame that has something to clean up, must be compiled with
    // -fnon-call-exceptions. A fault inside a noexcept function ends the process, and one inside
    // the memory allocator can block it. Does nothing in builds with sanitizers, which handle these
    // signals themselves.
    static void set_transrator();

    KzmException(int signalNumber, const void* address) noexcept;
    ~KzmException() override;

    // Names the signal and the address, as in "SIGSEGV at 0x10". Owned by the exception.
    [[nodiscard]] const char* what() const noexcept override { return m_text.data(); }
    [[nodiscard]] int GetSignal() const noexcept { return m_iSignal; }

private:
    int m_iSignal;
    std::array<char, 48> m_text;
};
