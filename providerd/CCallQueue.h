#pragma once

#include "history/History.h"
#include "serverbase/Messages.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace providerd {

// A method call of somebody who may make it.
struct CMethodCall {
    std::string m_method;       // "GetParameter" or "SetParameter"
    std::string m_inParameters; // an object as messages::EncodeObject writes it; empty: none
    history::COrigin m_origin;  // who asks, from where
};

// How a call ended. m_historyId names the copy of the settings that was kept before they were
// changed; empty when nothing was.
struct CFinishedCall {
    messages::CCallAnswer m_answer;
    std::string m_historyId;
};

// What a queue may take.
struct CQueueLimits {
    std::size_t m_waiting = 64;           // calls to be made, the running one apart
    std::chrono::seconds m_callTime{120}; // of one call, from its begin
    unsigned m_callsOfAWorker = 1000;     // then a fresh process takes over
};

// Makes one call at a time, first come first served, in a worker process. A GetParameter that has
// not begun yet is shared with everybody who asks for one meanwhile.
//
// The worker is replaced after an exception of the method (0x80000002), when it ends by itself,
// when a call takes too long, and after a number of calls. A call is never made twice.
class CCallQueue {
public:
    explicit CCallQueue(const CQueueLimits& limits);
    // Ends the worker. No call may be waiting any more.
    ~CCallQueue();
    CCallQueue(const CCallQueue&) = delete;
    CCallQueue& operator=(const CCallQueue&) = delete;

    // Makes the call and waits for its end, or says at once why not. Any number of threads.
    CFinishedCall Run(CMethodCall call);

    // From now on Run answers ShuttingDown, also to those who wait. Waits for the call that has
    // begun.
    void ShutDown();

private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};

} // namespace providerd
