#pragma once

#include "history/CDescriptor.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <set>

namespace providerd {

// Connections, each with a thread of its own that serves it.
class CConnections {
public:
    static constexpr std::size_t kMost = 320;

    explicit CConnections(std::function<void(int)> serve) : m_serve(std::move(serve)) {}
    // All must have ended.
    ~CConnections() = default;
    CConnections(const CConnections&) = delete;
    CConnections& operator=(const CConnections&) = delete;

    // Serves the connection, and then closes it. One too many, or one that there is no thread for,
    // is closed at once; that is logged.
    void Take(history::CDescriptor connection);

    // Takes nothing more from the connections: each ends after the answer that it is at. When they
    // have not ended after the time, nothing goes out any more, either, and they have it once more.
    // Whether all have ended.
    bool End(std::chrono::milliseconds time);

private:
    void Serve(int socket);
    void ShutDownAll(int how);
    bool AwaitEnd(std::chrono::milliseconds time);

    std::function<void(int)> m_serve;
    std::mutex m_mutex; // guards the members below
    std::condition_variable m_change;
    std::set<int> m_sockets;
};

} // namespace providerd
