#pragma once

#include "history/CDescriptor.h"

#include <tl/expected.hpp>

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <optional>
#include <string>

namespace wbemd {

// An address and a port that connections come to.
struct CListenAddress {
    std::string m_text; // as it was written
    sockaddr_storage m_address{};
    socklen_t m_size = 0;
    bool m_both = false; // "*": all addresses, IPv4 and IPv6

    // Whether nobody but this machine reaches it.
    [[nodiscard]] bool IsLoopback() const;
};

// Reads "*", "192.0.2.1" or "[2001:db8::1]", each with ":PORT" behind it where the port is another
// one. Port 0 lets the system choose. Nothing when it is none of these.
std::optional<CListenAddress> ReadListenAddress(const std::string& text, std::uint16_t port);

// A socket that listens there and does not block, closed on exec; or why there is none, as a
// sentence. "*" on a machine without IPv6 listens on all addresses of IPv4.
tl::expected<history::CDescriptor, std::string> Listen(const CListenAddress& address);

// The address that a socket is bound to, with its port, as ReadListenAddress reads it.
std::string BoundAddress(int socket);

} // namespace wbemd
