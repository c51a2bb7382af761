#pragma once

#include "serverbase/Messages.h"

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace providerd {

// How a check of a user ended.
struct CVerdict {
    enum class Kind { Good, WrongPassword, AccountFails };
    Kind m_kind = Kind::WrongPassword;
    std::string m_reason;                 // unless it is good; for the log, not yet safe to print
    std::chrono::milliseconds m_delay{0}; // by which the answer is to be late
};

// A user as the system knows it.
struct CIdentity {
    uid_t m_user = 0;
    std::vector<gid_t> m_groups; // all of them, the primary one included
};

// The system's users. Any number of threads can ask at the same time.
class IAccounts {
public:
    IAccounts() = default;
    virtual ~IAccounts() = default;
    IAccounts(const IAccounts&) = delete;
    IAccounts& operator=(const IAccounts&) = delete;

    // Whether the password is right and the account may be used, from this address.
    virtual CVerdict Authenticate(const messages::CCredentials& credentials,
                                  const std::string& peer) = 0;
    // Whether the account may be used, now.
    virtual CVerdict CheckAccount(const std::string& user, const std::string& peer) = 0;

    // Nothing when there is no such user or group.
    virtual std::optional<CIdentity> Identify(const std::string& user) = 0;
    virtual std::optional<gid_t> GroupId(const std::string& name) = 0;
};

} // namespace providerd
