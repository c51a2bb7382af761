#pragma once

#include "providerd/door/IAccounts.h"

namespace providerd {

// Users as PAM's service "kzmwbem" (its phases auth and account) and the system's databases know
// them. The delay that PAM asks for after a wrong password is handed on, and not waited for.
class CPamAccounts : public IAccounts {
public:
    CVerdict Authenticate(const messages::CCredentials& credentials,
                          const std::string& peer) override;
    CVerdict CheckAccount(const std::string& user, const std::string& peer) override;
    std::optional<CIdentity> Identify(const std::string& user) override;
    std::optional<gid_t> GroupId(const std::string& name) override;
};

} // namespace providerd
