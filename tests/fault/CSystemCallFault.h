#pragma once

#include <vector>

// What happens to which system call of a traced process.
struct CSystemCallFault {
    enum class Kind {
        kNone,            // the calls are counted only
        kError,           // it is not made and answers the error
        kErrorAfterwards, // it is made and answers the error all the same, as close does
        kShort,           // it transfers half of what was asked for (of a vector, the first part)
        kKill,            // the process dies before it
        kKillAfterwards,  // the process dies behind it
    };

    std::vector<long> m_calls; // numbers of the calls that count; empty: all
    Kind m_kind = Kind::kNone;
    int m_iError = 0;
    int m_iPoint = 0;            // which of them, from 1
    bool m_bForGood = false;     // and every later one
    bool m_bOfFilesOnly = false; // calls on a descriptor of anything else do not count
    bool m_bNotInMemory = false; // nor do those on a copy in memory, which has no disk behind it
    bool m_bSkipSleep = false;   // the process's naps take no time
};
