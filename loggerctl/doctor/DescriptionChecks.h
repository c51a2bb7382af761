#pragma once

#include "loggerctl/doctor/Finding.h"

namespace doctor {

// The agent, its device description and the commands there. Of the commands CheckInstall alone is
// run. A description that cannot be used has no findings about its commands.
CFindings LookAtAgent();

} // namespace doctor
