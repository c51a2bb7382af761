#include "wbemd/http/CServer.h"

#include "serverbase/ServiceManager.h"
#include "wbemd/http/CListener.h"
#include "wbemd/http/CSessionSteps.h"

#include <algorithm>
#include <csignal>
#include <exception>
#include <utility>

namespace wbemd {

using daemon_base::Level;
using daemon_base::Log;

namespace {

constexpr std::chrono::seconds kStopTime{9}; // for what has begun

std::shared_ptr<asio::ssl::context> ContextOf(const CTlsIdentity& identity) {
    if (identity.m_context == nullptr) {
        return nullptr;
    }
    SSL_CTX_up_ref(identity.m_context.get()); // the context owns one reference
    return std::make_shared<asio::ssl::context>(identity.m_context.get());
}

void LogAll(Level level, const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        Log(level, line);
    }
}

std::string ReadyText(std::size_t listeners) {
    return "Listening on " + std::to_string(listeners) +
           (listeners == 1 ? " address" : " addresses");
}

} // namespace

struct CServer::Parts {
    using Listeners = std::vector<std::shared_ptr<CListener>>;

    Parts(const COperations& operations, COptions options)
        : m_options(std::move(options)),
          m_shared(operations, m_io, m_worker, m_options.m_providerdSocket) {}
    ~Parts();
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    // Where it cannot listen, nothing is changed.
    bool Use(const CConfiguration& configuration, std::string* error);
    bool TakeHanded(std::string* error);
    bool Open(const std::vector<CListenAddress>& addresses, bool hasTls, Listeners* listeners,
              std::string* error);
    [[nodiscard]] std::shared_ptr<CListener> Find(const std::string& text, bool hasTls) const;
    std::shared_ptr<CListener> Make(const std::string& text, bool hasTls,
                                    history::CDescriptor socket, std::string* error);
    void Exchange(Listeners listeners);

    void AwaitSignal();
    void Reload();
    void Stop();
    void KeepAlive();

    // What is declared later goes first: the loop, with the sessions on it, goes before what they
    // count on and after what stands on it.
    COptions m_options;
    Listeners m_handed;
    asio::thread_pool m_worker{1};
    CShared m_shared;
    asio::io_context m_io{1};
    Listeners m_listeners;
    asio::signal_set m_signals{m_io, SIGHUP, SIGTERM, SIGINT};
    CTimer m_stopTimer{m_io};
    CTimer m_aliveTimer{m_io};
};

CServer::Parts::~Parts() {
    m_shared.m_stopping = false;
    m_shared.m_link.Clear();
    m_handed.clear();
    m_worker.join();
}

bool CServer::Parts::Use(const CConfiguration& configuration, std::string* error) {
    const CSettings& settings = configuration.m_settings;
    Listeners listeners = m_handed;
    if ((m_handed.empty() && !Open(settings.m_listen, true, &listeners, error)) ||
        !Open(settings.m_listenPlain, false, &listeners, error)) {
        return false;
    }
    m_shared.m_settings = settings;
    m_shared.m_bodies.SetLimit(settings.m_bodyMemoryBytes);
    m_shared.m_answers.SetLimit(settings.m_answerMemoryBytes);
    m_shared.m_tls = ContextOf(configuration.m_identity);
    Exchange(std::move(listeners));
    LogAll(Level::Warning, configuration.m_warnings);
    return true;
}

bool CServer::Parts::TakeHanded(std::string* error) {
    for (const int socket : m_options.m_listeners) {
        auto listener = Make(BoundAddress(socket), true, history::CDescriptor(socket), error);
        if (listener == nullptr) {
            return false;
        }
        m_handed.push_back(std::move(listener));
    }
    return true;
}

bool CServer::Parts::Open(const std::vector<CListenAddress>& addresses, bool hasTls,
                          Listeners* listeners, std::string* error) {
    for (const CListenAddress& address : addresses) {
        std::shared_ptr<CListener> listener = Find(address.m_text, hasTls);
        if (listener == nullptr) {
            auto socket = Listen(address);
            if (!socket) {
                *error = socket.error();
                return false;
            }
            listener = Make(address.m_text, hasTls, std::move(*socket), error);
        }
        if (listener == nullptr) {
            return false;
        }
        listeners->push_back(std::move(listener));
    }
    return true;
}

