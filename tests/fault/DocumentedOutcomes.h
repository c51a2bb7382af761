#pragma once

#include "tests/fault/CObservation.h"

#include <string>

// What a method call may come to, as it is documented, and which faults may lead there.
namespace DocumentedOutcomes {

// A call and the fault that it met.
struct Case {
    std::string m_sMethod;
    std::string m_sFault;    // a word of the table's, or "none"
    std::string m_sOldAgent; // the files before
    std::string m_sOldAlert;
    std::string m_sNewAgent; // the files as they were asked for
    std::string m_sNewAlert;
    TraceLines m_goodTrace; // of the same call without a fault
};

// The name of the row that the observation matches in everything: answer, trace lines of failures
// and exceptions, vendor commands, both files, lock, descriptors and children. Empty when there is
// none.
std::string Find(const Case& made, const CObservation& observation);

// True when each file is as it was, as it was asked for, or as far as the writing got.
bool AreFilesWrittenInPart(const Case& made, const CObservation& observation);

} // namespace DocumentedOutcomes
