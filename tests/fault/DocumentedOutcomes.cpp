#include "tests/fault/DocumentedOutcomes.h"

#include "KzmPaths.h"
#include "tests/fault/OutcomeTable.h"
#include "tests/fault/SampleReading.h"

#include <algorithm>
#include <sstream>

using namespace OutcomeTable;
using std::string;

namespace {

using DocumentedOutcomes::Case;

string Join(const std::vector<string>& words) {
    string text;
    for (const string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

bool HasWord(const string& words, const string& word) {
    std::istringstream all(words);
    string one;
    while (all >> one) {
        if (one == word) {
            return true;
        }
    }
    return false;
}

// ---- The trace ----

// The lines of failures and exceptions that the row demands.
TraceLines Demanded(const Row& row, const CObservation& observation) {
    TraceLines lines;
    for (const TraceLine& line : row.m_lines) {
        TraceLines demanded = {line};
        if (line.m_sText == kFailureOfFiles) {
            demanded = SampleReading::FailureOf(observation.m_sAgent, observation.m_sAlert);
        } else if (line.m_sText == kDifferenceOfFiles) {
            demanded = SampleReading::DifferenceOf(observation.m_sAlert);
        }
        lines.insert(lines.end(), demanded.begin(), demanded.end());
    }
    return lines;
}

bool IsSame(const TraceLine& demanded, const TraceLine& line) {
    if (demanded.m_sText == kFailureOfReader) {
        return SampleReading::IsFailure(line);
    }
    return demanded.m_sText == kDifferenceOfReader ? SampleReading::IsDifference(line)
                                                   : demanded == line;
}

bool FitFailures(const Row& row, const CObservation& observation) {
    const TraceLines demanded = Demanded(row, observation);
    const TraceLines lines = observation.m_report->Lines(2 | 8);
    return std::equal(demanded.begin(), demanded.end(), lines.begin(), lines.end(), IsSame);
}

// A line that there is no memory for is dropped; it is the only one, for one allocation fails.
bool IsWithoutOne(const TraceLines& good, const TraceLines& lines) {
    const auto difference = std::mismatch(lines.begin(), lines.end(), good.begin(), good.end());
    return good.size() == lines.size() + 1 &&
           std::equal(difference.first, lines.end(), difference.second + 1, good.end());
}

bool FitsTrace(const Row& row, const Case& made, const CObservation& observation) {
    const TraceLines& lines = observation.m_report->m_trace;
    const auto traced = [&lines](const char* text) {
        return std::find(lines.begin(), lines.end(), TraceLine{4, text}) != lines.end();
    };
    return (!row.m_bGoodTrace || lines == made.m_goodTrace ||
            (made.m_sFault == kMemory && IsWithoutOne(made.m_goodTrace, lines))) &&
           (*row.m_pTraced == '\0' || traced(row.m_pTraced)) &&
           (*row.m_pNotTraced == '\0' || !traced(row.m_pNotTraced));
}

// ---- The files ----

bool IsFile(File state, const string& text, const string& oldText, const string& newText) {
    switch (state) {
    case File::kOld:
        return text == oldText;
    case File::kNew:
        return text == newText;
    case File::kEmpty:
        return text.empty();
    case File::kBeginning:
        return text.size() < newText.size() && newText.compare(0, text.size(), text) == 0;
    }
    return false;
}

bool FitFiles(const Row& row, const Case& made, const CObservation& observation) {
    return IsFile(row.m_agent, observation.m_sAgent, made.m_sOldAgent, made.m_sNewAgent) &&
           IsFile(row.m_alert, observation.m_sAlert, made.m_sOldAlert, made.m_sNewAlert);
}

// ---- All the rest ----

bool FitsAnswer(const Row& row, const CObservation::Report& report) {
    return report.m_bThrown == row.m_bHostThrew && report.m_sError.empty() &&
           report.m_uiStatus == row.m_uiStatus && report.m_bDelivered == row.m_bDelivered &&
           (!row.m_bDelivered || report.m_uiResult == row.m_uiResult);
}

// A check that could not be run counts as an installed agent.
bool FitCommands(const Row& row, const Case& made, const CObservation& observation) {
    std::vector<string> commands = observation.m_vendorCalls;
    const bool isChecked = !commands.empty() && commands.front() == "CheckInstall";
    if (isChecked) {
        commands.erase(commands.begin());
    } else if (!HasWord(kFaultsOfStarting, made.m_sFault)) {
        return false;
    }
    return Join(commands) == row.m_pCommands;
}

bool FitsRemains(const Row& row, const CObservation& observation) {
    const CObservation::Report& report = *observation.m_report;
    const std::vector<string> lockFile = {KzmPaths::kLockFile};
    return report.m_bLockHeld == row.m_bLockHeld &&
           report.m_leaked == (row.m_bLockHeld ? lockFile : std::vector<string>()) &&
           report.m_bHasChildren == row.m_bHasChildren;
}

bool Fits(const Row& row, const Case& made, const CObservation& observation) {
    return row.m_pMethod == made.m_sMethod && HasWord(row.m_pFaults, made.m_sFault) &&
           FitsAnswer(row, *observation.m_report) && FitFailures(row, observation) &&
           FitsTrace(row, made, observation) && FitFiles(row, made, observation) &&
           FitCommands(row, made, observation) && FitsRemains(row, observation);
}

} // namespace

string DocumentedOutcomes::Find(const Case& made, const CObservation& observation) {
    const bool isOrderly = observation.m_report && observation.m_iExitStatus == 0 &&
                           observation.m_bOrphansEnded && observation.m_bLockFree;
    for (const Row& row : Rows()) {
        if (isOrderly && Fits(row, made, observation)) {
            return row.m_pName;
        }
    }
    return {};
}

bool DocumentedOutcomes::AreFilesWrittenInPart(const Case& made, const CObservation& observation) {
    const auto isPart = [](const string& text, const string& oldText, const string& newText) {
        return text == oldText || newText.compare(0, text.size(), text) == 0;
    };
    return isPart(observation.m_sAgent, made.m_sOldAgent, made.m_sNewAgent) &&
           isPart(observation.m_sAlert, made.m_sOldAlert, made.m_sNewAlert);
}
