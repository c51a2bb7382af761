#pragma once

#include "comlib/KzmException.h"

// Throws a copy of the exception where a frame of this thread would catch it, or is noexcept.
// Otherwise returns, and no frame has been left: `throw` would have ended the process.
void ThrowIfCaught(const KzmException& exception);
