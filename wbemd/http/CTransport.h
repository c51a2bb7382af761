#pragma once

#include "wbemd/http/Asio.h"

#include <linux/sockios.h>
#include <netinet/tcp.h>
#include <openssl/ssl3.h>
#include <sys/ioctl.h>

#include <cstddef>
#include <optional>
#include <utility>

namespace wbemd {

// A client's connection, with or without TLS.
class CTransport {
public:
    // Without a context: no TLS.
    CTransport(CSocket socket, asio::ssl::context* tls) : m_socket(std::move(socket)) {
        if (tls != nullptr) {
            m_tls.emplace(m_socket, *tls);
        }
    }

    [[nodiscard]] bool HasTls() const { return m_tls.has_value(); }

    template <class Handler>
    void Handshake(Handler&& handler) {
        m_tls->async_handshake(asio::ssl::stream_base::server, std::forward<Handler>(handler));
    }
    template <class Handler>
    void ReadSome(const asio::mutable_buffer& buffer, Handler&& handler) {
        if (m_tls) {
            m_tls->async_read_some(buffer, std::forward<Handler>(handler));
        } else {
            m_socket.async_read_some(buffer, std::forward<Handler>(handler));
        }
    }
    template <class Handler>
    void WriteSome(const asio::const_buffer& buffer, Handler&& handler) {
        if (m_tls) {
            m_tls->async_write_some(buffer, std::forward<Handler>(handler));
        } else {
            m_socket.async_write_some(buffer, std::forward<Handler>(handler));
        }
    }
    // TLS takes a long text apart and would send each piece alone: from here to EndText() what is
    // written leaves in as few pieces as the connection allows. Bytes that none of them fills wait
    // for no longer than 0.2 s.
    void BeginText(std::size_t bytes) {
        if (m_tls && bytes > SSL3_RT_MAX_PLAIN_LENGTH) {
            HoldBack(true);
        }
    }
    void EndText() {
        if (m_holdsBack) {
            HoldBack(false);
        }
    }

    // Says the end by TLS, and takes the client's word of it.
    template <class Handler>
    void EndTls(Handler&& handler) {
        m_tls->async_shutdown(std::forward<Handler>(handler));
    }

    // Says the end by TCP.
    void EndSending() {
        ErrorCode ignored;
        m_socket.shutdown(CSocket::shutdown_send, ignored);
    }
    // What the client still sends after that, past TLS.
    template <class Handler>
    void ReadRest(const asio::mutable_buffer& buffer, Handler&& handler) {
        m_socket.async_read_some(buffer, std::forward<Handler>(handler));
    }
    // Bytes that were written and that the client's system has not taken.
    [[nodiscard]] int Untaken() {
        int count = 0;
        return ioctl(m_socket.native_handle(), SIOCOUTQ, &count) == 0 ? count : 0;
    }
    // Ends whatever is under way.
    void Cut() {
        ErrorCode ignored;
        m_socket.close(ignored);
    }

private:
    void HoldBack(bool holdsBack) {
        const int value = holdsBack ? 1 : 0;
        setsockopt(m_socket.native_handle(), IPPROTO_TCP, TCP_CORK, &value, sizeof value);
        m_holdsBack = holdsBack;
    }

    CSocket m_socket;
    std::optional<asio::ssl::stream<CSocket&>> m_tls;
    bool m_holdsBack = false;
};

} // namespace wbemd
