#include "providerd/CReplaceableWorker.h"

#include "provider/MethodResult.h"
#include "serverbase/ServiceManager.h"

#include <algorithm>
#include <new>
#include <utility>

namespace providerd {

namespace {

using daemon_base::Level;
using daemon_base::Log;
using messages::CallResult;
using messages::CCallAnswer;

// In milliseconds. Longer than the call may take, so that it is ended here, with what it runs.
std::uint32_t TimeOfWorker(std::chrono::milliseconds callTime) {
    constexpr std::chrono::milliseconds kMore{1000};
    return static_cast<std::uint32_t>((callTime + kMore).count());
}

CCallAnswer Unfinished(CallResult result) {
    CCallAnswer answer;
    answer.m_result = result;
    return answer;
}

bool IsException(const CWorkAnswer& answer) {
    return answer.m_result == CallResult::Done && answer.m_returnValue == MethodResult::kException;
}

} // namespace

CReplaceableWorker::CReplaceableWorker(const CQueueLimits& limits) : m_limits(limits) {}

CFinishedCall CReplaceableWorker::Make(const CMethodCall& call) {
    CFinishedCall finished = Try(call);
    finished.m_historyId = std::exchange(m_historyId, {});
    return finished;
}

CFinishedCall CReplaceableWorker::Try(const CMethodCall& call) {
    try {
        return CFinishedCall(Prepare() ? Exchange(call) : Unfinished(CallResult::Failed));
    } catch (const std::bad_alloc&) {
        Log(Level::Error, "There is no memory for the answer of a method; the worker is replaced.");
        if (m_worker != nullptr) {
            Replace(CWorkerProcess::End::ByItself); // it may have more to say
        }
        return CFinishedCall(CallResult::Died);
    }
}

// Sees to it that there is a worker that waits for a request.
bool CReplaceableWorker::Prepare() {
    m_lingering.erase(std::remove_if(m_lingering.begin(), m_lingering.end(),
                                     [](const auto& worker) { return worker->HasEnded(); }),
                      m_lingering.end());
    if (m_worker != nullptr && !m_worker->IsReady()) {
        Log(Level::Warning, "The worker ended while it had nothing to do (" +
                                Replace(CWorkerProcess::End::ByItself) +
                                "); a fresh one takes over.");
    }
    if (m_worker == nullptr) {
        std::string error;
        m_worker = CWorkerProcess::Start(m_limits.m_workerProgram, &error);
        m_calls = 0;
        if (m_worker == nullptr) {
            Log(Level::Error, "No worker can be started: " + error);
        }
    }
    return m_worker != nullptr;
}

CCallAnswer CReplaceableWorker::Exchange(const CMethodCall& call) {
    const Deadline deadline = std::chrono::steady_clock::now() + m_limits.m_callTime;
    const std::string request =
        Encode(CWorkRequest{call.m_method, call.m_inParameters, call.m_origin.m_user,
                            call.m_origin.m_from, TimeOfWorker(m_limits.m_callTime)});
    std::optional<CWorkAnswer> answer;
    Transfer transfer = SendFrame(m_worker->Socket(), request, deadline);
    if (transfer == Transfer::Done) {
        transfer = AwaitAnswer(deadline, &answer);
    }
    return Conclude(call.m_method, transfer, std::move(answer));
}

// Done with nothing: what came is no answer.
Transfer CReplaceableWorker::AwaitAnswer(const Deadline& deadline,
                                         std::optional<CWorkAnswer>* answer) {
    for (;;) {
        std::string payload;
        const Transfer transfer = ReceiveFrame(m_worker->Socket(), &payload, deadline);
        auto message = transfer == Transfer::Done ? DecodeWorkerMessage(payload) : std::nullopt;
        if (!message) {
            return transfer;
        }
        if (auto* const found = std::get_if<CWorkAnswer>(&*message)) {
            *answer = std::move(*found);
            return transfer;
        }
        m_historyId = std::move(std::get<CWorkNote>(*message).m_historyId);
    }
}

CCallAnswer CReplaceableWorker::Conclude(const std::string& method, Transfer transfer,
                                         std::optional<CWorkAnswer> answer) {
    if (transfer == Transfer::TimedOut) {
        Log(Level::Error, method + " took longer than " +
                              std::to_string(m_limits.m_callTime.count()) +
                              " ms and was ended with its worker (" +
                              Replace(CWorkerProcess::End::Killed) + ").");
        return Unfinished(CallResult::TimedOut);
    }
    if (!answer) {
        Log(Level::Error, "The worker ended in the midst of " + method + " (" +
                              Replace(CWorkerProcess::End::ByItself) + ").");
        return Unfinished(CallResult::Died);
    }
    ++m_calls;
    if (IsException(*answer)) {
        Log(Level::Warning, method + " ended with an exception; the worker is replaced.");
    }
    if (IsException(*answer) || answer->m_result != CallResult::Done ||
        m_calls >= m_limits.m_callsOfAWorker) {
        Replace(CWorkerProcess::End::ByItself);
    }
    return {answer->m_result, answer->m_returnValue, std::move(answer->m_outParameters)};
}

// Ends the worker; in words, how it ended.
std::string CReplaceableWorker::Replace(CWorkerProcess::End end) {
    std::unique_ptr<CWorkerProcess> worker = std::move(m_worker);
    if (worker->Finish(end)) {
        return worker->Description();
    }
    m_lingering.push_back(std::move(worker));
    return "it cannot be ended yet";
}

} // namespace providerd
