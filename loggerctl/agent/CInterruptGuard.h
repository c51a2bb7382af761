#pragma once

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <functional>
#include <thread>

namespace agent {

// Lets what has begun come to its end, from its construction to its destruction, although somebody
// interrupts it: SIGINT, SIGTERM and SIGHUP, as far as they are not ignored, do not end the
// process.
//
// The first one gives a line on standard error that says so. The second one gives up: the service
// command that runs is ended, so that what is in progress fails for it; whoever holds the guard
// starts no other. A third one kills the command. When that has not come to an end 4 seconds after
// the second one, the process is ended by the function given here; no command runs then that could
// be ended.
//
// What comes within 50 ms of one that counted is part of it, for who ends a process
// and then its process group, as timeout(1) does, sends each signal twice. A SIGHUP never gives up:
// it is no second thought of anybody's, and the end of a session sends it behind other signals.
//
// For as long as it lives SIGPIPE is ignored: a reader of the output who goes away, as one in the
// same pipeline does at Ctrl-C, must not end the process in the midst of it either.
//
// One at a time, on the process's main thread; threads that are started meanwhile must have these
// signals blocked.
class CInterruptGuard {
public:
    // `end` is called on another thread, says what there is to say, and does not return.
    explicit CInterruptGuard(std::function<void()> end);
    // What came in the meantime counts as having come.
    ~CInterruptGuard();
    CInterruptGuard(const CInterruptGuard&) = delete;
    CInterruptGuard& operator=(const CInterruptGuard&) = delete;

    [[nodiscard]] bool IsGivenUp() const { return m_signals > 1; }

private:
    using Clock = std::chrono::steady_clock;

    void Watch();
    void TakeSignal(int number);
    void GoOnGivingUp();
    [[nodiscard]] int MillisecondsToWait() const;

    const std::function<void()> m_end;
    struct sigaction m_pipeAction {}; // what SIGPIPE did before
    int m_signalDescriptor = -1;
    int m_endedDescriptor = -1;    // readable once the guard goes
    std::atomic<int> m_signals{0}; // that counted
    Clock::time_point m_counted;   // the last of them; of the watching thread, like those below
    Clock::time_point m_givenUp;
    std::size_t m_step = 0; // since then
    std::thread m_thread;
};

} // namespace agent
