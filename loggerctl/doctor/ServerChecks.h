#pragma once

#include "loggerctl/doctor/Finding.h"

namespace doctor {

// The management server: its programs, what both say about their configuration, its user and
// groups, its certificate, and whether anybody listens where clients and the front end come to. A
// host without the server has one finding, which says so: nothing is wrong with that.
CFindings LookAtServer();

} // namespace doctor
