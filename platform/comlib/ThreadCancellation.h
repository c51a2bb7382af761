#pragma once

#include <cxxabi.h>
#include <pthread.h>

// What travels up the stack of a thread that is cancelled (pthread_cancel) or ends itself
// (pthread_exit). Whoever catches everything must let it pass, or the process is ended:
//
//     } catch (const ForcedUnwind&) {
//         throw;
//     } catch (...) {
//
// Where an exception is being handled already even that ends the process: such places hold the
// cancellation back.
using ForcedUnwind = abi::__forced_unwind;

// Holds back the cancellation of the calling thread as long as it lives. Wanted wherever a
// cancellation point stands in a destructor, which must not be left like this, or between taking
// something and owning it.
class CCancellationGuard {
public:
    CCancellationGuard() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_iBefore); }
    ~CCancellationGuard() { pthread_setcancelstate(m_iBefore, nullptr); }
    CCancellationGuard(const CCancellationGuard&) = delete;
    CCancellationGuard& operator=(const CCancellationGuard&) = delete;

private:
    int m_iBefore = PTHREAD_CANCEL_ENABLE;
};
