#pragma once

#include "history/CDescriptor.h"
#include "serverbase/Messages.h"
#include "tests/support/CAccounts.h"
#include "tests/support/CDaemonProcess.h"
#include "tests/support/CTestRoot.h"

#include <optional>
#include <string>
#include <vector>

// The password that the tests' accounts have at first.
inline const std::string kPassword = CAccounts::kPassword;

// kzm-providerd with the tests' accounts and the provider of this build, below a fresh test root.
class CDoor {
public:
    // The daemon's configuration at first: members of kzm-changers may change.
    static const char* const kConfiguration;

    explicit CDoor(const std::string& configuration = kConfiguration);

    // Starts the daemon and waits until it is ready; false when it ends.
    bool Start();
    CDaemonProcess& Daemon() { return *m_daemon; }

    static void Configure(const std::string& text);

    CTestRoot m_root;
    CAccounts m_accounts;

private:
    std::unique_ptr<CDaemonProcess> m_daemon;
};

// A connection to the daemon, as the front end has one.
class CDoorClient {
public:
    CDoorClient();

    void Send(const std::string& bytes) const;
    // The payload that comes; nothing when the connection ends.
    [[nodiscard]] std::optional<std::string> Receive() const;

    // Sends and receives: "wrong", "none", "read", "change", or "ended".
    [[nodiscard]] std::string Check(const std::string& user, const std::string& password) const;
    // "Done 0x00000000", "NotAllowed" and so on, or "ended".
    [[nodiscard]] std::string Call(const std::string& user, const std::string& password,
                                   const std::string& method,
                                   const std::string& inParameters = {}) const;
    // The bytes of a request, whole.
    static std::string CheckFrame(const std::string& user, const std::string& password);

    [[nodiscard]] bool IsConnected() const { return m_connected; }
    [[nodiscard]] int Socket() const { return m_socket.Get(); }

private:
    history::CDescriptor m_socket;
    bool m_connected;
};
