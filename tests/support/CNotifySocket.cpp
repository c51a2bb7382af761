#include "tests/support/CNotifySocket.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>

CNotifySocket::CNotifySocket()
    : m_socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(bind(m_socket, any, sizeof address.sun_family),
              0); // without a name: takes a free one
    socklen_t length = sizeof address;
    EXPECT_EQ(getsockname(m_socket, any, &length), 0);
    m_name.assign(address.sun_path, length - offsetof(sockaddr_un, sun_path));
    m_name.front() = '@'; // as an abstract name is written
}

CNotifySocket::~CNotifySocket() {
    close(m_socket);
}
