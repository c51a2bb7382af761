#include "providerd/door/Rights.h"

#include "providerd/MethodNames.h"

#include <algorithm>

namespace providerd {

namespace {

using messages::Right;

constexpr uid_t kSuperuser = 0;

bool IsMember(const CIdentity& identity, const std::vector<std::string>& groups,
              IAccounts* accounts) {
    return std::any_of(groups.begin(), groups.end(), [&](const std::string& name) {
        const std::optional<gid_t> id = accounts->GroupId(name);
        return id && std::count(identity.m_groups.begin(), identity.m_groups.end(), *id) != 0;
    });
}

} // namespace

Right RightOf(const std::string& user, const CSettings& settings, IAccounts* accounts) {
    const std::optional<CIdentity> identity = accounts->Identify(user);
    if (!identity) {
        return Right::None;
    }
    if (identity->m_user == kSuperuser ||
        IsMember(*identity, settings.m_changingGroups, accounts)) {
        return Right::Change;
    }
    return IsMember(*identity, settings.m_readingGroups, accounts) ? Right::Read : Right::None;
}

Right NeededRight(const std::string& method) {
    if (method == kSetParameter) {
        return Right::Change;
    }
    return method == kGetParameter ? Right::Read : Right::None;
}

} // namespace providerd
