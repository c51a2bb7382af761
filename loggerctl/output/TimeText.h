#pragma once

#include <ctime>
#include <string>

namespace output {

// A time as people read it, in the host's own time zone: "2026-11-21 08:30:00".
std::string LocalTime(std::time_t time);

// The same for programs, in UTC: "2026-11-21T08:30:00Z".
std::string UniversalTime(std::time_t time);

} // namespace output
