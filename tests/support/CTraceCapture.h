#pragma once

#include "comlib/CTraceUtility.h"

#include <mutex>
#include <ostream>
#include <string>
#include <vector>

// One traced line, as tests compare it.
struct TraceLine {
    int m_iLevel;
    std::string m_sText;

    bool operator==(const TraceLine& other) const {
        return m_iLevel == other.m_iLevel && m_sText == other.m_sText;
    }
};
using TraceLines = std::vector<TraceLine>;

std::ostream& operator<<(std::ostream& out, const TraceLine& line);

// Collects the lines of one module from its construction to its destruction.
class CTraceCapture {
public:
    explicit CTraceCapture(std::string module = "TarnwellLogger");
    ~CTraceCapture();
    CTraceCapture(const CTraceCapture&) = delete;
    CTraceCapture& operator=(const CTraceCapture&) = delete;

    // Every line so far, in order.
    [[nodiscard]] TraceLines Lines() const { return Lines(0xF); }
    // The lines so far whose level is in the mask, in order.
    [[nodiscard]] TraceLines Lines(int mask) const;

private:
    std::string m_sModule;
    mutable std::mutex m_mutex;
    TraceLines m_lines;
};
