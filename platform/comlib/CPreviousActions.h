#pragma once

#include <signal.h>

#include <atomic>

// One call of a signal handler.
struct CDelivery {
    int m_iSignal;
    siginfo_t* m_pInfo; // null, as the context, only when another handler left them out
    void* m_pContext;
    const void* m_pFrame; // the handler's frame on the stack
    bool m_bIsFault;      // raised by an instruction, not sent
};

// What one signal did before a handler was set over it, and before that, in the order in which the
// host set it. Each action is kept once and for ever, so that a handler can read them at any time;
// a host that goes on setting the same few makes nothing grow.
class CPreviousActions {
public:
    // Makes this the latest action. False when there is no memory for one that is new. One caller
    // at a time.
    bool Remember(const struct sigaction& action) noexcept;

    // Does what the latest action asks, as the kernel would; for a handler that calls back, what
    // the action before it asks. Returns when the signal handler is to return.
    void Take(const CDelivery& delivery) const;

    // Whether the handler is being called by a previous action that Take() has called for this very
    // signal.
    static bool IsCallingBack(const CDelivery& delivery);

private:
    struct CAction {
        struct sigaction m_action {};
        const CAction* m_pOlder = nullptr;
        CAction* m_pMadeBefore = nullptr;
        mutable std::atomic<bool> m_bIsOver{false}; // SA_RESETHAND has had its effect
    };
    struct CCall;

    CAction* Find(const struct sigaction& action) noexcept;
    CAction* Make(const struct sigaction& action) noexcept;
    static void TakeAction(const CAction* action, const CDelivery& delivery);
    static void CallHandler(const CAction& action, const CDelivery& delivery);

    static thread_local CCall m_call;

    CAction m_first; // no memory is asked for the first one
    CAction* m_pLastMade = nullptr;
    std::atomic<CAction*> m_pLatest{nullptr};
};
