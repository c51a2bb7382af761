#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <iterator>
#include <thread>

// The number of descriptors that this process has open.
inline std::size_t OpenDescriptors() {
    namespace fs = std::filesystem;
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

// Waits until it holds; false when it did not within a time that is long on any machine.
inline bool WaitUntil(const std::function<bool()>& holds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(50);
    while (!holds()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}
