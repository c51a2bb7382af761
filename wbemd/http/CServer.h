#pragma once

#include "wbemd/http/Configuration.h"
#include "wbemd/operations/COperations.h"

#include <memory>
#include <string>
#include <vector>

namespace wbemd {

// The front end as it runs: takes connections, reads requests, has their credentials checked by the
// daemon that calls the provider, and answers. One thread does all that; another one reads and
// writes what is long.
//
// SIGHUP has the configuration read anew; with a broken one the server goes on as it was. SIGTERM
// and SIGINT end it, once what has begun is answered.
class CServer {
public:
    struct COptions {
        std::string m_configurationPath;
        std::string m_providerdSocket;
        std::vector<int>
            m_listeners; // from the service manager, for https; the server's from now on
    };

    // Listens. On failure null comes back, and *error says why, as a sentence. The operations must
    // outlive the server.
    static std::unique_ptr<CServer> Open(const COperations& operations, COptions options,
                                         const CConfiguration& configuration, std::string* error);
    ~CServer();
    CServer(const CServer&) = delete;
    CServer& operator=(const CServer&) = delete;

    // Serves until a signal ends it.
    void Run();

private:
    struct Parts;
    explicit CServer(std::unique_ptr<Parts> parts);

    std::unique_ptr<Parts> m_parts;
};

} // namespace wbemd
