#pragma once

#include "providerd/door/IAccounts.h"

#include <optional>
#include <string>

// The system's database of users and groups. Any number of threads.
namespace providerd {

// Nothing when there is no such name.
std::optional<CIdentity> IdentityOf(const std::string& user);
std::optional<uid_t> UserIdOf(const std::string& user);
std::optional<gid_t> PrimaryGroupOf(const std::string& user);
std::optional<gid_t> GroupIdOf(const std::string& name);

} // namespace providerd
