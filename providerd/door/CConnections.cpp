#include "providerd/door/CConnections.h"

#include "serverbase/ServiceManager.h"

#include <sys/socket.h>

#include <exception>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

namespace providerd {

using daemon_base::Level;
using daemon_base::Log;
using history::CDescriptor;

namespace {

constexpr char kClosed[] = "A connection was closed";

} // namespace

void CConnections::Take(CDescriptor connection) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    if (m_sockets.size() >= kMost) {
        Log(Level::Warning,
            "A connection was closed: there are " + std::to_string(kMost) + " already.");
        return;
    }
    const int socket = connection.Get();
    try {
        m_sockets.insert(socket);
        // The thread waits for the mutex before it closes the connection.
        std::thread([this, owned = std::move(connection)]() mutable {
            Serve(owned.Get());
            const std::lock_guard<std::mutex> ending(m_mutex);
            m_sockets.erase(owned.Get());
            owned.Close();
            m_change.notify_all();
        }).detach();
    } catch (const std::exception& exception) {
        m_sockets.erase(socket);
        daemon_base::LogException(kClosed, exception);
    }
}

void CConnections::Serve(int socket) {
    try {
        m_serve(socket);
    } catch (const std::exception& exception) {
        daemon_base::LogException(kClosed, exception);
    }
}

bool CConnections::End(std::chrono::milliseconds time) {
    ShutDownAll(SHUT_RD);
    if (AwaitEnd(time)) {
        return true;
    }
    ShutDownAll(SHUT_RDWR);
    return AwaitEnd(time);
}

void CConnections::ShutDownAll(int how) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    for (const int socket : m_sockets) {
        shutdown(socket, how);
    }
}

bool CConnections::AwaitEnd(std::chrono::milliseconds time) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_change.wait_for(lock, time, [this] { return m_sockets.empty(); });
}

} // namespace providerd
