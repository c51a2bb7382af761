#pragma once

#include "history/CDescriptor.h"

#include <memory>
#include <string>

class CServerProcess;
using SSL = struct ssl_st;

// A management client that sends whatever bytes it is told to, by http or https. Whatever it waits
// for fails the test when it does not come within half a minute.
class CClient {
public:
    enum class Kind { Http, Https };

    // Connects to a loopback port, from this address of IPv4 or IPv6. With https the handshake is
    // made, unless `handshake` says no. The certificate is taken as it is.
    explicit CClient(int port, Kind kind = Kind::Http, bool handshake = true,
                     const std::string& from = "127.0.0.1");
    ~CClient();
    CClient(CClient&&) noexcept;
    CClient& operator=(CClient&&) = delete;
    CClient(const CClient&) = delete;
    CClient& operator=(const CClient&) = delete;

    // Whether the handshake could be made.
    [[nodiscard]] bool IsReady() const { return m_isReady; }
    // The name of the other side, by its certificate.
    [[nodiscard]] std::string ServerName() const;

    // Sends all of it; false when the connection was reset meanwhile.
    bool Send(const std::string& bytes);
    // Says that nothing more comes.
    void EndSending();

    // The next answer: its head and its body, with a star in place of the date. What must be true
    // of every answer is checked. Empty when the connection ends before it.
    std::string Answer();
    // Whether the connection ends now, with nothing before the end.
    bool IsEnd();
    // Reads so many bytes and leaves them.
    void Skip(std::size_t count);
    // In how many pieces the connection has brought what it has brought.
    [[nodiscard]] unsigned Pieces() const;

    // The one version of TLS that clients speak from now on; 0: all of them.
    static void UseVersion(int version);
    // Makes the window of what the other side can send small. Before anything is read.
    static void UseSmallBuffers(bool use);

private:
    // False at the end.
    bool ReadMore();

    history::CDescriptor m_socket;
    std::unique_ptr<SSL, void (*)(SSL*)> m_tls;
    bool m_isReady = false;
    std::string m_input;
};

// A request with a body, by the user "changer" with the right password.
std::string Post(const std::string& body, const std::string& fields = "");
// The same without Content-Length and without a body.
std::string Head(const std::string& fields);
// The field that says who asks.
std::string Authorization(const std::string& user, const std::string& password);
// The answer of the fake operations to an ordinary body, by a user who may change.
std::string Repeated(const std::string& body);
// The answer of the fake operations to "long LENGTH".
std::string LongAnswer(std::size_t length);
// The answer that refuses a request. `fields` stand before Content-Length.
std::string Refused(const std::string& status, const std::string& sentence, bool isClosed,
                    const std::string& fields = "");
std::string WrongCredentials(bool isClosed = false);
std::string Busy();

// The answer to one request by http, on a connection of its own.
std::string AnswerTo(const CServerProcess& server, const std::string& request);
