#pragma once

#include "history/CDescriptor.h"
#include "history/Expected.h"

#include <chrono>

namespace history {

// The lock that everybody takes who changes settings through this product, for the whole of a
// change, so that nobody's change is lost between reading and writing. The provider's own lock is
// another one, taken inside of it.
//
// It is held as long as the object lives, and not by programs that are started meanwhile. The file
// of the lock is KzmPaths::kCallerLock; its contents are never read or written.
class CCallerLock {
public:
    struct CRefusal {
        bool m_busy = false; // somebody else held it all the time
        CProblem m_problem;
    };

    // Waits at most `limit` (0: not at all). Those who wait get their turns one after the other. A
    // file that is missing is made with mode 0600, a missing folder of it with mode 0755. Refused
    // when the lock is busy, when the folder can be changed by others than root and the running
    // user, when something else than a file stands in the file's place, a symbolic link included,
    // or when the file cannot be opened or made.
    //
    // For the time of the waiting, the calling thread is interrupted with a real-time signal, which
    // may be blocked; its disposition and the thread's mask are restored. Threads do not disturb
    // each other.
    static tl::expected<CCallerLock, CRefusal> Take(std::chrono::milliseconds limit);

private:
    explicit CCallerLock(CDescriptor file);

    CDescriptor m_file;
};

} // namespace history
