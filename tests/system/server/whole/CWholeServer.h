#pragma once

#include "tests/support/CProgram.h"
#include "tests/system/door/CDoor.h"
#include "tests/system/server/http/CClient.h"
#include "tests/system/server/http/CServerProcess.h"

#include <memory>
#include <string>

// Both daemons of this build below a fresh test root, with the tests' accounts, a certificate for
// "localhost", and loopback ports of their own. They run once this object is made.
class CWholeServer {
public:
    explicit CWholeServer(const std::string& providerdConfiguration = CDoor::kConfiguration);

    // Each daemon, once more, after its end.
    void StartProviderd();
    void StartFrontEnd();

    // Has the front end use these limits beside what it listens on.
    void Limit(const std::string& lines) const;

    CDaemonProcess& Providerd() { return m_door.Daemon(); }
    CServerProcess& FrontEnd() { return *m_frontEnd; }
    [[nodiscard]] const CTestRoot& Root() const { return m_door.m_root; }
    CAccounts& Accounts() { return m_door.m_accounts; }

    // A connection to the front end.
    [[nodiscard]] CClient Connect(CClient::Kind kind = CClient::Kind::Https) const;

private:
    CDoor m_door;
    std::unique_ptr<CServerProcess> m_frontEnd;
};
