#include "providerd/door/Listener.h"

#include "providerd/door/SystemNames.h"
#include "serverbase/ServiceManager.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

namespace providerd {

namespace {

namespace fs = std::filesystem;
using daemon_base::Level;
using daemon_base::Log;
using history::CDescriptor;
using Failure = tl::unexpected<std::string>;

constexpr mode_t kSocketMode = 0660;
constexpr mode_t kFolderMode = 0755;

std::string Reason() {
    return std::string(" (") + std::strerror(errno) + ").";
}

CDescriptor NewSocket() {
    return CDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

const sockaddr* AsAddress(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

bool Has(int descriptor, int option, int value) {
    int found = 0;
    socklen_t size = sizeof found;
    return getsockopt(descriptor, SOL_SOCKET, option, &found, &size) == 0 && found == value;
}

// Empty, or why there is still something at the address.
std::string RemoveStale(const sockaddr_un& address) {
    const std::string path = address.sun_path;
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return {};
    }
    if (!S_ISSOCK(status.st_mode)) {
        return path + ": is not a socket. Remove it: the socket belongs there.";
    }
    const CDescriptor probe = NewSocket();
    if (connect(probe.Get(), AsAddress(address), sizeof address) == 0 || errno != ECONNREFUSED) {
        return path + ": is in use by another process. End it first.";
    }
    return unlink(path.c_str()) == 0 ? "" : path + ": cannot be removed" + Reason();
}

// Empty, or why there is no such folder.
std::string MakeFolder(const fs::path& folder) {
    std::error_code error;
    if (fs::is_directory(folder, error)) {
        return {};
    }
    fs::create_directories(folder, error);
    if (error || chmod(folder.c_str(), kFolderMode) != 0) {
        return folder.string() + ": cannot be made (" +
               (error ? error.message() : std::strerror(errno)) + ").";
    }
    return {};
}

// Nobody can connect before it listens.
bool Restrict(const std::string& path, const std::string& frontEndUser) {
    const auto group = PrimaryGroupOf(frontEndUser);
    if (group && lchown(path.c_str(), static_cast<uid_t>(-1), *group) != 0) {
        Log(Level::Warning, path + ": cannot be given to the group of " + frontEndUser + Reason());
    }
    return chmod(path.c_str(), kSocketMode) == 0;
}

bool IsOfFrontEnd(int connection, const std::string& frontEndUser) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        return false;
    }
    const auto wanted = UserIdOf(frontEndUser);
    if (wanted && *wanted == peer.uid) {
        return true;
    }
    const std::string why = wanted ? "." : ", whom this system does not know.";
    Log(Level::Warning, "A connection was closed: process " + std::to_string(peer.pid) +
                            " of user ID " + std::to_string(peer.uid) + " is not " + frontEndUser +
                            why);
    return false;
}

} // namespace

tl::expected<CDescriptor, std::string> HandedOverListener() {
    std::vector<CDescriptor> listeners;
    for (const int listener : daemon_base::TakeListeners()) {
        listeners.emplace_back(listener);
    }
    if (listeners.empty()) {
        return CDescriptor();
    }
    const int first = listeners.front().Get();
    const bool fits = Has(first, SO_DOMAIN, AF_UNIX) && Has(first, SO_TYPE, SOCK_STREAM) &&
                      Has(first, SO_ACCEPTCONN, 1) && fcntl(first, F_SETFL, O_NONBLOCK) == 0;
    if (listeners.size() > 1 || !fits) {
        return Failure("The service manager must hand over one listening Unix stream socket, or "
                       "none.");
    }
    return std::move(listeners.front());
}

tl::expected<CDescriptor, std::string> MakeListener(const std::string& path,
                                                    const std::string& frontEndUser) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        return Failure(path + ": is too long for a socket, which can have " +
                       std::to_string(sizeof address.sun_path - 1) + " bytes.");
    }
    path.copy(address.sun_path, path.size());
    std::string problem = MakeFolder(fs::path(path).parent_path());
    problem = problem.empty() ? RemoveStale(address) : problem;
    if (!problem.empty()) {
        return Failure(problem);
    }
    CDescriptor listener = NewSocket();
    const bool listens = bind(listener.Get(), AsAddress(address), sizeof address) == 0 &&
                         Restrict(path, frontEndUser) && listen(listener.Get(), SOMAXCONN) == 0;
    if (!listens) {
        return Failure(path + ": cannot be listened on" + Reason());
    }
    return listener;
}

Accepting AcceptFrontEnd(int listener, const std::string& frontEndUser, CDescriptor* connection) {
    *connection = CDescriptor(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
    if (connection->IsOpen()) {
        if (!IsOfFrontEnd(connection->Get(), frontEndUser)) {
            *connection = CDescriptor();
        }
        return Accepting::Goes;
    }
    const bool lacks = errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
    return lacks ? Accepting::LacksMemory : Accepting::Goes;
}

} // namespace providerd
