#pragma once

#include <sys/types.h>

#include <vector>

namespace providerd {

// The processes whose parent this one is, as /proc has them at this moment.
std::vector<pid_t> ChildrenOf(pid_t process);

// Kills a child of this process that leads a process group, with this group, and the service
// commands that it runs: each stands behind a keeper (platform/providerbase/CKeptProcess.h) in a
// group of its own. It is not waited for.
void KillWithPrograms(pid_t leader);

} // namespace providerd
