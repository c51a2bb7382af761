#include "loggerctl/agent/CInterruptGuard.h"

#include "loggerctl/output/Console.h"
#include "providerbase/CVendor.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <system_error>
#include <utility>

namespace agent {

using std::chrono::milliseconds;

namespace {

constexpr milliseconds kOneInterruption{50};

// When commands are ended again after giving up, and at last the process. A command has two seconds
// to end by itself. One that was about to begin when it was given up is ended by the next step, and
// killed by the one behind it.
constexpr std::array<milliseconds, 3> kSteps{milliseconds(2000), milliseconds(3500),
                                             milliseconds(4000)};

sigset_t WatchedSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        sigaction(number, nullptr, &action);
        if (action.sa_handler != SIG_IGN) {
            sigaddset(&signals, number);
        }
    }
    return signals;
}

} // namespace

CInterruptGuard::CInterruptGuard(std::function<void()> end) : m_end(std::move(end)) {
    const sigset_t signals = WatchedSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    m_signalDescriptor = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    m_endedDescriptor = eventfd(0, EFD_CLOEXEC);
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, &m_pipeAction);
    if (m_signalDescriptor < 0 || m_endedDescriptor < 0) {
        return; // like without a thread, below
    }
    try {
        m_thread = std::thread(&CInterruptGuard::Watch, this);
    } catch (const std::system_error&) {
        // The signals stay blocked: what has begun is finished, only without a word.
    }
}

CInterruptGuard::~CInterruptGuard() {
    // The thread waits for it without end.
    while (eventfd_write(m_endedDescriptor, 1) != 0 && errno == EINTR) {
    }
    if (m_thread.joinable()) {
        m_thread.join();
    }
    signalfd_siginfo signal{};
    while (read(m_signalDescriptor, &signal, sizeof signal) == sizeof signal) {
    }
    close(m_signalDescriptor);
    close(m_endedDescriptor);
    sigaction(SIGPIPE, &m_pipeAction, nullptr);
    const sigset_t signals = WatchedSignals();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

void CInterruptGuard::Watch() {
    pollfd events[] = {{m_signalDescriptor, POLLIN, 0}, {m_endedDescriptor, POLLIN, 0}};
    while (true) {
        const int ready = poll(events, 2, MillisecondsToWait());
        if (ready > 0 && (events[1].revents & POLLIN) != 0) {
            return;
        }
        if (ready == 0) {
            GoOnGivingUp();
        }
        signalfd_siginfo signal{};
        if (ready > 0 && read(m_signalDescriptor, &signal, sizeof signal) == sizeof signal) {
            TakeSignal(static_cast<int>(signal.ssi_signo));
        }
    }
}

int CInterruptGuard::MillisecondsToWait() const {
    if (!IsGivenUp()) {
        return -1;
    }
    const auto left = std::chrono::ceil<milliseconds>(m_givenUp + kSteps.at(m_step) - Clock::now());
    return static_cast<int>(std::max(left, milliseconds::zero()).count());
}

void CInterruptGuard::GoOnGivingUp() {
    if (++m_step < kSteps.size()) {
        CVendor::EndCommands();
    } else {
        m_end();
    }
}

void CInterruptGuard::TakeSignal(int number) {
    const Clock::time_point now = Clock::now();
    if (m_signals > 0 && (number == SIGHUP || now - m_counted < kOneInterruption)) {
        return;
    }
    m_counted = now;
    if (m_signals == 0) {
        m_signals = 1;
        output::WriteError("Interrupted: what has begun is finished first, so that the agent does "
                           "not stay stopped. Interrupt again to give up.");
        return;
    }
    if (m_signals == 1) {
        m_givenUp = now;
    }
    ++m_signals; // before the commands are ended: none is begun from here on
    CVendor::EndCommands();
}

} // namespace agent
