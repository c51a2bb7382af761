#pragma once

#include "tests/fault/COrphans.h"
#include "tests/fault/CSystemCallFault.h"
#include "tests/fault/CTracedProcess.h"
#include "tests/support/CTestRoot.h"

#include <functional>
#include <string>
#include <vector>

// What a command of loggerctl is asked for, and on what host.
struct CToolCommand {
    const char* m_pName;
    std::vector<std::string> m_words;
    void (*m_pPrepare)(); // the host, a fresh sample
    std::string m_sAgent; // the files when the command has done what it was asked for
    std::string m_sAlert;
};

// All that one run of a command did and left, as the user and the next command find it.
struct CToolObservation {
    int m_iExitCode = -1; // 128+n when signal n ended it
    bool m_bMet = false;  // the fault happened
    std::string m_sOutput;
    std::string m_sError;
    std::vector<std::string> m_leaked; // the files of descriptors that were not open before
    bool m_bOrphansEnded = false;
    std::vector<std::string> m_serviceCalls; // the vendor's commands but CheckInstall
    std::string m_sAgent;
    std::string m_sAlert;
    std::vector<std::string> m_historyBefore; // the names in the history folder
    std::vector<std::string> m_history;

    [[nodiscard]] bool IsServiceStopped() const;
};

std::ostream& operator<<(std::ostream& out, const CToolObservation& observation);

// One run of a command of loggerctl, on a sample host of its own, in a process of its own in which
// a fault happens. What the program's start-up does before its command line is read is left out.
class CToolRun {
public:
    explicit CToolRun(const CToolCommand& command);

    CToolObservation Run(const CSystemCallFault& fault);

    [[nodiscard]] const CTestRoot& Root() const { return m_root; }
    // How the last process ended.
    [[nodiscard]] const CTracedProcess::End& End() const { return m_end; }

private:
    const CToolCommand& m_command;
    const CTestRoot m_root;
    const COrphans m_orphans;
    CTracedProcess::End m_end;
};
