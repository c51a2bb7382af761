#include "loggerctl/agent/CSettingsLock.h"

#include "KzmPaths.h"
#include "loggerctl/agent/CFileProblem.h"
#include "loggerctl/agent/CLockHolder.h"
#include "loggerctl/agent/CLockWaitDisplay.h"
#include "loggerctl/output/CSafeText.h"
#include "settings/LockFile.h"

#include <unistd.h>

CSettingsLock::CSettingsLock() {
    const CLockWaitDisplay display(KzmPaths::kLockFile, CTerminal::Of(STDERR_FILENO));
    m_iDescriptor = LockFile::Take();
}

CSettingsLock::~CSettingsLock() {
    if (IsHeld()) {
        LockFile::Give(m_iDescriptor);
    }
}

std::string CSettingsLock::WhyRefused() {
    std::string problem = CFileProblem::Locking(KzmPaths::kLockFile);
    if (!problem.empty()) {
        return problem;
    }
    const std::optional<pid_t> holder = CLockHolder::Find(KzmPaths::kLockFile);
    return "The settings lock " + CSafeText::Escape(KzmPaths::kLockFile) +
           " stayed taken for 30 seconds" +
           (holder ? ", by " + CLockHolder::Describe(*holder) : "") + ". Try again later.";
}
