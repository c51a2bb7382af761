#pragma once

#include "tests/support/CTestRoot.h"

// The way back that "loggerctl" offers after a failure.
namespace HostRecovery {

// Keeps copies of the files as they are, as "loggerctl set" does before it changes anything.
void KeepCopies();

// Restores these copies and expects both files as they were, the service started, nothing left
// over, and the lock free.
void ExpectRestored(const CTestRoot& root);

// True when the service's last command was one to stop it.
bool IsStopped(const CTestRoot& root);

// Expects no file beside the two settings files, and no unfinished entry in the history.
void ExpectNoRemains();

} // namespace HostRecovery
