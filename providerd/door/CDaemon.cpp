#include "providerd/door/CDaemon.h"

#include "KzmPaths.h"
#include "providerd/door/Listener.h"
#include "serverbase/ServiceManager.h"

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace providerd {

namespace {

using daemon_base::Level;
using daemon_base::Log;
using history::CDescriptor;
using std::chrono::milliseconds;

constexpr milliseconds kTimeToEnd{4000}; // of connections whose other side takes no answer
constexpr milliseconds kBackOff{1000};   // until accepting is tried again
constexpr char kReady[] = "Serves the front end";

// The signals that ask for something, from now on told by the descriptor.
CDescriptor BlockSignals() {
    sigset_t asking;
    sigemptyset(&asking);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&asking, signal);
    }
    signal(SIGPIPE, SIG_IGN);
    pthread_sigmask(SIG_BLOCK, &asking, nullptr);
    return CDescriptor(signalfd(-1, &asking, SFD_CLOEXEC | SFD_NONBLOCK));
}

void LogProblems(const std::vector<std::string>& problems) {
    for (const std::string& problem : problems) {
        Log(Level::Error, problem);
    }
}

CQueueLimits LimitsOf(const CSettings& settings) {
    CQueueLimits limits;
    limits.m_waiting = settings.m_waitingCalls;
    limits.m_callTime = settings.m_callTime;
    limits.m_waitingTime = settings.m_callTime;
    return limits;
}

} // namespace

CDaemon::~CDaemon() {
    if (!m_ownSocket.empty()) {
        unlink(m_ownSocket.c_str());
    }
}

int CDaemon::Run() {
    m_signals = BlockSignals();
    umask(S_IWGRP | S_IWOTH);
    if (!m_signals.IsOpen()) {
        Log(Level::Error, std::string("There is no descriptor of signals to be had (") +
                              std::strerror(errno) + ").");
        return EXIT_FAILURE;
    }
    if (!ReadFirstSettings() || !Listen()) {
        return EXIT_FAILURE;
    }
    Begin();
    ServeUntilTheEnd();
    End();
    return EXIT_SUCCESS;
}

bool CDaemon::ReadFirstSettings() {
    CReadSettings read = ReadSettings(KzmPaths::kProviderdConfig);
    LogProblems(read.m_problems);
    m_settings = std::move(read.m_settings);
    return read.m_problems.empty();
}

bool CDaemon::Listen() {
    auto listener = HandedOverListener();
    if (listener && !listener->IsOpen()) {
        listener = MakeListener(KzmPaths::kProviderdSocket, m_settings.m_frontEndUser);
        m_ownSocket = listener ? KzmPaths::kProviderdSocket : "";
    }
    if (!listener) {
        Log(Level::Error, listener.error());
        return false;
    }
    m_listener = std::move(*listener);
    return true;
}

void CDaemon::Begin() {
    m_authentication = std::make_unique<CAuthentication>(&m_accounts, m_settings);
    m_queue = std::make_unique<CCallQueue>(LimitsOf(m_settings));
    const CSession session(m_authentication.get(),
                           [this](CMethodCall call) { return m_queue->Run(std::move(call)); });
    m_connections =
        std::make_unique<CConnections>([session](int socket) { session.Serve(socket); });
    daemon_base::TellReady(kReady);
}

void CDaemon::ServeUntilTheEnd() {
    for (;;) {
        std::array<pollfd, 2> polled{{{m_signals.Get(), POLLIN, 0}, {m_listener.Get(), POLLIN, 0}}};
        const nfds_t count = m_backsOff ? 1 : polled.size();
        poll(polled.data(), count, IdleTime());
        m_backsOff = false;
        TellAliveInTime();
        if (polled[0].revents != 0 && !GoesOn()) {
            return;
        }
        if (polled[1].revents != 0) {
            AcceptOne();
        }
    }
}

int CDaemon::IdleTime() const {
    const milliseconds interval(daemon_base::AliveInterval());
    if (interval == milliseconds(0)) {
        return m_backsOff ? static_cast<int>(kBackOff.count()) : -1;
    }
    const auto left = m_alive + interval - std::chrono::steady_clock::now();
    const auto most = m_backsOff ? std::min(kBackOff, interval) : interval;
    const auto time = std::chrono::ceil<milliseconds>(left);
    return static_cast<int>(std::clamp(time, milliseconds(0), most).count());
}

void CDaemon::TellAliveInTime() {
    const milliseconds interval(daemon_base::AliveInterval());
    const TimePoint now = std::chrono::steady_clock::now();
    if (interval != milliseconds(0) && now - m_alive >= interval) {
        daemon_base::TellAlive();
        m_alive = now;
    }
}

void CDaemon::AcceptOne() {
    CDescriptor connection;
    const Accepting accepting =
        AcceptFrontEnd(m_listener.Get(), m_settings.m_frontEndUser, &connection);
    if (accepting == Accepting::LacksMemory) {
        Log(Level::Warning,
            std::string("No connection can be taken for a while (") + std::strerror(errno) + ").");
        m_backsOff = true;
    }
    if (connection.IsOpen()) {
        m_connections->Take(std::move(connection));
    }
}

bool CDaemon::GoesOn() {
    signalfd_siginfo signal{};
    if (read(m_signals.Get(), &signal, sizeof signal) != sizeof signal) {
        return true;
    }
    if (signal.ssi_signo != SIGHUP) {
        return false;
    }
    ReadSettingsAnew();
    return true;
}

void CDaemon::ReadSettingsAnew() {
    daemon_base::TellReloading();
    const CReadSettings read = ReadSettings(KzmPaths::kProviderdConfig);
    LogProblems(read.m_problems);
    if (!read.m_problems.empty()) {
        Log(Level::Error, "The configuration was not taken; the one before goes on.");
    } else {
        const CSettings& now = read.m_settings;
        const bool sameLimits = now.m_callTime == m_settings.m_callTime &&
                                now.m_waitingCalls == m_settings.m_waitingCalls;
        m_settings = now;
        m_authentication->Use(now);
        Log(Level::Info, sameLimits ? "The configuration was read anew."
                                    : "The configuration was read anew. CallTimeoutSeconds and "
                                      "WaitingCalls count from the next start.");
    }
    daemon_base::TellReady(kReady);
}

void CDaemon::End() {
    daemon_base::TellStopping("Ends the call that has begun");
    m_listener.Close();
    m_authentication->Stop();
    m_queue->ShutDown();
    if (!m_connections->End(kTimeToEnd)) {
        // Threads that the system keeps use what would be destroyed now.
        Log(Level::Warning, "Connections were given up that did not end.");
        unlink(m_ownSocket.c_str());
        std::_Exit(EXIT_SUCCESS);
    }
}

} // namespace providerd
