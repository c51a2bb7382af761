#pragma once

#include "tests/fault/CMethodRun.h"

// The program that has this in it makes its own allocations fail on demand: it stands in front of
// the C library's allocator.
namespace AllocationFault {

enum class Duration { kOnce, kForGood };

// From the window's beginning on allocations are counted, and the n-th fails, or all from the n-th
// on; none for 0.
void SetPoint(int point, Duration duration = Duration::kOnce);

// The window: its report gets how many there were, and whether one of them failed.
CMethodRun::Window Window();

} // namespace AllocationFault
