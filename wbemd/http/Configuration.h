#pragma once

#include "wbemd/http/CSettings.h"
#include "wbemd/http/Tls.h"

#include <string>
#include <vector>

namespace wbemd {

// All that the front end is told from outside.
struct CConfiguration {
    CSettings m_settings;
    CTlsIdentity m_identity;             // empty when nobody needs it
    std::vector<std::string> m_problems; // lines; with any the configuration is of no use
    std::vector<std::string> m_warnings;
};

// Reads the configuration file, and the certificate and the key that it names. `handed` says that
// the service manager hands over the sockets for https: Listen is then of no account.
CConfiguration LoadConfiguration(const std::string& path, bool handed);

} // namespace wbemd