std::shared_ptr<CListener> CServer::Parts::Find(const std::string& text, bool hasTls) const {
    const auto found =
        std::find_if(m_listeners.begin(), m_listeners.end(), [&](const auto& listener) {
            return listener->Text() == text && listener->HasTls() == hasTls;
        });
    return found == m_listeners.end() ? nullptr : *found;
}

std::shared_ptr<CListener> CServer::Parts::Make(const std::string& text, bool hasTls,
                                                history::CDescriptor socket, std::string* error) {
    const std::string bound = BoundAddress(socket.Get());
    auto listener = std::make_shared<CListener>(m_shared, text, hasTls);
    if (const ErrorCode code = listener->Assign(std::move(socket))) {
        *error = "Connections to " + text + " cannot be taken: " + code.message() + ".";
        return nullptr;
    }
    Log(Level::Info, "Listening on " + bound + (hasTls ? " (https)." : " (http)."));
    return listener;
}

// Those that are new begin, and those that are not wanted any more end.
void CServer::Parts::Exchange(Listeners listeners) {
    std::swap(m_listeners, listeners);
    const auto isIn = [](const Listeners& all, const std::shared_ptr<CListener>& one) {
        return std::find(all.begin(), all.end(), one) != all.end();
    };
    for (const auto& listener : m_listeners) {
        if (!isIn(listeners, listener)) {
            listener->Accept();
        }
    }
    for (const auto& listener : listeners) {
        if (!isIn(m_listeners, listener)) {
            listener->Close();
        }
    }
}

void CServer::Parts::AwaitSignal() {
    m_signals.async_wait([this](const ErrorCode& error, int signal) {
        if (error) {
            return;
        }
        AwaitSignal();
        if (signal == SIGHUP) {
            Reload();
        } else {
            Stop();
        }
    });
}

void CServer::Parts::Reload() {
    daemon_base::TellReloading();
    const CConfiguration configuration =
        LoadConfiguration(m_options.m_configurationPath, !m_handed.empty());
    std::string error;
    if (!configuration.m_problems.empty()) {
        LogAll(Level::Error, configuration.m_problems);
        Log(Level::Error, "The new configuration is not used; the old one goes on.");
    } else if (!Use(configuration, &error)) {
        Log(Level::Error, error + " The old configuration goes on.");
    } else {
        Log(Level::Notice, "The configuration and the certificate were read anew.");
    }
    daemon_base::TellReady(ReadyText(m_listeners.size()));
}

void CServer::Parts::Stop() {
    if (std::exchange(m_shared.m_stopping, true)) {
        return;
    }
    Log(Level::Notice, "Ending: what has begun is answered first.");
    daemon_base::TellStopping("Answering what has begun");
    m_shared.m_onAllAnswered = [this] { m_io.stop(); };
    if (m_shared.m_begun == 0) {
        m_io.stop();
    }
    m_stopTimer.expires_after(kStopTime);
    m_stopTimer.async_wait([this](const ErrorCode&) { m_io.stop(); });
}

void CServer::Parts::KeepAlive() {
    const unsigned long interval = daemon_base::AliveInterval();
    if (interval == 0) {
        return;
    }
    daemon_base::TellAlive();
    m_aliveTimer.expires_after(std::chrono::milliseconds(interval));
    m_aliveTimer.async_wait([this](const ErrorCode& error) {
        if (!error) {
            KeepAlive();
        }
    });
}

CServer::CServer(std::unique_ptr<Parts> parts) : m_parts(std::move(parts)) {}
CServer::~CServer() = default;

std::unique_ptr<CServer> CServer::Open(const COperations& operations, COptions options,
                                       const CConfiguration& configuration, std::string* error) {
    auto parts = std::make_unique<Parts>(operations, std::move(options));
    if (!parts->TakeHanded(error) || !parts->Use(configuration, error)) {
        return nullptr;
    }
    return std::unique_ptr<CServer>(new CServer(std::move(parts)));
}

void CServer::Run() {
    m_parts->AwaitSignal();
    m_parts->KeepAlive();
    daemon_base::TellReady(ReadyText(m_parts->m_listeners.size()));
    while (!m_parts->m_io.stopped()) {
        try {
            m_parts->m_io.run();
        } catch (const std::exception& exception) {
            // The connection that it came from is gone; the others go on.
            daemon_base::LogException("A connection was given up", exception);
            for (const auto& listener : m_parts->m_listeners) {
                listener->GoOn();
            }
        }
    }
}

} // namespace wbemd
