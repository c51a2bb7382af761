#include "tests/support/CTraceCapture.h"

#include <utility>

std::ostream& operator<<(std::ostream& out, const TraceLine& line) {
    return out << "\n    {" << line.m_iLevel << ", \"" << line.m_sText << "\"}";
}

CTraceCapture::CTraceCapture(std::string module) : m_sModule(std::move(module)) {
    CTraceUtility::SetListener(0xF, [this](const CTraceUtility::Line& line) {
        if (line.m_sModule == m_sModule) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_lines.push_back({line.m_iLevel, line.m_sText});
        }
    });
}

CTraceCapture::~CTraceCapture() {
    CTraceUtility::SetListener(0, {});
}

TraceLines CTraceCapture::Lines(int mask) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    TraceLines lines;
    for (const TraceLine& line : m_lines) {
        if ((line.m_iLevel & mask) != 0) {
            lines.push_back(line);
        }
    }
    return lines;
}
