#pragma once

#include "providerd/CWorkerProcess.h"
#include "providerd/MethodCall.h"
#include "providerd/WorkMessages.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace providerd {

// Makes method calls in a worker process, which is started when one is needed, and replaced as
// CCallQueue.h says. Why it was replaced is logged. It ends with this object. For one thread at a
// time.
class CReplaceableWorker {
public:
    explicit CReplaceableWorker(const CQueueLimits& limits);

    // Makes the call, once. Failed when no worker could be started. The copy that was kept is told
    // however the call ends.
    CFinishedCall Make(const CMethodCall& call);

private:
    CFinishedCall Try(const CMethodCall& call);
    bool Prepare();
    messages::CCallAnswer Exchange(const CMethodCall& call);
    Transfer AwaitAnswer(const Deadline& deadline, std::optional<CWorkAnswer>* answer);
    messages::CCallAnswer Conclude(const std::string& method, Transfer transfer,
                                   std::optional<CWorkAnswer> answer);
    std::string Replace(CWorkerProcess::End end);

    const CQueueLimits m_limits;
    std::unique_ptr<CWorkerProcess> m_worker;                 // null until one is needed
    std::string m_historyId;                                  // of the copy for the present call
    unsigned m_calls = 0;                                     // that the worker has made
    std::vector<std::unique_ptr<CWorkerProcess>> m_lingering; // killed, and not gone yet
};

} // namespace providerd
