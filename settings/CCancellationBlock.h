#pragma once

#include <pthread.h>

// Holds back the cancellation of the calling thread (pthread_cancel) as long as it lives: what is
// being read or written then is not left half done, and what is being destroyed is destroyed. The
// request is not lost; it takes effect at a later cancellation point.
class CCancellationBlock {
public:
    CCancellationBlock() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_iBefore); }
    ~CCancellationBlock() { pthread_setcancelstate(m_iBefore, nullptr); }
    CCancellationBlock(const CCancellationBlock&) = delete;
    CCancellationBlock& operator=(const CCancellationBlock&) = delete;

private:
    int m_iBefore = PTHREAD_CANCEL_ENABLE;
};
