#pragma once

#include "loggerctl/record/Keys.h"

#include <string>
#include <vector>

// From what was asked for to the settings that are sent to the provider.
namespace record {

// A setting and the value that it is to have, as in "cpu.threshold=90".
struct CAssignment {
    CAddress m_address;
    CValue m_value; // of the setting's type
};

// Reads assignments from the command line. The "=" is the one behind the key; a file system's name
// can hold others. Switches are true, false, on, off, yes, no, 1 and 0 in upper or lower case;
// numbers are decimal and within the 32 bits of the setting's type. Wrong usage when one is wrong
// or a key stands there twice.
output::Expected<std::vector<CAssignment>> ParseAssignments(const std::vector<std::string>& texts);

// A setting that was asked for, and what it is to become.
struct CAsked {
    std::string m_text; // its key, as it was written
    bool m_ofVolume;
    CValue m_value;
};

struct CRequest {
    CLoggerConf m_conf; // complete: the present settings with some exchanged
    std::vector<CAsked> m_asked;
};

// The present settings with the assigned ones exchanged. A pattern gives every file system that it
// matches the value, unless another assignment names it exactly; of two patterns the later one
// counts. Wrong usage when a file system is not mounted, or is named twice under two spellings;
// the reasons are then all of them.
output::Expected<CRequest> MakeRequest(const CLoggerConf& present,
                                       const std::vector<CAssignment>& assignments);

// Of assignments that come from a record, whose names are file systems' own: takes out those that
// change nothing, and those of file systems that are not mounted, whose names it gives back.
std::vector<std::string> Reduce(const CLoggerConf& present, std::vector<CAssignment>* assignments);

} // namespace record
