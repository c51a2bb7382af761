#pragma once

#include <chrono>

// The processes that a process leaves behind when it dies become children of this one, so that a
// test can wait for their ends: none of them reaches into the next one's files.
class COrphans {
public:
    COrphans();

    // Waits until none is left. False when some still run after the time; they are then ended.
    [[nodiscard]] bool HaveEnded(std::chrono::milliseconds time) const;
};
