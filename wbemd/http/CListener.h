#pragma once

#include "history/CDescriptor.h"
#include "serverbase/ServiceManager.h"
#include "wbemd/http/CSession.h"

#include <memory>
#include <string>
#include <utility>

namespace wbemd {

// A socket that connections come to. It keeps itself alive until it is closed.
class CListener : public std::enable_shared_from_this<CListener> {
public:
    // `text` is the address as the configuration has it.
    CListener(CShared& shared, std::string text, bool hasTls)
        : m_shared(shared),
          m_text(std::move(text)),
          m_hasTls(hasTls),
          m_acceptor(shared.m_io),
          m_timer(shared.m_io) {}

    // Takes the socket over; an error when it is no socket of TCP.
    ErrorCode Assign(history::CDescriptor socket);
    void Accept();
    // Accepts again where something that was thrown has ended that. Not while it is called back.
    void GoOn();
    void Close();

    [[nodiscard]] const std::string& Text() const { return m_text; }
    [[nodiscard]] bool HasTls() const { return m_hasTls; }

private:
    static constexpr std::chrono::milliseconds kPause{100}; // where accepting fails
    static constexpr std::size_t kMostRefused = 32;         // connections at one time
    static constexpr std::chrono::minutes kQuiet{1};        // between two lines that say the same

    void OnAccept(const ErrorCode& error, CSocket socket);
    void AcceptLater(const ErrorCode& error);
    void Serve(CSocket socket);
    void Refuse(CSocket socket, const std::string& peer);
    void LogRefusal(const std::string& peer);
    // The address that the other side has, without its port.
    static std::string PeerOf(const CSocket& socket);

    CShared& m_shared;
    std::string m_text;
    bool m_hasTls;
    bool m_isClosed = false;
    bool m_isFailing = false;       // told, and not told again until it works
    Clock::time_point m_logAgain{}; // when a refusal is worth a line again
    // Had as well by whoever waits for the next connection, or until accepting is tried again;
    // what is thrown before he is called lets it go.
    const std::shared_ptr<void> m_wait = std::make_shared<char>();
    CAcceptor m_acceptor;
    CTimer m_timer;
};

inline ErrorCode CListener::Assign(history::CDescriptor socket) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    ErrorCode error = asio::error::address_family_not_supported;
    if (getsockname(socket.Get(), reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
        (address.ss_family == AF_INET || address.ss_family == AF_INET6)) {
        const bool isIpv6 = address.ss_family == AF_INET6;
        m_acceptor.assign(isIpv6 ? asio::ip::tcp::v6() : asio::ip::tcp::v4(), socket.Get(), error);
    }
    if (!error) {
        socket.Release();
    }
    return error;
}

inline void CListener::Accept() {
    m_acceptor.async_accept(
        [self = shared_from_this(), wait = m_wait](const ErrorCode& error, CSocket socket) {
            if (!self->m_isClosed) {
                self->OnAccept(error, std::move(socket));
            }
        });
}

inline void CListener::GoOn() {
    if (!m_isClosed && m_wait.use_count() == 1) {
        Accept();
    }
}

inline void CListener::Close() {
    m_isClosed = true;
    ErrorCode ignored;
    m_acceptor.close(ignored);
    m_timer.cancel();
}

inline void CListener::OnAccept(const ErrorCode& error, CSocket socket) {
    if (error && error != asio::error::connection_aborted) {
        AcceptLater(error);
        return;
    }
    Accept();
    if (!error) {
        m_isFailing = false;
        Serve(std::move(socket));
    }
}

// What a connection needs is not there, descriptors or memory: others give theirs back.
inline void CListener::AcceptLater(const ErrorCode& error) {
    if (!std::exchange(m_isFailing, true)) {
        daemon_base::Log(daemon_base::Level::Error,
                         "Connections to " + m_text +
                             " cannot be taken for now: " + error.message() + ".");
    }
    m_timer.expires_after(kPause);
    m_timer.async_wait([self = shared_from_this(), wait = m_wait](const ErrorCode&) {
        if (!self->m_isClosed) {
            self->Accept();
        }
    });
}

inline void CListener::Serve(CSocket socket) {
    ErrorCode ignored;
    socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    const std::string peer = PeerOf(socket);
    const CSettings& settings = m_shared.m_settings;
    CShared& shared = m_shared;
    auto place = shared.m_count.Take(peer, settings.m_connections, settings.m_connectionsPerPeer);
    if (!place) {
        Refuse(std::move(socket), peer);
        return;
    }
    asio::ssl::context* const tls = m_hasTls ? shared.m_tls.get() : nullptr;
    std::make_shared<CSession>(shared, std::move(socket), tls, peer, std::move(*place))->Serve();
}

inline void CListener::Refuse(CSocket socket, const std::string& peer) {
    CShared& shared = m_shared;
    LogRefusal(peer);
    if (m_hasTls) {
        return; // which closes it
    }
    if (auto place = shared.m_refused.Take(peer, kMostRefused, kMostRefused)) {
        std::make_shared<CSession>(shared, std::move(socket), nullptr, peer, std::move(*place))
            ->RefuseAll();
    }
}

inline void CListener::LogRefusal(const std::string& peer) {
    const Clock::time_point now = Clock::now();
    if (now >= m_logAgain) {
        m_logAgain = now + kQuiet;
        daemon_base::Log(daemon_base::Level::Warning,
                         "There are too many connections to " + m_text + ": one from " + peer +
                             " is refused. More of that is not logged for a minute.");
    }
}

inline std::string CListener::PeerOf(const CSocket& socket) {
    ErrorCode error;
    asio::ip::address address = socket.remote_endpoint(error).address();
    if (address.is_v6()) {
        asio::ip::address_v6 ipv6 = address.to_v6();
        ipv6.scope_id(0);
        address = ipv6;
        if (ipv6.is_v4_mapped()) {
            address = asio::ip::make_address_v4(asio::ip::v4_mapped, ipv6);
        }
    }
    return address.to_string();
}

} // namespace wbemd
