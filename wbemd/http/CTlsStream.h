#pragma once

#include "wbemd/http/Asio.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

namespace wbemd {

// A socket on which what is written synchronously is gathered in memory, so that it never waits.
class CGatheringSocket {
public:
    using executor_type = CSocket::executor_type;
    using lowest_layer_type = CSocket::lowest_layer_type;

    explicit CGatheringSocket(CSocket& socket) : m_socket(socket) {}

    executor_type get_executor() { return m_socket.get_executor(); }
    lowest_layer_type& lowest_layer() { return m_socket.lowest_layer(); }
    // What was gathered and not taken out yet.
    std::string& Gathered() { return m_gathered; }

    template <class Buffers, class Handler>
    void async_read_some(const Buffers& buffers, Handler&& handler) {
        m_socket.async_read_some(buffers, std::forward<Handler>(handler));
    }
    template <class Buffers, class Handler>
    void async_write_some(const Buffers& buffers, Handler&& handler) {
        m_socket.async_write_some(buffers, std::forward<Handler>(handler));
    }
    template <class Buffers>
    std::size_t write_some(const Buffers& buffers, ErrorCode& error) {
        const std::size_t before = m_gathered.size();
        m_gathered.resize(before + asio::buffer_size(buffers));
        error = {};
        return asio::buffer_copy(asio::buffer(&m_gathered[before], m_gathered.size() - before),
                                 buffers);
    }
    // Nothing is there at once.
    template <class Buffers>
    std::size_t read_some(const Buffers& /*buffers*/, ErrorCode& error) {
        error = asio::error::would_block;
        return 0;
    }

private:
    CSocket& m_socket;
    std::string m_gathered;
};

// TLS on a connection. It reads or writes, one at a time.
//
// A text of several TLS records is sealed as a whole and sent at once: record by record, each would
// wait for its turn among those of all other answers, and the client be woken for each.
class CTlsStream {
public:
    CTlsStream(CSocket& socket, asio::ssl::context& context)
        : m_socket(socket),
          m_stream(CGatheringSocket(socket), context) {}

    template <class Handler>
    void Handshake(Handler&& handler) {
        m_stream.async_handshake(asio::ssl::stream_base::server, std::forward<Handler>(handler));
    }
    template <class Handler>
    void ReadSome(const asio::mutable_buffer& buffer, Handler&& handler) {
        m_stream.async_read_some(buffer, std::forward<Handler>(handler));
    }
    // Tells how many bytes of the text need not be given again: none as long as something that was
    // sealed is left to be sent.
    template <class Handler>
    void WriteSome(const asio::const_buffer& text, Handler&& handler) {
        ErrorCode error;
        if (Sealed().empty()) {
            error = Seal(text);
        }
        if (error) {
            asio::post(m_socket.get_executor(), [handler = std::forward<Handler>(handler),
                                                 error]() mutable { handler(error, 0); });
            return;
        }
        m_socket.async_write_some(asio::buffer(Sealed()) + m_sent,
                                  [this, handler = std::forward<Handler>(handler)](
                                      const ErrorCode& result, std::size_t count) mutable {
                                      handler(result, OnSent(count));
                                  });
    }
    // Says the end, and takes the client's word of it.
    template <class Handler>
    void End(Handler&& handler) {
        m_stream.async_shutdown(std::forward<Handler>(handler));
    }

private:
    static constexpr std::size_t kSealedAtOnce = std::size_t{64} * 1024;

    std::string& Sealed() { return m_stream.next_layer().Gathered(); }

    ErrorCode Seal(const asio::const_buffer& text) {
        const std::size_t size = std::min(text.size(), kSealedAtOnce);
        ErrorCode error;
        for (m_sealedBytes = 0; m_sealedBytes < size && !error;) {
            m_sealedBytes += m_stream.write_some(
                asio::buffer(text + m_sealedBytes, size - m_sealedBytes), error);
        }
        return error;
    }

    // The bytes of the text that were sent by that.
    std::size_t OnSent(std::size_t count) {
        m_sent += count;
        if (m_sent < Sealed().size()) {
            return 0;
        }
        m_sent = 0;
        std::string().swap(Sealed());
        return std::exchange(m_sealedBytes, 0);
    }

    CSocket& m_socket;
    asio::ssl::stream<CGatheringSocket> m_stream;
    std::size_t m_sealedBytes = 0; // of the text
    std::size_t m_sent = 0;        // of what was made of them
};

} // namespace wbemd
