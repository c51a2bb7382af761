#include "tests/system/server/http/CClient.h"

#include "tests/support/CAnswerCheck.h"
#include "tests/system/server/http/CServerProcess.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <regex>

using std::string;

namespace {

constexpr int kLongestWait = 30; // seconds
bool useSmallBuffers = false;

// An address of IPv4 or IPv6, as sockets take it.
struct CAddress {
    CAddress(const string& text, int port) {
        if (text.find(':') == string::npos) {
            m_four.sin_family = AF_INET;
            m_four.sin_port = htons(static_cast<std::uint16_t>(port));
            inet_pton(AF_INET, text.c_str(), &m_four.sin_addr);
        } else {
            m_isSix = true;
            m_six.sin6_family = AF_INET6;
            m_six.sin6_port = htons(static_cast<std::uint16_t>(port));
            inet_pton(AF_INET6, text.c_str(), &m_six.sin6_addr);
        }
    }
    [[nodiscard]] const sockaddr* Get() const {
        return m_isSix ? reinterpret_cast<const sockaddr*>(&m_six)
                       : reinterpret_cast<const sockaddr*>(&m_four);
    }
    [[nodiscard]] socklen_t Size() const { return m_isSix ? sizeof m_six : sizeof m_four; }

    bool m_isSix = false;
    sockaddr_in m_four{};
    sockaddr_in6 m_six{};
};

// Makes a call on a socket with a time limit again where it was interrupted: that happens to a
// process that was stopped and goes on, also without a handler.
template <typename Call>
auto Uninterrupted(const Call& call) {
    decltype(call()) result{};
    do {
        errno = 0;
        result = call();
    } while (result < 0 && errno == EINTR);
    return result;
}

history::CDescriptor Connect(const string& from, int port) {
    const CAddress own(from, 0);
    const CAddress other(own.m_isSix ? "::1" : "127.0.0.1", port);
    history::CDescriptor socket(::socket(own.Get()->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval patience{kLongestWait, 0};
    setsockopt(socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setsockopt(socket.Get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    if (useSmallBuffers) {
        const int size = 4096;
        setsockopt(socket.Get(), SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
    }
    EXPECT_EQ(bind(socket.Get(), own.Get(), own.Size()), 0);
    EXPECT_EQ(Uninterrupted([&] { return connect(socket.Get(), other.Get(), other.Size()); }), 0);
    return socket;
}

SSL_CTX* ClientContext() {
    static const std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)> context(
        SSL_CTX_new(TLS_client_method()), SSL_CTX_free);
    return context.get();
}

std::size_t CountOf(const string& head, const string& name) {
    std::size_t count = 0;
    for (std::size_t at = head.find("\r\n" + name + ": "); at != string::npos;
         at = head.find("\r\n" + name + ": ", at + 1)) {
        ++count;
    }
    return count;
}

// What every answer is like; its date becomes a star. The length of its body comes back.
std::size_t CheckHead(string* head) {
    static const std::regex date("Date: (Mon|Tue|Wed|Thu|Fri|Sat|Sun), [0-9]{2} [A-Z][a-z]{2} "
                                 "[0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2} GMT\r\n");
    static const std::regex length("Content-Length: ([0-9]+)\r\n");
    if (head->rfind("HTTP/1.1 100 ", 0) == 0) {
        return 0;
    }
    EXPECT_EQ(head->rfind("HTTP/1.1 ", 0), 0U) << *head;
    EXPECT_EQ(CountOf(*head, "Date"), 1U) << *head;
    EXPECT_EQ(CountOf(*head, "Content-Length"), 1U) << *head;
    EXPECT_EQ(CountOf(*head, "Transfer-Encoding"), 0U) << *head;
    EXPECT_TRUE(std::regex_search(*head, date)) << *head;
    std::smatch found;
    EXPECT_TRUE(std::regex_search(*head, found, length)) << *head;
    const std::size_t bytes = found.empty() ? 0 : std::stoul(found[1]);
    *head = std::regex_replace(*head, date, "Date: *\r\n");
    return bytes;
}

// What must be true of refusals and of CIM-XML; the answers of the fake operations are neither.
void CheckContent(const string& head, const string& body) {
    const unsigned status =
        static_cast<unsigned>(std::stoul(head.substr(string("HTTP/1.1 ").size())));
    CAnswerCheck::Headers fields;
    for (std::size_t at = head.find("\r\n") + 2; head.compare(at, 2, "\r\n") != 0;
         at = head.find("\r\n", at) + 2) {
        const std::size_t colon = head.find(": ", at);
        fields.emplace_back(head.substr(at, colon - at),
                            head.substr(colon + 2, head.find("\r\n", colon) - colon - 2));
    }
    const bool isXml = head.find("\r\nContent-Type: application/xml") != string::npos;
    if ((status >= 400 && !body.empty()) || isXml) {
        EXPECT_EQ(CAnswerCheck::Problems(status, fields, body), std::vector<string>()) << head;
    }
}

} // namespace

CClient::CClient(int port, Kind kind, bool handshake, const string& from)
    : m_socket(Connect(from, port)),
      m_tls(nullptr, SSL_free) {
    std::signal(SIGPIPE, SIG_IGN); // which TLS raises
    m_isReady = true;
    if (kind == Kind::Https && handshake) {
        m_tls.reset(SSL_new(ClientContext()));
        SSL_set_fd(m_tls.get(), m_socket.Get());
        m_isReady = Uninterrupted([this] { return SSL_connect(m_tls.get()); }) == 1;
    }
}

CClient::~CClient() = default;
CClient::CClient(CClient&&) noexcept = default;

void CClient::UseSmallBuffers(bool use) {
    useSmallBuffers = use;
}

void CClient::UseVersion(int version) {
    SSL_CTX_set_min_proto_version(ClientContext(), version);
    SSL_CTX_set_max_proto_version(ClientContext(), version);
    // Old versions need what is too weak for today's defaults.
    SSL_CTX_set_security_level(ClientContext(), version == TLS1_1_VERSION ? 0 : 1);
}

string CClient::ServerName() const {
    constexpr std::size_t kSize = 256;
    std::array<char, kSize> name{};
    const std::unique_ptr<X509, void (*)(X509*)> certificate(SSL_get1_peer_certificate(m_tls.get()),
                                                             X509_free);
    X509_NAME_get_text_by_NID(X509_get_subject_name(certificate.get()), NID_commonName, name.data(),
                              static_cast<int>(name.size()));
    return name.data();
}

bool CClient::Send(const string& bytes) {
    if (m_tls != nullptr) {
        return Uninterrupted([&] {
                   return SSL_write(m_tls.get(), bytes.data(), static_cast<int>(bytes.size()));
               }) == static_cast<int>(bytes.size());
    }
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = Uninterrupted([&] {
            return send(m_socket.Get(), bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        });
        if (count <= 0) {
            return false;
        }
        done += static_cast<std::size_t>(count);
    }
    return true;
}

void CClient::EndSending() {
    shutdown(m_socket.Get(), SHUT_WR);
}

bool CClient::ReadMore() {
    constexpr std::size_t kSize = 65536;
    std::array<char, kSize> bytes{};
    const ssize_t count = Uninterrupted([&]() -> ssize_t {
        return m_tls != nullptr
                   ? SSL_read(m_tls.get(), bytes.data(), static_cast<int>(bytes.size()))
                   : recv(m_socket.Get(), bytes.data(), bytes.size(), 0);
    });
    EXPECT_FALSE(count < 0 && errno == EAGAIN) << "nothing came in time";
    if (count <= 0) {
        return false;
    }
    m_input.append(bytes.data(), static_cast<std::size_t>(count));
    return true;
}

string CClient::Answer() {
    const string kEnd = "\r\n\r\n";
    while (m_input.find(kEnd) == string::npos) {
        if (!ReadMore()) {
            EXPECT_EQ(m_input, "") << "the connection ended in the middle of a head";
            return "";
        }
    }
    string head = m_input.substr(0, m_input.find(kEnd) + kEnd.size());
    m_input.erase(0, head.size());
    const std::size_t length = CheckHead(&head);
    while (m_input.size() < length) {
        if (!ReadMore()) {
            ADD_FAILURE() << "the connection ended in the middle of a body";
            return "";
        }
    }
    const string body = m_input.substr(0, length);
    m_input.erase(0, length);
    CheckContent(head, body);
    return head + body;
}

bool CClient::IsEnd() {
    const bool isEnd = m_input.empty() && !ReadMore();
    EXPECT_EQ(m_input, "");
    return isEnd;
}

void CClient::Skip(std::size_t count) {
    while (m_input.size() < count) {
        if (!ReadMore()) {
            ADD_FAILURE() << "the connection ended early";
            return;
        }
    }
    m_input.erase(0, count);
}

unsigned CClient::Pieces() const {
    tcp_info info = {};
    socklen_t size = sizeof info;
    EXPECT_EQ(getsockopt(m_socket.Get(), IPPROTO_TCP, TCP_INFO, &info, &size), 0);
    return info.tcpi_data_segs_in;
}

string Authorization(const string& user, const string& password) {
    const string pair = user + ":" + password;
    string text(pair.size() * 2 + 4, '\0');
    const int size = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                     reinterpret_cast<const unsigned char*>(pair.data()),
                                     static_cast<int>(pair.size()));
    text.resize(static_cast<std::size_t>(size));
    return "Authorization: Basic " + text + "\r\n";
}

string Head(const string& fields) {
    return "POST /cimom HTTP/1.1\r\nHost: h\r\n" + Authorization("changer", "right") + fields +
           "\r\n";
}

string Post(const string& body, const string& fields) {
    return Head("Content-Length: " + std::to_string(body.size()) + "\r\n" + fields) + body;
}

string Repeated(const string& body) {
    const string text = "right=2\n" + body + "\n";
    return "HTTP/1.1 200 OK\r\nDate: *\r\nContent-Type: text/plain; "
           "charset=\"utf-8\"\r\nContent-Length: " +
           std::to_string(text.size()) + "\r\n\r\n" + text;
}

string LongAnswer(std::size_t length) {
    return "HTTP/1.1 200 OK\r\nDate: *\r\nContent-Type: text/plain; "
           "charset=\"utf-8\"\r\nContent-Length: " +
           std::to_string(length) + "\r\n\r\n" + string(length, 'x');
}

string Refused(const string& status, const string& sentence, bool isClosed, const string& fields) {
    return "HTTP/1.1 " + status + "\r\nDate: *\r\nContent-Type: text/plain; charset=\"utf-8\"\r\n" +
           fields + "Content-Length: " + std::to_string(sentence.size() + 1) + "\r\n" +
           (isClosed ? "Connection: close\r\n\r\n" : "\r\n") + sentence + "\n";
}

string WrongCredentials(bool isClosed) {
    return Refused("401 Unauthorized", "A user and a password that are right are needed.", isClosed,
                   "WWW-Authenticate: Basic realm=\"kzmwbemd\"\r\n");
}

string Busy() {
    return Refused("503 Service Unavailable",
                   "The server is busy or shutting down. Try again later.", true);
}

string AnswerTo(const CServerProcess& server, const string& request) {
    CClient client(server.HttpPort());
    client.Send(request);
    return client.Answer();
}
