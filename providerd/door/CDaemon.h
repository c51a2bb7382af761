#pragma once

#include "history/CDescriptor.h"
#include "providerd/CCallQueue.h"
#include "providerd/door/CAuthentication.h"
#include "providerd/door/CConnections.h"
#include "providerd/door/CPamAccounts.h"
#include "providerd/door/CSession.h"
#include "providerd/door/CSettings.h"

#include <chrono>
#include <memory>
#include <string>

namespace providerd {

// The daemon: listens at KzmPaths::kProviderdSocket or where the service manager listens for it,
// and serves what the front end asks for, until SIGTERM or SIGINT. SIGHUP reads the configuration
// anew. There is one in a process, whose signals it blocks.
class CDaemon {
public:
    CDaemon() = default;
    ~CDaemon();
    CDaemon(const CDaemon&) = delete;
    CDaemon& operator=(const CDaemon&) = delete;

    // Returns the exit status: 0 after a signal to end, 1 when it cannot begin, which is logged.
    int Run();

private:
    bool ReadFirstSettings();
    bool Listen();
    void Begin();
    void ServeUntilTheEnd();
    // How long nothing needs to happen, as poll takes it.
    [[nodiscard]] int IdleTime() const;
    void TellAliveInTime();
    void AcceptOne();
    // What a signal asks for; whether the daemon goes on.
    bool GoesOn();
    void ReadSettingsAnew();
    void End();

    CSettings m_settings;
    history::CDescriptor m_signals;
    history::CDescriptor m_listener;
    std::string m_ownSocket; // the path of a listener that this object made
    bool m_backsOff = false; // after an accept that found no memory
    TimePoint m_alive = std::chrono::steady_clock::now(); // when that was told last
    CPamAccounts m_accounts;
    std::unique_ptr<CAuthentication> m_authentication;
    std::unique_ptr<CCallQueue> m_queue;
    std::unique_ptr<CConnections> m_connections;
};

} // namespace providerd
