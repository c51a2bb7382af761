#include "tests/load/CallFigures.h"

#include <algorithm>
#include <cstdio>

using std::string;
using Clock = CallEntry::Clock;

namespace {

// The value below which this share of the sorted values lies.
double Quantile(const std::vector<double>& sorted, double share) {
    const auto last = static_cast<double>(sorted.size() - 1);
    return sorted[static_cast<std::size_t>(share * last + 0.5)];
}

string Spread(const char* name, std::vector<double> seconds) {
    if (seconds.empty()) {
        return string(name) + "  none\n";
    }
    std::sort(seconds.begin(), seconds.end());
    char line[160];
    std::snprintf(line, sizeof line, "%-22s %8.3f %8.3f %8.3f %8.3f\n", name, seconds.front(),
                  Quantile(seconds, 0.5), Quantile(seconds, 0.9), seconds.back());
    return line;
}

std::vector<double> CallTimes(const std::vector<CallEntry>& calls, bool isWrite) {
    std::vector<double> seconds;
    for (const CallEntry& call : calls) {
        if (call.m_uiResult == 0 && call.m_bIsWrite == isWrite) {
            seconds.push_back(call.Seconds());
        }
    }
    return seconds;
}

} // namespace

string CallFigures(const CSharedCalls& calls, int callers, int processes) {
    const std::vector<CallEntry> all = calls.All();
    const auto earlier = [](const CallEntry& a, const CallEntry& b) {
        return a.m_begin < b.m_begin;
    };
    const Clock::time_point begin = std::min_element(all.begin(), all.end(), earlier)->m_begin;
    std::vector<double> ends;
    for (int caller = 0; caller < callers; ++caller) {
        const CallEntry& last = calls.Row(caller)[calls.CallsPerCaller() - 1];
        ends.push_back(std::chrono::duration<double>(last.m_end - begin).count());
    }
    const double whole = *std::max_element(ends.begin(), ends.end());
    const auto failures = std::count_if(all.begin(), all.end(),
                                        [](const CallEntry& call) { return call.m_uiResult != 0; });
    char line[160];
    std::snprintf(line, sizeof line,
                  "processes %d, objects %d, calls %zu, gave up %td, %.1f s, %.1f calls/s\n",
                  processes, callers, all.size(), failures, whole,
                  static_cast<double>(all.size()) / whole);
    return line + string("seconds                     min   median      p90      max\n") +
           Spread("GetParameter", CallTimes(all, false)) +
           Spread("SetParameter", CallTimes(all, true)) + Spread("caller done after", ends);
}
