#pragma once

#include "history/CCallerLock.h"
#include "loggerctl/agent/SettingsFiles.h"
#include "loggerctl/output/Failure.h"

#include <sys/types.h>

#include <chrono>
#include <string>

// The two locks around a change: the callers' own, for the whole of it, and the settings lock,
// which the provider takes for each call. While somebody else holds one, a terminal shows so.
namespace agent {

// The settings lock, held from construction to destruction.
class CSettingsLock {
public:
    // Waits for the lock, 30 seconds at most.
    CSettingsLock();
    ~CSettingsLock();
    CSettingsLock(const CSettingsLock&) = delete;
    CSettingsLock& operator=(const CSettingsLock&) = delete;

    [[nodiscard]] bool IsHeld() const { return m_descriptor >= 0; }

private:
    int m_descriptor = -1;
};

// Why somebody who has just tried did not get the settings lock. Looks at the lock file as it is
// now. Busy as code when nothing but another holder is in the way.
CReason WhyNoSettingsLock();

// The callers' lock. Busy when others kept it for the whole time; waits for none when that is 0.
output::Expected<history::CCallerLock> TakeCallerLock(const std::string& headline,
                                                      std::chrono::seconds wait);

// What a line on the terminal says while this lock is waited for: "Waiting for NAME, held by
// process 1234"; empty while nobody holds it, or this process does.
std::string DescribeWait(const std::string& name, const std::string& lockFile);

// Who holds the exclusive flock on a file or a folder, as far as this process may see:
// "process 1234 (name), which runs since 2026-11-21 08:30:00"; safe to print. Empty when nobody
// does. The file is only looked at.
std::string DescribeHolder(const std::string& lockFile);

// The process that holds the exclusive flock on a file given by device and inode, from the text of
// /proc/locks; 0 when there is none, or it is outside of this PID namespace.
pid_t FindInLockList(const std::string& list, dev_t device, ino_t inode);

} // namespace agent
