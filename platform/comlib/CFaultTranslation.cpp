#include "comlib/CFaultTranslation.h"

#include "comlib/CPreviousActions.h"
#include "comlib/FaultContext.h"
#include "comlib/KzmException.h"
#include "comlib/ThrowIfCaught.h"

#include <pthread.h>
#include <signal.h>
#include <ucontext.h>

#include <array>
#include <atomic>
#include <mutex>

namespace {

constexpr std::array<int, 4> kFaultSignals{SIGSEGV, SIGBUS, SIGFPE, SIGILL};

// What each signal did before, in the order of kFaultSignals.
std::array<CPreviousActions, kFaultSignals.size()> previousActions;

// Held while handlers are set and provider objects counted, never by a handler.
std::mutex setUp;
int providerObjects = 0;

// Threads translate that asked in the present period.
std::atomic<unsigned int> period{1};
// Read by the signal handler: in this model the access cannot allocate.
thread_local unsigned int threadPeriod __attribute__((tls_model("initial-exec"))) = 0;

// A child that is forked meanwhile finds the lock free.
__attribute__((constructor)) void KeepLockThroughForks() {
    pthread_atfork([] { setUp.lock(); }, [] { setUp.unlock(); }, [] { setUp.unlock(); });
}

CPreviousActions& PreviousActions(int signalNumber) {
    std::size_t index = 0;
    while (kFaultSignals[index] != signalNumber) {
        ++index;
    }
    return previousActions[index];
}

// A handler that calls this one by itself may have neither information nor context.
bool IsRaisedByInstruction(int signalNumber, const siginfo_t* info, const void* context) {
    if (info == nullptr || context == nullptr) {
        return false; // GCOVR_EXCL_LINE: the tests' process ends by the signal
    }
    // A memory error that was found in the background belongs to no instruction.
    const bool isBackgroundError = signalNumber == SIGBUS && info->si_code == BUS_MCEERR_AO;
    return info->si_code > 0 && !isBackgroundError;
}

// Comes back when nobody would catch the exception, and nothing has changed then.
void Translate(int signalNumber, const siginfo_t& info, ucontext_t& context) {
    const mcontext_t registers = context.uc_mcontext;
    if (!MoveToInstruction(context)) {
        return;
    }
    // The throw leaves the handler without the return that would bring back the mask.
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, &context.uc_sigmask, &blocked);
    ThrowIfCaught(KzmException(signalNumber, info.si_addr));
    pthread_sigmask(SIG_SETMASK, &blocked, nullptr);
    context.uc_mcontext = registers;
}

void OnFaultSignal(int signalNumber, siginfo_t* info, void* context) {
    const CDelivery delivery{signalNumber, info, context, __builtin_frame_address(0),
                             IsRaisedByInstruction(signalNumber, info, context)};
    const bool isOurs = delivery.m_bIsFault && threadPeriod == period.load();
    if (isOurs && !CPreviousActions::IsCallingBack(delivery)) {
        Translate(signalNumber, *info, *static_cast<ucontext_t*>(context));
    }
    PreviousActions(signalNumber).Take(delivery);
}

bool IsSet(const struct sigaction& action) {
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == OnFaultSignal;
}

bool IsSet(int signalNumber) {
    struct sigaction action {};
    sigaction(signalNumber, nullptr, &action);
    return IsSet(action);
}

bool AreAllSet() {
    for (const int signalNumber : kFaultSignals) {
        if (!IsSet(signalNumber)) {
            return false;
        }
    }
    return true;
}

void Set(int signalNumber) {
    struct sigaction previous {};
    sigaction(signalNumber, nullptr, &previous);
    if (IsSet(previous) || !PreviousActions(signalNumber).Remember(previous)) {
        return;
    }
    struct sigaction action {};
    action.sa_sigaction = OnFaultSignal;
    // Threads that have a stack of their own for signals go on using it.
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    if (previous.sa_handler == SIG_IGN || (previous.sa_flags & SA_RESTART) != 0) {
        action.sa_flags |= SA_RESTART;
    }
    sigaction(signalNumber, &action, &previous);
    if (!IsSet(previous)) {
        PreviousActions(signalNumber).Remember(previous); // the host may have been quicker
    }
}

void SetAll() {
    // A handler that jumps out of here would leave the lock held.
    sigset_t all;
    sigset_t blocked;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &blocked);
    {
        const std::lock_guard<std::mutex> lock(setUp);
        for (const int signalNumber : kFaultSignals) {
            Set(signalNumber);
        }
    }
    pthread_sigmask(SIG_SETMASK, &blocked, nullptr);
}

void UnblockFaultSignals() {
    sigset_t faults;
    sigemptyset(&faults);
    for (const int signalNumber : kFaultSignals) {
        sigaddset(&faults, signalNumber);
    }
    pthread_sigmask(SIG_UNBLOCK, &faults, nullptr);
}

} // namespace

void CFaultTranslation::Begin() noexcept {
    if (!AreAllSet()) {
        SetAll();
    }
    threadPeriod = period.load();
    UnblockFaultSignals();
}

void CFaultTranslation::AddProvider() noexcept {
    const std::lock_guard<std::mutex> lock(setUp);
    ++providerObjects;
}

void CFaultTranslation::RemoveProvider() noexcept {
    const std::lock_guard<std::mutex> lock(setUp);
    if (--providerObjects == 0) {
        ++period;
    }
}
