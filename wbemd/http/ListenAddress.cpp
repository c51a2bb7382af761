#include "wbemd/http/ListenAddress.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <system_error>
#include <utility>

namespace wbemd {

using std::string;

namespace {

constexpr int kLoopbackNetwork = 127; // the first number of its addresses

// The views of an address by its family.
const sockaddr_in& AsIpv4(const sockaddr_storage& address) {
    return *reinterpret_cast<const sockaddr_in*>(&address);
}
const sockaddr_in6& AsIpv6(const sockaddr_storage& address) {
    return *reinterpret_cast<const sockaddr_in6*>(&address);
}

bool ReadPort(const string& text, std::uint16_t* port) {
    constexpr std::size_t kDigits = 5;
    if (text.empty() || text.size() > kDigits ||
        text.find_first_not_of("0123456789") != string::npos) {
        return false;
    }
    const unsigned long number = std::stoul(text);
    *port = static_cast<std::uint16_t>(number);
    return number <= std::numeric_limits<std::uint16_t>::max();
}

// Takes ":PORT" off the text's end, where it stands behind the address.
bool TakePort(string* text, std::uint16_t* port) {
    const std::size_t bracket = text->rfind(']');
    const std::size_t colon = text->find(':', bracket == string::npos ? 0 : bracket);
    if (colon == string::npos) {
        return true;
    }
    const string digits = text->substr(colon + 1);
    text->resize(colon);
    return ReadPort(digits, port);
}

void SetIpv6(CListenAddress* address, const in6_addr& number, std::uint16_t port) {
    sockaddr_in6 ipv6{};
    ipv6.sin6_family = AF_INET6;
    ipv6.sin6_addr = number;
    ipv6.sin6_port = htons(port);
    std::memcpy(&address->m_address, &ipv6, sizeof ipv6);
    address->m_size = sizeof ipv6;
}

void SetIpv4(CListenAddress* address, const in_addr& number, std::uint16_t port) {
    sockaddr_in ipv4{};
    ipv4.sin_family = AF_INET;
    ipv4.sin_addr = number;
    ipv4.sin_port = htons(port);
    std::memcpy(&address->m_address, &ipv4, sizeof ipv4);
    address->m_size = sizeof ipv4;
}

bool SetAddress(CListenAddress* address, const string& text, std::uint16_t port) {
    in6_addr ipv6{};
    if (text.size() > 2 && text.front() == '[' && text.back() == ']' &&
        inet_pton(AF_INET6, text.substr(1, text.size() - 2).c_str(), &ipv6) == 1) {
        SetIpv6(address, ipv6, port);
        return true;
    }
    in_addr ipv4{};
    if (inet_pton(AF_INET, text.c_str(), &ipv4) == 1) {
        SetIpv4(address, ipv4, port);
        return true;
    }
    return false;
}

bool Set(int socket, int level, int option, int value) {
    return setsockopt(socket, level, option, &value, sizeof value) == 0;
}

// 0 or an error number.
int OpenSocket(const CListenAddress& address, history::CDescriptor* opened) {
    const int family = address.m_address.ss_family;
    history::CDescriptor descriptor(socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int number = descriptor.Get();
    if (!descriptor.IsOpen() || !Set(number, SOL_SOCKET, SO_REUSEADDR, 1) ||
        (family == AF_INET6 && !Set(number, IPPROTO_IPV6, IPV6_V6ONLY, address.m_both ? 0 : 1)) ||
        bind(number, reinterpret_cast<const sockaddr*>(&address.m_address), address.m_size) != 0 ||
        listen(number, SOMAXCONN) != 0) {
        return errno;
    }
    *opened = std::move(descriptor);
    return 0;
}

CListenAddress AllOfIpv4(const CListenAddress& both) {
    CListenAddress address;
    SetIpv4(&address, in_addr{INADDR_ANY}, ntohs(AsIpv6(both.m_address).sin6_port));
    return address;
}

} // namespace

bool CListenAddress::IsLoopback() const {
    if (m_address.ss_family == AF_INET6) {
        return IN6_IS_ADDR_LOOPBACK(&AsIpv6(m_address).sin6_addr) != 0;
    }
    constexpr unsigned kFirstByte = 24;
    return ntohl(AsIpv4(m_address).sin_addr.s_addr) >> kFirstByte == kLoopbackNetwork;
}

std::optional<CListenAddress> ReadListenAddress(const string& text, std::uint16_t port) {
    string host = text;
    if (!TakePort(&host, &port)) {
        return std::nullopt;
    }
    CListenAddress address;
    address.m_text = text;
    address.m_both = host == "*";
    if (address.m_both) {
        SetIpv6(&address, in6addr_any, port);
    } else if (!SetAddress(&address, host, port)) {
        return std::nullopt;
    }
    return address;
}

tl::expected<history::CDescriptor, string> Listen(const CListenAddress& address) {
    history::CDescriptor socket;
    int error = OpenSocket(address, &socket);
    if (address.m_both && (error == EAFNOSUPPORT || error == EADDRNOTAVAIL)) {
        error = OpenSocket(AllOfIpv4(address), &socket);
    }
    if (error != 0) {
        return tl::make_unexpected(address.m_text + ": connections cannot be awaited there: " +
                                   std::system_category().message(error) + ".");
    }
    return socket;
}

string BoundAddress(int socket) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        return "an unknown address";
    }
    if (address.ss_family == AF_INET6) {
        const sockaddr_in6& ipv6 = AsIpv6(address);
        inet_ntop(AF_INET6, &ipv6.sin6_addr, text.data(), text.size());
        return "[" + string(text.data()) + "]:" + std::to_string(ntohs(ipv6.sin6_port));
    }
    const sockaddr_in& ipv4 = AsIpv4(address);
    inet_ntop(AF_INET, &ipv4.sin_addr, text.data(), text.size());
    return text.data() + (":" + std::to_string(ntohs(ipv4.sin_port)));
}

} // namespace wbemd
