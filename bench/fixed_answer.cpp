// What an HTTP library costs by itself: answers every request with the same bytes, on one thread.
// Usage: fixed_answer PORT

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <cstdlib>
#include <memory>
#include <string>

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using asio::ip::tcp;

namespace {

constexpr std::size_t kAnswerBytes = 4096; // about those of a class definition

class CConnection : public std::enable_shared_from_this<CConnection> {
public:
    explicit CConnection(tcp::socket socket) : m_stream(std::move(socket)) {
        m_answer.set(http::field::content_type, "application/xml; charset=\"utf-8\"");
        m_answer.body() = std::string(kAnswerBytes, 'x');
        m_answer.prepare_payload();
    }

    void Read() {
        m_request = {};
        http::async_read(m_stream, m_buffer, m_request,
                         [self = shared_from_this()](beast::error_code error, std::size_t) {
                             if (!error) {
                                 self->Write();
                             }
                         });
    }

private:
    void Write() {
        http::async_write(m_stream, m_answer,
                          [self = shared_from_this()](beast::error_code error, std::size_t) {
                              if (!error) {
                                  self->Read();
                              }
                          });
    }

    beast::tcp_stream m_stream;
    beast::flat_buffer m_buffer;
    http::request<http::string_body> m_request;
    http::response<http::string_body> m_answer{http::status::ok, 11};
};

void Accept(tcp::acceptor& acceptor) {
    acceptor.async_accept([&acceptor](beast::error_code error, tcp::socket socket) {
        if (!error) {
            socket.set_option(tcp::no_delay(true), error);
            std::make_shared<CConnection>(std::move(socket))->Read();
        }
        Accept(acceptor);
    });
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    asio::io_context context{1};
    const auto port = static_cast<unsigned short>(std::atoi(argv[1]));
    tcp::acceptor acceptor(context, {asio::ip::address_v4::loopback(), port});
    Accept(acceptor);
    context.run();
    return 0;
}
