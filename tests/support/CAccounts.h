#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

// Users, groups and passwords of the tests' own, for programs that are started with Environment():
// libraries that stand in front of PAM and of the system's databases. No privileges are needed, and
// the machine's accounts are not touched.
//
// There are at first: "kzmwbem", the front end's user, whose ID is this process's; "reader" in the
// group "kzm-readers", "changer" in "kzm-changers", "both" in both, "guest" in none; "locked" in
// both, whose password is right and whose account is not usable; "superuser" with the ID 0. All but
// the first have kPassword.
class CAccounts {
public:
    static constexpr char kPassword[] = "s3cret";

    CAccounts();
    ~CAccounts();
    CAccounts(const CAccounts&) = delete;
    CAccounts& operator=(const CAccounts&) = delete;

    // "NAME=value", each.
    [[nodiscard]] std::vector<std::string> Environment() const;

    struct CUser {
        std::string m_name;
        uid_t m_id = 0;
        std::vector<std::string> m_groups;
        std::string m_password; // empty: none is right; it has no ":" in it
        bool m_isUsable = true;
    };
    // Exchanges all users.
    void SetUsers(const std::vector<CUser>& users);
    static std::vector<CUser> FirstUsers();

private:
    [[nodiscard]] std::string Path(const std::string& name) const { return m_folder + "/" + name; }

    std::string m_folder;
};
