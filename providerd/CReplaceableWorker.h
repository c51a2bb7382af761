#pragma once

#include "providerd/CWorkerProcess.h"
#include "providerd/MethodCall.h"

#include <memory>
#include <string>
#include <vector>

namespace providerd {

// Makes method calls in a worker process, which is started when one is needed, and replaced as
// CCallQueue.h says. Why it was replaced is logged. It ends with this object. For one thread at a
// time.
class CReplaceableWorker {
public:
    explicit CReplaceableWorker(const CQueueLimits& limits);

    // Makes the call, once. Failed when no worker could be started.
    CFinishedCall Make(const CMethodCall& call);

private:
    bool Prepare();
    CFinishedCall Exchange(const CMethodCall& call);
    CFinishedCall Conclude(const std::string& method, Transfer transfer,
                           const std::string& payload);
    std::string Replace(CWorkerProcess::End end);

    const CQueueLimits m_limits;
    std::unique_ptr<CWorkerProcess> m_worker;                 // null until one is needed
    unsigned m_calls = 0;                                     // that the worker has made
    std::vector<std::unique_ptr<CWorkerProcess>> m_lingering; // killed, and not gone yet
};

} // namespace providerd
