#pragma once

#include "history/History.h"
#include "serverbase/Messages.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace providerd {

// A method call of somebody who may make it.
struct CMethodCall {
    std::string m_method;       // "GetParameter" or "SetParameter"
    std::string m_inParameters; // an object as messages::EncodeObject writes it; empty: none
    history::COrigin m_origin;  // who asks, from where
};

// A message as a whole frame, for everybody whom it is sent to.
using Frame = std::shared_ptr<const std::string>;

// How a call ended. m_historyId names the copy of the settings that was kept before they were
// changed, however the call ended; empty when none was, or when the worker did not come to say so.
struct CFinishedCall {
    // An output of more than kObjectBytes has no frame: the call has failed.
    explicit CFinishedCall(const messages::CCallAnswer& answer, std::string historyId = "");
    // One that has nothing to give.
    explicit CFinishedCall(messages::CallResult result);

    messages::CallResult m_result;
    std::uint32_t m_uiReturnValue; // of Done
    std::string m_historyId;
    Frame m_frame; // the answer
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
