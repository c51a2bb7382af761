#include "tests/fault/CObservation.h"

#include <sstream>

namespace {

constexpr char kEnd[] = "end";
constexpr char kLeaked[] = "leaked";
constexpr char kTrace[] = "trace";

// What follows a line's first blank.
std::string Rest(std::istringstream* words) {
    std::string rest;
    words->get();
    std::getline(*words, rest);
    return rest;
}

} // namespace

TraceLines CObservation::Report::Lines(int mask) const {
    TraceLines lines;
    for (const TraceLine& line : m_trace) {
        if ((line.m_iLevel & mask) != 0) {
            lines.push_back(line);
        }
    }
    return lines;
}

std::string CObservation::Report::Text() const {
    std::ostringstream text;
    text << m_bThrown << ' ' << m_bDelivered << ' ' << m_uiResult << ' ' << m_uiStatus << ' '
         << m_bLockHeld << ' ' << m_bHasChildren << ' ' << m_bMet << ' ' << m_iAllocations << '\n'
         << m_sError << '\n';
    for (const std::string& file : m_leaked) {
        text << kLeaked << ' ' << file << '\n';
    }
    for (const TraceLine& line : m_trace) {
        text << kTrace << ' ' << line.m_iLevel << ' ' << line.m_sText << '\n';
    }
    text << kEnd << '\n';
    return text.str();
}

std::optional<CObservation::Report> CObservation::Report::Parse(const std::string& text) {
    Report report;
    std::istringstream lines(text);
    std::string line;
    lines >> report.m_bThrown >> report.m_bDelivered >> report.m_uiResult >> report.m_uiStatus >>
        report.m_bLockHeld >> report.m_bHasChildren >> report.m_bMet >> report.m_iAllocations;
    std::getline(lines, line);
    std::getline(lines, report.m_sError);
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string kind;
        words >> kind;
        if (kind == kEnd) {
            return report;
        }
        if (kind == kLeaked) {
            report.m_leaked.push_back(Rest(&words));
        } else {
            int level = 0;
            words >> level;
            report.m_trace.push_back({level, Rest(&words)});
        }
    }
    return std::nullopt;
}

std::ostream& operator<<(std::ostream& out, const CObservation& observation) {
    out << "exit status " << observation.m_iExitStatus << ", fault "
        << (observation.m_bMet ? "met" : "not met") << '\n';
    if (observation.m_report) {
        const CObservation::Report& report = *observation.m_report;
        out << std::hex << "result " << report.m_uiResult << ", status " << report.m_uiStatus
            << std::dec << (report.m_bDelivered ? "" : ", nothing delivered")
            << (report.m_bThrown ? ", the host threw" : "")
            << (report.m_bLockHeld ? ", lock held" : "")
            << (report.m_bHasChildren ? ", has children" : "") << ' ' << report.m_sError << '\n';
        for (const std::string& file : report.m_leaked) {
            out << "leaked " << file << '\n';
        }
        for (const TraceLine& line : report.Lines(2 | 8)) {
            out << line;
        }
    }
    out << "\nvendor commands:";
    for (const std::string& call : observation.m_vendorCalls) {
        out << ' ' << call;
    }
    return out << "\n--- agent.cfg\n"
               << observation.m_sAgent << "--- alert.cfg\n"
               << observation.m_sAlert << "---\n";
}
