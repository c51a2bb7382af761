#include "loggerctl/agent/CReasonListener.h"

CReasonListener::CReasonListener() {
    constexpr unsigned int kMask =
        CTraceUtility::TRACE_DBG_FAILURE | CTraceUtility::TRACE_DBG_EXCEPTION;
    CTraceUtility::SetListener(kMask, [this](const CTraceUtility::Line& line) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_lines.push_back(line);
    });
}

CReasonListener::~CReasonListener() {
    CTraceUtility::SetListener(0, {});
}

std::vector<CTraceUtility::Line> CReasonListener::Lines() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lines;
}
