#pragma once

#include "comlib/CTraceUtility.h"

#include <mutex>
#include <vector>

// Collects the trace lines that tell why something failed, from its construction to its
// destruction. It takes the process's trace listener: one at a time.
class CReasonListener {
public:
    CReasonListener();
    ~CReasonListener();
    CReasonListener(const CReasonListener&) = delete;
    CReasonListener& operator=(const CReasonListener&) = delete;

    // The failures and exceptions traced so far, on whatever thread.
    std::vector<CTraceUtility::Line> Lines();

private:
    std::mutex m_mutex;
    std::vector<CTraceUtility::Line> m_lines; // guarded by m_mutex
};
