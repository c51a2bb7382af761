#include "providerd/door/SystemNames.h"

#include <grp.h>
#include <pwd.h>

#include <cerrno>
#include <vector>

namespace providerd {

namespace {

constexpr std::size_t kUsualBytes = 4096;
constexpr std::size_t kMostBytes = std::size_t{16} * 1024 * 1024; // of a group with many members
constexpr int kUsualGroups = 64;

// Calls one of the functions that look for a name, with as much memory as it needs.
template <class Entry, class Function>
std::optional<Entry> Find(Function look, const std::string& name, std::vector<char>* buffer) {
    Entry entry{};
    for (std::size_t bytes = kUsualBytes; bytes <= kMostBytes; bytes *= 2) {
        buffer->resize(bytes);
        Entry* found = nullptr;
        const int error = look(name.c_str(), &entry, buffer->data(), buffer->size(), &found);
        if (error != ERANGE) {
            return found == nullptr ? std::nullopt : std::optional<Entry>(entry);
        }
    }
    return std::nullopt;
}

std::vector<gid_t> GroupsOf(const std::string& user, gid_t primary) {
    int count = kUsualGroups;
    std::vector<gid_t> groups(static_cast<std::size_t>(count));
    while (getgrouplist(user.c_str(), primary, groups.data(), &count) < 0) {
        groups.resize(static_cast<std::size_t>(count)); // it tells how many there are
    }
    groups.resize(static_cast<std::size_t>(count));
    return groups;
}

} // namespace

std::optional<CIdentity> IdentityOf(const std::string& user) {
    std::vector<char> buffer;
    const auto entry = Find<passwd>(getpwnam_r, user, &buffer);
    if (!entry) {
        return std::nullopt;
    }
    return CIdentity{entry->pw_uid, GroupsOf(user, entry->pw_gid)};
}

std::optional<uid_t> UserIdOf(const std::string& user) {
    std::vector<char> buffer;
    const auto entry = Find<passwd>(getpwnam_r, user, &buffer);
    return entry ? std::optional<uid_t>(entry->pw_uid) : std::nullopt;
}

std::optional<gid_t> PrimaryGroupOf(const std::string& user) {
    std::vector<char> buffer;
    const auto entry = Find<passwd>(getpwnam_r, user, &buffer);
    return entry ? std::optional<gid_t>(entry->pw_gid) : std::nullopt;
}

std::optional<gid_t> GroupIdOf(const std::string& name) {
    std::vector<char> buffer;
    const auto entry = Find<group>(getgrnam_r, name, &buffer);
    return entry ? std::optional<gid_t>(entry->gr_gid) : std::nullopt;
}

} // namespace providerd
