#include "comlib/KzmException.h"

#include <pthread.h>
#include <signal.h>

#include <cinttypes>
#include <cstddef>
#include <cstdio>
#include <mutex>

namespace {

struct FaultSignal {
    int m_iNumber;
    const char* m_pName;
};

constexpr std::array<FaultSignal, 4> kFaultSignals{{
    {SIGSEGV, "SIGSEGV"},
    {SIGBUS, "SIGBUS"},
    {SIGFPE, "SIGFPE"},
    {SIGILL, "SIGILL"},
}};

const char* NameOf(int signalNumber) {
    for (const FaultSignal& signal : kFaultSignals) {
        if (signal.m_iNumber == signalNumber) {
            return signal.m_pName;
        }
    }
    return "signal";
}

} // namespace

KzmException::KzmException(int signalNumber, const void* address) noexcept
    : m_iSignal(signalNumber),
      m_text{} {
    std::snprintf(m_text.data(), m_text.size(), "%s at 0x%" PRIxPTR, NameOf(signalNumber),
                  reinterpret_cast<std::uintptr_t>(address));
}

KzmException::~KzmException() = default;

#ifdef KZM_NO_FAULT_TRANSLATION

void KzmException::set_transrator() {}

#else

namespace {

// Read by the signal handler: in this model the access cannot allocate.
thread_local bool threadTranslates __attribute__((tls_model("initial-exec"))) = false;

// What each signal did before, in the order of kFaultSignals. Written before the handler is set.
std::array<struct sigaction, kFaultSignals.size()> previousActions;

const struct sigaction& PreviousAction(int signalNumber) {
    std::size_t index = 0;
    while (kFaultSignals[index].m_iNumber != signalNumber) {
        ++index;
    }
    return previousActions[index];
}

bool IsRaisedByInstruction(int signalNumber, const siginfo_t& info) {
    // A memory error that was found in the background belongs to no instruction.
    const bool isBackgroundError = signalNumber == SIGBUS && info.si_code == BUS_MCEERR_AO;
    return info.si_code > 0 && !isBackgroundError;
}

void RestoreDefaultAction(int signalNumber) {
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    sigaction(signalNumber, &action, nullptr);
}

void TakeDefaultAction(int signalNumber, bool isFault) {
    RestoreDefaultAction(signalNumber);
    if (!isFault) {
        // Blocked now, so it is delivered when the handler returns. A fault needs no such help: its
        // instruction is run again.
        pthread_kill(pthread_self(), signalNumber);
    }
}

void CallPreviousHandler(const struct sigaction& previous, int signalNumber, siginfo_t* info,
                         void* context) {
    const auto flags = static_cast<unsigned int>(previous.sa_flags);
    if ((flags & SA_RESETHAND) != 0) {
        RestoreDefaultAction(signalNumber);
    }
    pthread_sigmask(SIG_BLOCK, &previous.sa_mask, nullptr);
    if ((flags & SA_SIGINFO) != 0) {
        previous.sa_sigaction(signalNumber, info, context);
    } else {
        previous.sa_handler(signalNumber);
    }
}

void DoAsBefore(int signalNumber, siginfo_t* info, void* context, bool isFault) {
    const struct sigaction& previous = PreviousAction(signalNumber);
    if (previous.sa_handler == SIG_IGN && !isFault) {
        return;
    }
    // The kernel does not let a fault be ignored.
    if (previous.sa_handler == SIG_DFL || previous.sa_handler == SIG_IGN) {
        TakeDefaultAction(signalNumber, isFault);
    } else {
        CallPreviousHandler(previous, signalNumber, info, context);
    }
}

void OnFaultSignal(int signalNumber, siginfo_t* info, void* context) {
    const bool isFault = IsRaisedByInstruction(signalNumber, *info);
    if (!isFault || !threadTranslates) {
        DoAsBefore(signalNumber, info, context, isFault);
        return;
    }
    // The throw leaves this handler without the return that would unblock the signal.
    sigset_t raised;
    sigemptyset(&raised);
    sigaddset(&raised, signalNumber);
    pthread_sigmask(SIG_UNBLOCK, &raised, nullptr);
    throw KzmException(signalNumber, info->si_addr);
}

void InstallHandlers() {
    for (std::size_t index = 0; index < kFaultSignals.size(); ++index) {
        struct sigaction& previous = previousActions[index];
        sigaction(kFaultSignals[index].m_iNumber, nullptr, &previous);
        struct sigaction action {};
        action.sa_sigaction = OnFaultSignal;
        // Threads that have a stack of their own for signals go on using it.
        action.sa_flags = SA_SIGINFO | SA_ONSTACK | (previous.sa_flags & SA_RESTART);
        sigaction(kFaultSignals[index].m_iNumber, &action, nullptr);
    }
}

} // namespace

void KzmException::set_transrator() {
    static std::once_flag installed;
    std::call_once(installed, InstallHandlers);
    threadTranslates = true;
}

#endif
