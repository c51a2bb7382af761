#pragma once

#include "serverbase/CMemoryBudget.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

// Frames over a stream socket, which stays the caller's.
namespace providerd {

// Until when something may take; nothing: without end.
using Deadline = std::optional<std::chrono::steady_clock::time_point>;

enum class Transfer {
    Done,
    Ended,  // the other side is gone
    Broken, // what it sends is no frame, or not a whole one
    NoRoom, // its frame is longer than what is left of the memory
    TimedOut
};

// Sends a whole frame. No signal is raised when the other side is gone. Ended as well for an empty
// text, which stands for a payload that is too large for a frame.
Transfer SendFrame(int socket, std::string_view frame, const Deadline& deadline);

// Receives one frame and gives its payload. Memory is taken as the payload arrives; with a share,
// one that is not short has it before anything of it is received.
Transfer ReceiveFrame(int socket, std::string* payload, const Deadline& deadline,
                      daemon_base::CMemoryShare* share = nullptr);

// Waits until there is something to be received, the other side's end included, or the descriptor
// is ready in another way (of a process: that it has ended). False when the deadline comes first.
bool WaitReadable(int descriptor, const Deadline& deadline);

// Waits until nobody has the other side any more, whatever there is to be received. False when the
// deadline comes first.
bool WaitHungUp(int socket, const Deadline& deadline);

} // namespace providerd
