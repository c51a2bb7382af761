#include "providerd/CCallQueue.h"

#include "providerd/CReplaceableWorker.h"
#include "providerd/MethodNames.h"

#include <signal.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <thread>
#include <utility>

namespace providerd {

namespace {

using messages::CallResult;

// A call for everybody who waits for its end. Guarded by the queue's mutex, but for the end; while
// it runs, m_call belongs to the runner.
struct CJob {
    CMethodCall m_call;
    std::size_t m_callers = 0; // until it begins
    std::promise<CFinishedCall> m_result;
    const std::shared_future<CFinishedCall> m_end = m_result.get_future().share();
};

bool CanShare(const CMethodCall& waiting, const CMethodCall& call) {
    return call.m_method == kGetParameter && waiting.m_method == kGetParameter &&
           waiting.m_inParameters == call.m_inParameters;
}

// Starts a thread that takes none of the process's signals.
template <class Body>
std::thread StartWithoutSignals(Body body) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread thread(std::move(body));
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}

} // namespace

struct CCallQueue::Parts {
    using Job = std::shared_ptr<CJob>;
    using Lock = std::unique_lock<std::mutex>;

    explicit Parts(const CQueueLimits& limits) : m_limits(limits) {}

    Job Enqueue(CMethodCall call);
    CFinishedCall Await(const Job& job);
    bool Leave(const Job& job);
    Job TakeFirst();
    void RunAll();

    const CQueueLimits m_limits;
    std::mutex m_mutex; // guards the next two members and all jobs
    std::deque<Job> m_waiting;
    bool m_isShuttingDown = false;
    std::condition_variable m_change;       // of these two, which the runner looks at
    std::atomic<std::size_t> m_callers = 0; // threads in Await
    std::thread m_runner;
};

CCallQueue::CCallQueue(const CQueueLimits& limits) : m_parts(std::make_unique<Parts>(limits)) {
    m_parts->m_runner = StartWithoutSignals([parts = m_parts.get()] { parts->RunAll(); });
}

CCallQueue::~CCallQueue() {
    ShutDown();
}

CFinishedCall CCallQueue::Run(CMethodCall call) {
    Parts::Job job;
    {
        const Parts::Lock lock(m_parts->m_mutex);
        if (m_parts->m_isShuttingDown) {
            return CFinishedCall(CallResult::ShuttingDown);
        }
        job = m_parts->Enqueue(std::move(call));
        if (job == nullptr) {
            return CFinishedCall(CallResult::QueueFull);
        }
        ++job->m_callers;
    }
    return m_parts->Await(job);
}

void CCallQueue::ShutDown() {
    {
        const Parts::Lock lock(m_parts->m_mutex);
        m_parts->m_isShuttingDown = true;
        while (!m_parts->m_waiting.empty()) {
            m_parts->TakeFirst()->m_result.set_value(CFinishedCall(CallResult::ShuttingDown));
        }
        m_parts->m_change.notify_one();
    }
    if (m_parts->m_runner.joinable()) {
        m_parts->m_runner.join();
    }
}

CCallQueue::CCounts CCallQueue::Counts() const {
    const Parts::Lock lock(m_parts->m_mutex);
    return {m_parts->m_waiting.size(), m_parts->m_callers};
}

// The job that makes this call; null when there is no room for it.
CCallQueue::Parts::Job CCallQueue::Parts::Enqueue(CMethodCall call) {
    const auto shared = std::find_if(m_waiting.begin(), m_waiting.end(), [&call](const Job& job) {
        return CanShare(job->m_call, call);
    });
    if (shared != m_waiting.end()) {
        return *shared;
    }
    if (m_waiting.size() >= m_limits.m_waiting) {
        return nullptr;
    }
    auto job = std::make_shared<CJob>();
    job->m_call = std::move(call);
    m_waiting.push_back(job);
    m_change.notify_one();
    return job;
}

// A call that has begun is waited for without a limit: it has one of its own.
CFinishedCall CCallQueue::Parts::Await(const Job& job) {
    ++m_callers;
    const bool isLate = job->m_end.wait_for(m_limits.m_waitingTime) == std::future_status::timeout;
    const bool hasLeft = isLate && Leave(job);
    if (!hasLeft) {
        job->m_end.wait();
    }
    --m_callers;
    return hasLeft ? CFinishedCall(CallResult::QueueFull) : job->m_end.get();
}

// One caller does not wait any longer; without callers the call is not made. False when it has
// begun.
bool CCallQueue::Parts::Leave(const Job& job) {
    const Lock lock(m_mutex);
    const auto waiting = std::find(m_waiting.begin(), m_waiting.end(), job);
    if (waiting == m_waiting.end()) {
        return false;
    }
    if (--job->m_callers == 0) {
        m_waiting.erase(waiting);
    }
    return true;
}

CCallQueue::Parts::Job CCallQueue::Parts::TakeFirst() {
    Job job = std::move(m_waiting.front());
    m_waiting.pop_front();
    return job;
}

// The runner's thread.
void CCallQueue::Parts::RunAll() {
    CReplaceableWorker worker(m_limits);
    Lock lock(m_mutex);
    for (;;) {
        m_change.wait(lock, [this] { return m_isShuttingDown || !m_waiting.empty(); });
        if (m_isShuttingDown) {
            return;
        }
        const Job job = TakeFirst();
        lock.unlock();
        job->m_result.set_value(worker.Make(job->m_call));
        lock.lock();
    }
}

} // namespace providerd
