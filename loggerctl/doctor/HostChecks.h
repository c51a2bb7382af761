#pragma once

#include "loggerctl/agent/ProviderCall.h"
#include "loggerctl/doctor/Finding.h"

namespace doctor {

// What a change goes through besides the agent's commands: both settings files, the locks, the
// history, the room, the mount command, the provider. No lock is taken that somebody else could
// hold for long, and none is made.
CFindings LookAtHost(const agent::CProviderFiles& files);

} // namespace doctor
