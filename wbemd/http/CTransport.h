#pragma once

#include "wbemd/http/Asio.h"
#include "wbemd/http/CTlsStream.h"

#include <linux/sockios.h>
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
        m_tls->Handshake(std::forward<Handler>(handler));
    }
    template <class Handler>
    void ReadSome(const asio::mutable_buffer& buffer, Handler&& handler) {
        if (m_tls) {
            m_tls->ReadSome(buffer, std::forward<Handler>(handler));
        } else {
            m_socket.async_read_some(buffer, std::forward<Handler>(handler));
        }
    }
    // Tells how many bytes need not be given again, which may be none.
    template <class Handler>
    void WriteSome(const asio::const_buffer& buffer, Handler&& handler) {
        if (m_tls) {
            m_tls->WriteSome(buffer, std::forward<Handler>(handler));
        } else {
            m_socket.async_write_some(buffer, std::forward<Handler>(handler));
        }
    }
    // Says the end by TLS, and takes the client's word of it.
    template <class Handler>
    void EndTls(Handler&& handler) {
        m_tls->End(std::forward<Handler>(handler));
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
    CSocket m_socket;
    std::optional<CTlsStream> m_tls;
};

} // namespace wbemd
