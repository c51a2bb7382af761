#pragma once

#include <chrono>
#include <functional>

namespace providerd {

// What time it is. It never goes back.
using TimePoint = std::chrono::steady_clock::time_point;
using Clock = std::function<TimePoint()>;

// In place of the real time.
struct CTimes {
    Clock m_now = std::chrono::steady_clock::now;
    std::function<void(std::chrono::milliseconds)> m_pause; // empty: a real one
};

} // namespace providerd
