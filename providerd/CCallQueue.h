#pragma once

#include "providerd/MethodCall.h"

#include <cstddef>
#include <memory>

namespace providerd {

// Makes one call at a time, first come first served, in a worker process. A GetParameter that has
// not begun yet is shared with everybody who asks for one meanwhile.
//
// The worker is started for the first call. It is replaced after an exception of the method
// (0x80000002) and after any call that was not made to its end, when it ends by itself, when a call
// takes too long, and after a number of calls. A call is never made twice.
//
// A call that takes too long is ended together with the commands that it runs: the worker, its
// process group, and those of the service commands. No lock is held any more when that is answered,
// unless the system itself keeps the worker from ending.
//
// When this process is killed, the worker finishes the call that it makes, and then ends.
class CCallQueue {
public:
    explicit CCallQueue(const CQueueLimits& limits);
    // As ShutDown. No thread may be in Run any more.
    ~CCallQueue();
    CCallQueue(const CCallQueue&) = delete;
    CCallQueue& operator=(const CCallQueue&) = delete;

    // Makes the call and waits for its end, or says why not: at once, or QueueFull when the call
    // has not begun in time. Any number of threads.
    CFinishedCall Run(CMethodCall call);

    // From now on Run answers ShuttingDown, also to those who wait. Waits for the call that has
    // begun, and ends the worker. One thread at a time.
    void ShutDown();

    struct CCounts {
        std::size_t m_waiting = 0; // calls to be made, the running one apart
        std::size_t m_callers = 0; // threads that wait in Run
    };
    [[nodiscard]] CCounts Counts() const;

private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};

} // namespace providerd
