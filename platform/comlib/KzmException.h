#pragma once

#include "comlib/KzmApi.h"

#include <array>
#include <exception>

// A low-level fault (SIGSEGV, SIGBUS, SIGFPE or SIGILL) of one thread's own code, as an exception.
class KZM_API KzmException : public std::exception {
public:
    // Makes the calling thread translate its faults from now on: a SIGSEGV, SIGBUS, SIGFPE or
    // SIGILL that an instruction of this thread raises is thrown as a KzmException from that
    // instruction, with the signal mask that the instruction had. Can be called any number of
    // times, from any thread, and in the child of a fork.
    //
    // Translation ends with the thread, or for all threads when the last provider object of the
    // process is gone; until then the host's own faults on this thread are translated, too. The
    // handlers stay for the life of the process, and so does the library that has them.
    //
    // Thrown is only what somebody would catch: a handler on this thread's stack, or a noexcept
    // function, which ends the process. Every other fault, those of every other thread, every other
    // signal, and the same signals sent by kill() or raise() do what they did before: the host's
    // handler is called, or the default action is taken, with nothing unwound.
    //
    // The host's handler is the one that was set last before any call of this function: a host may
    // set handlers at any time, and each call takes its place above them again. It is called with
    // its mask, SA_NODEFER, SA_RESETHAND, SA_SIGINFO and the true context, as the kernel would call
    // it, but for these: on a thread that has an alternate stack it runs there, with SA_ONSTACK or
    // without, and a sent signal that is ignored may interrupt a system call that cannot be
    // restarted. A handler that calls what it replaced is called once for a signal; each call leads
    // to the handler before it, and in the end to the default action.
    //
    // Unblocks the four signals in the calling thread, because the kernel ends a process that
    // faults with the signal blocked. They stay unblocked.
    //
    // A call through a null or wild pointer is thrown from the call (on x86-64 alone), where the
    // stack shows that there was one; it is no fault of the thread's own where it does not, as
    // after a return to a wild address. A stack overflow is thrown on a thread with an alternate
    // stack when it comes between two instructions that can be unwound; the first instructions of a
    // function that has something to clean up cannot, and std::terminate is called. Without an
    // alternate stack it ends the process by SIGSEGV, and so does any fault with too little
    // stack left for the kernel and the unwinder (16 kB in all are enough), or with a stack that
    // was written over.
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
