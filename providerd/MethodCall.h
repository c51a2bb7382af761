#pragma once

#include "history/History.h"
#include "serverbase/Messages.h"

#include <chrono>
#include <cstddef>
#include <string>

namespace providerd {

// A method call of somebody who may make it.
struct CMethodCall {
    std::string m_method;       // "GetParameter" or "SetParameter"
    std::string m_inParameters; // an object as messages::EncodeObject writes it; empty: none
    history::COrigin m_origin;  // who asks, from where
};

// How a call ended. m_historyId names the copy of the settings that was kept before they were
// changed, however the call ended; empty when none was, or when the worker did not come to say so.
struct CFinishedCall {
    messages::CCallAnswer m_answer;
    std::string m_historyId;
};

// What a queue may take, and what its workers are.
struct CQueueLimits {
    std::size_t m_waiting = 64; // calls to be made, the running one apart
    std::chrono::milliseconds m_callTime = std::chrono::seconds(120); // of one call, from its begin
    std::chrono::milliseconds m_waitingTime = std::chrono::seconds(120); // until it must have begun
    unsigned m_callsOfAWorker = 1000;               // then a fresh process takes over
    std::string m_workerProgram = "/proc/self/exe"; // started with the argument "--worker"
};

} // namespace providerd
