#pragma once

#include "comlib/CTraceUtility.h"
#include "history/CSettingsCopy.h"
#include "settings/CLoggerConf.h"

#include <string>
#include <vector>

namespace record {

// What the provider would make of settings, found out on copies of the agent's files in memory with
// the very steps that it takes itself: put the request right, edit both files, read them back,
// compare. Nothing is touched.
struct CRehearsal {
    // For its length the process's trace listener is taken.
    static CRehearsal Run(const CLoggerConf& request, const history::CSettingsCopy& present);

    // Where it is not good: a sentence, safe to print, for each file system whose name alert.cfg
    // cannot hold. Without one the files themselves are at fault, and m_lines tell why.
    [[nodiscard]] std::vector<std::string> NameProblems() const;

    bool m_good = false;            // the provider would find in the files what it wrote
    CLoggerConf m_wanted;           // the request, put right
    CLoggerConf m_readBack;         // at its defaults when the files could not be edited or read
    history::CSettingsCopy m_files; // the present files with the texts that they would have
    std::vector<CTraceUtility::Line> m_lines; // the failures that were traced
};

// Why the provider could not read the files of a copy: the failures that it would trace; none when
// it could.
std::vector<CTraceUtility::Line> FindRefusal(const history::CSettingsCopy& copy);

// Whether these failures are no fault of the files: the mounted file systems could not be listed,
// or the copies in memory not be opened.
bool IsFaultOfHost(const std::vector<CTraceUtility::Line>& failures);

} // namespace record
