#pragma once

#include "comlib/CTraceUtility.h"
#include "loggerctl/output/Failure.h"

#include <mutex>
#include <string>
#include <vector>

// Why something failed, from what was traced meanwhile, in words that an administrator can act on.
namespace agent {

// Collects the trace lines that tell why something failed, from its construction to its
// destruction. It takes the process's trace listener: one at a time.
class CReasonListener {
public:
    CReasonListener();
    ~CReasonListener();
    CReasonListener(const CReasonListener&) = delete;
    CReasonListener& operator=(const CReasonListener&) = delete;

    // The failures and exceptions traced so far, on whatever thread.
    std::vector<CTraceUtility::Line> Lines();

private:
    std::mutex m_mutex;
    std::vector<CTraceUtility::Line> m_lines; // guarded by m_mutex
};

// How far a SetParameter had come.
enum class Stage {
    NotBegun,    // the service was not touched
    StopFailed,  // nothing was written
    Stopped,     // the service was stopped, and not started again
    StartFailed, // the files were written and verified
    Unknown,     // an exception ended it somewhere
};

struct CReasons {
    // One sentence for each line that gives a reason, without repetition, safe to print. A line
    // that is not known is shown as it is; a mere consequence gives no sentence of its own.
    std::vector<std::string> m_texts;
    output::ExitCode m_code = output::ExitCode::Failure; // or Busy, or NoRights
    Stage m_stage = Stage::Unknown;
};

// Looks at the files concerned as they are now, and never changes them.
CReasons Explain(const std::vector<CTraceUtility::Line>& lines);

} // namespace agent
