#pragma once

#include "tests/support/CTraceCapture.h"

#include <cstdint>
#include <vector>

// The documented outcomes of both methods, one row each.
namespace OutcomeTable {

// The faults, as the rows name them: "none", system calls by what they do, and memory.
inline constexpr char kMemory[] = "memory";
// Those after which a vendor's command may not have been run.
inline constexpr char kFaultsOfStarting[] = "start mmap memory";

// In place of a trace line: the failure of a reader, whichever.
inline constexpr char kFailureOfReader[] = "<a reader's failure>";
// Likewise: a file system's difference from what was asked for, whichever.
inline constexpr char kDifferenceOfReader[] = "<a difference of a file system>";
// Likewise: the failure, or the difference from what was asked for, that the files have.
inline constexpr char kFailureOfFiles[] = "<the failure of the files>";
inline constexpr char kDifferenceOfFiles[] = "<the difference of the files>";

enum class File {
    kOld,
    kNew,
    kEmpty,     // it was opened for writing, and no more
    kBeginning, // of the new text, as far as the stream got or as the reading before it did
};

struct Row {
    const char* m_pName;
    const char* m_pMethod;
    const char* m_pFaults; // that may lead here
    std::uint32_t m_uiResult;
    TraceLines m_lines;      // of levels 2 and 8, all of them
    const char* m_pCommands; // of the vendor's that were run behind "CheckInstall"
    File m_agent = File::kOld;
    File m_alert = File::kOld;
    std::uint32_t m_uiStatus = 0;
    bool m_bDelivered = true;
    bool m_bLockHeld = false;
    const char* m_pTraced = "";    // a line of level 4 that is there
    const char* m_pNotTraced = ""; // and one that is not
    bool m_bGoodTrace = false;     // all levels are as in a call without a fault
    bool m_bHasChildren = false;
    bool m_bHostThrew = false; // it had no memory for the call
};

const std::vector<Row>& Rows();

} // namespace OutcomeTable
