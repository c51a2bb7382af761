#pragma once

#include "tests/fault/CObservation.h"
#include "tests/fault/COrphans.h"
#include "tests/fault/CSystemCallFault.h"
#include "tests/fault/CTracedProcess.h"
#include "tests/fault/DocumentedOutcomes.h"
#include "tests/support/CTestRoot.h"

#include <string>

// One call of "GetParameter" or "SetParameter" in a process of its own, on a sample host of its
// own. SetParameter asks for the settings that differ from the sample, and finds the lock file
// there; GetParameter has to make it. Copies of both files have been kept before.
class CMethodRun {
public:
    // Long files end in comments that take several reads and writes each.
    enum class Files { kSample, kLong };

    // What the process does directly before and behind the call.
    struct Window {
        void (*m_pOpen)();
        void (*m_pClose)(CObservation::Report* report);
    };

    explicit CMethodRun(std::string method, Files files = Files::kSample);

    // Has the vendor's commands take so long that they are waited for.
    static void SlowCommandsDown();

    // Runs the call while a fault happens at a system call.
    CObservation Run(const CSystemCallFault& fault);
    // Runs the call, untraced, with this window.
    CObservation Run(const Window& window);

    // The case of a fault in this call, for the table of outcomes; without the trace of a good
    // call.
    [[nodiscard]] DocumentedOutcomes::Case Case(const std::string& fault) const;

    [[nodiscard]] const CTestRoot& Root() const { return m_root; }
    // How the last process ended.
    [[nodiscard]] const CTracedProcess::End& End() const { return m_end; }

private:
    CObservation Observe(const Window& window, const CSystemCallFault& fault);
    int CallAndReport(const Window& window, int reportTo) const;
    [[nodiscard]] CObservation::Report Call(const Window& window) const;

    const std::string m_sMethod;
    const std::string m_sFileEnds;
    const CTestRoot m_root;
    const COrphans m_orphans;
    CTracedProcess::End m_end;
};
