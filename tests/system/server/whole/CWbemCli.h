#pragma once

#include "tests/support/CProgram.h"
#include "tests/system/server/whole/CWholeServer.h"

#include <string>

// Runs wbemcli, the management client for the command line, against a server.
class CWbemCli {
public:
    explicit CWbemCli(CWholeServer* server, std::string user = "changer",
                      std::string password = CAccounts::kPassword)
        : m_server(server),
          m_user(std::move(user)),
          m_password(std::move(password)) {}

    static bool IsThere();
    // This system's.
    static std::string HostName();

    // What stands in place of "-cacert" and the server's own certificate.
    void Trust(CProgram::Words options) { m_trust = std::move(options); }

    // wbemcli with an operation, on an object such as "root/cimv2:CIM_Class", and words behind it.
    // Ports, host name and version are PORT, HOST and VERSION in what comes back.
    [[nodiscard]] CProgram::Result Run(const std::string& operation, const std::string& object,
                                       const CProgram::Words& more = {}) const;

private:
    [[nodiscard]] std::string WithoutPlaces(std::string text) const;

    CWholeServer* m_server;
    std::string m_user;
    std::string m_password;
    CProgram::Words m_trust;
};
