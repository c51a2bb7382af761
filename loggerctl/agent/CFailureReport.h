#pragma once

#include "comlib/CTraceUtility.h"

#include <string>
#include <vector>

struct CProviderAnswer;

// Why a call failed, in words that an administrator can act on. Looks at the files concerned as
// they are now, and never changes them.
class CFailureReport {
public:
    // Writes what was to be done ("The settings cannot be read") and the reasons to standard error.
    static void Write(const std::string& failed, const CProviderAnswer& answer);

    // One sentence for each line that gives a reason, without repetition, safe to print. A line
    // that is not known is shown as it is; a mere consequence gives no sentence of its own.
    static std::vector<std::string> Reasons(const std::vector<CTraceUtility::Line>& lines);
};
