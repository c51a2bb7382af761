#pragma once

#include "comlib/CTraceUtility.h"
#include "loggerctl/agent/CSettingsTexts.h"
#include "settings/CLoggerConf.h"

#include <string>
#include <vector>

// What the provider would make of settings, found out on copies of the agent's files in memory with
// the very steps that it takes itself: put the request right, edit both files, read them back,
// compare. Nothing is touched.
struct CWriteRehearsal {
    // For its length the process's trace listener is taken.
    static CWriteRehearsal Run(const CLoggerConf& request, const CSettingsTexts& present);

    // Where it is not good: a sentence, safe to print, for each file system whose name alert.cfg
    // cannot hold. Without one the files themselves are at fault, and m_lines tell why.
    [[nodiscard]] std::vector<std::string> NameProblems() const;

    // The provider would find in the files what it wrote.
    bool m_bGood = false;
    CLoggerConf m_wanted;   // the request, put right
    CLoggerConf m_readBack; // at its defaults when the files could not be edited or read back
    CSettingsTexts m_texts; // the files afterwards
    std::vector<CTraceUtility::Line> m_lines; // the failures that were traced
};
