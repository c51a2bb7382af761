#pragma once

#include "tests/load/CSharedCalls.h"

inline constexpr int kObjectsPerProcess = 2;
inline constexpr int kFirstNumber = 1; // of the settings that the files begin with

// Runs this many processes and waits for their ends. Each has several provider objects, every one
// called from a thread of its own, and every one a row of the calls: it reads and writes numbered
// settings in turn, every write with a number that no other has. The objects' first calls begin
// evenly spread over the time. The running test fails when a process traces a failure other than
// calls that did not get the lock.
void RunCallingProcesses(int count, const CSharedCalls& calls, CallEntry::Clock::duration spread);
