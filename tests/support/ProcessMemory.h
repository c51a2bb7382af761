#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>

// Memory of a process, in bytes, by its name in /proc: "VmRSS" what it has now, "VmHWM" the most of
// that so far, "VmData" what of all it can write. Fails the running test when the system does not
// tell.
std::size_t MemoryOf(pid_t process, const std::string& name);
