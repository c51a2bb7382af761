#pragma once

#include "providerd/CCallQueue.h"
#include "tests/system/server/Phases.h"

#include <string>

// What the tests of the queue with the real worker share.

// A queue's limits with that worker.
providerd::CQueueLimits WorkerLimits();

// The calls that a management client's request becomes. SetParameter asks for ChangedConf().
providerd::CMethodCall GetCall();
providerd::CMethodCall SetCall();

// The answer's result and return value, such as "Done 0x00000000" or "Died".
std::string ResultOf(const providerd::CFinishedCall& finished);

// GetParameter and SetParameter can be called, the one finding the sample's settings if they are
// untouched, the other changing them; the provider's lock and the callers' are free.
void ExpectUsable(providerd::CCallQueue& queue);

// Both files as they were made, or as SetCall() makes them.
void ExpectUntouchedFiles();
void ExpectChangedFiles();
