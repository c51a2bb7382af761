#pragma once

#include <ucontext.h>

// Makes the context of a fault one that can be unwound from. A call through a null or wild pointer
// faults where there is no code: the context is moved back into the instruction that made the call,
// as if that had faulted. False, and nothing is changed, when the fault lies where no code is and
// the stack does not show a call.
bool MoveToInstruction(ucontext_t& context);
