#include "comlib/CPreviousActions.h"

#include <pthread.h>
#include <ucontext.h>

#include <new>

// The call of a previous handler that is going on in this thread. A handler may jump out of it, so
// it can be left behind.
struct CPreviousActions::CCall {
    const siginfo_t* m_pInfo = nullptr;
    const void* m_pFrame = nullptr;
    const CAction* m_pAction = nullptr;
};

// In this model the access cannot allocate.
thread_local CPreviousActions::CCall CPreviousActions::m_call
    __attribute__((tls_model("initial-exec")));

namespace {

// Of a mask, only what stands for signals is what the kernel has given.
bool IsSameMask(const sigset_t& left, const sigset_t& right) {
    for (int signalNumber = 1; signalNumber < NSIG; ++signalNumber) {
        if (sigismember(&left, signalNumber) != sigismember(&right, signalNumber)) {
            return false; // GCOVR_EXCL_LINE: the tests' process ends by the signal
        }
    }
    return true;
}

bool IsSame(const struct sigaction& left, const struct sigaction& right) {
    return left.sa_handler == right.sa_handler && left.sa_flags == right.sa_flags &&
           IsSameMask(left.sa_mask, right.sa_mask);
}

// The mask that the kernel sets for a handler: it is added to that of the interrupted code.
sigset_t MaskFor(const struct sigaction& action, const CDelivery& delivery) {
    sigset_t interrupted;
    if (delivery.m_pContext != nullptr) {
        interrupted = static_cast<const ucontext_t*>(delivery.m_pContext)->uc_sigmask;
    } else {
        pthread_sigmask(SIG_BLOCK, nullptr, &interrupted); // GCOVR_EXCL_LINE: as above
    }
    sigset_t mask;
    sigorset(&mask, &interrupted, &action.sa_mask);
    if ((action.sa_flags & SA_NODEFER) == 0) {
        sigaddset(&mask, delivery.m_iSignal);
    }
    return mask;
}

// The process ends, and no line is counted: GCOVR_EXCL_START
void TakeDefaultAction(const CDelivery& delivery) {
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    sigaction(delivery.m_iSignal, &action, nullptr);
    if (!delivery.m_bIsFault) {
        // Blocked now, so it is delivered when the handler returns. A fault needs no such help: its
        // instruction is run again.
        pthread_kill(pthread_self(), delivery.m_iSignal);
    }
}
// GCOVR_EXCL_STOP

} // namespace

bool CPreviousActions::Remember(const struct sigaction& action) noexcept {
    CAction* latest = Find(action);
    if (latest == nullptr) {
        latest = Make(action);
    }
    if (latest == nullptr) {
        return false; // GCOVR_EXCL_LINE: there is no memory
    }
    latest->m_bIsOver = false;
    m_pLatest = latest;
    return true;
}

// An action that was there before comes back with what was there before it.
CPreviousActions::CAction* CPreviousActions::Find(const struct sigaction& action) noexcept {
    const CAction* latest = m_pLatest;
    CAction* found = nullptr;
    for (CAction* made = m_pLastMade; made != nullptr; made = made->m_pMadeBefore) {
        if (!IsSame(made->m_action, action)) {
            continue;
        }
        for (const CAction* older = latest; older != nullptr; older = older->m_pOlder) {
            if (older == made) {
                return made;
            }
        }
        if (made->m_pOlder == latest) {
            found = made;
        }
    }
    return found;
}

CPreviousActions::CAction* CPreviousActions::Make(const struct sigaction& action) noexcept {
    CAction* made = m_pLastMade == nullptr ? &m_first : new (std::nothrow) CAction;
    if (made != nullptr) {
        made->m_action = action;
        made->m_pOlder = m_pLatest;
        made->m_pMadeBefore = m_pLastMade;
        m_pLastMade = made;
    }
    return made;
}

// The same information further down the same stack: were it another delivery, it would have
// information of its own. At the same place on the stack, the call was left by a jump.
bool CPreviousActions::IsCallingBack(const CDelivery& delivery) {
    return m_call.m_pAction != nullptr && delivery.m_pFrame < m_call.m_pFrame &&
           (delivery.m_pInfo == nullptr || delivery.m_pInfo == m_call.m_pInfo);
}

void CPreviousActions::Take(const CDelivery& delivery) const {
    const CAction* action = IsCallingBack(delivery) ? m_call.m_pAction->m_pOlder : m_pLatest.load();
    const CCall outer = m_call;
    m_call = {delivery.m_pInfo, delivery.m_pFrame, action};
    TakeAction(action, delivery);
    m_call = outer;
}

void CPreviousActions::TakeAction(const CAction* action, const CDelivery& delivery) {
    if (action == nullptr) {
        TakeDefaultAction(delivery); // GCOVR_EXCL_LINE: as above
        return;                      // GCOVR_EXCL_LINE
    }
    const auto handler = action->m_action.sa_handler;
    const bool isOnce = (static_cast<unsigned int>(action->m_action.sa_flags) & SA_RESETHAND) != 0;
    if (handler == SIG_IGN && !delivery.m_bIsFault) {
        return;
    }
    // The kernel does not let a fault be ignored.
    if (handler == SIG_DFL || handler == SIG_IGN || (isOnce && action->m_bIsOver.exchange(true))) {
        TakeDefaultAction(delivery); // GCOVR_EXCL_LINE
    } else {
        CallHandler(*action, delivery);
    }
}

void CPreviousActions::CallHandler(const CAction& action, const CDelivery& delivery) {
    const struct sigaction& previous = action.m_action;
    const sigset_t mask = MaskFor(previous, delivery);
    sigset_t ours;
    pthread_sigmask(SIG_SETMASK, &mask, &ours);
    if ((previous.sa_flags & SA_SIGINFO) != 0) {
        previous.sa_sigaction(delivery.m_iSignal, delivery.m_pInfo, delivery.m_pContext);
    } else {
        previous.sa_handler(delivery.m_iSignal);
    }
    pthread_sigmask(SIG_SETMASK, &ours, nullptr);
}
