#include "tests/support/CAccounts.h"

#include "tests/support/CTestRoot.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;
using std::string;

namespace {

constexpr char kService[] = "kzmwbem";
const char* const kGroups[] = {"kzm-readers", "kzm-changers"};
constexpr gid_t kFirstGroup = 60001;
constexpr gid_t kPrimaryGroup = 60000;
constexpr uid_t kFirstUser = 60010;

string PasswdLine(const CAccounts::CUser& user) {
    return user.m_name + ":x:" + std::to_string(user.m_id) + ":" + std::to_string(kPrimaryGroup) +
           "::/:/bin/false\n";
}

bool IsIn(const CAccounts::CUser& user, const string& group) {
    return std::count(user.m_groups.begin(), user.m_groups.end(), group) != 0;
}

string GroupLine(const string& name, gid_t id, const std::vector<CAccounts::CUser>& users) {
    string members;
    for (const CAccounts::CUser& user : users) {
        if (IsIn(user, name)) {
            members += (members.empty() ? "" : ",") + user.m_name;
        }
    }
    return name + ":x:" + std::to_string(id) + ":" + members + "\n";
}

string ServiceFile(const string& passwords) {
    string text;
    for (const char* phase : {"auth", "account"}) {
        text += string(phase) + " required " + PAM_MATRIX_MODULE + " passdb=" + passwords + "\n";
    }
    return text;
}

// Written beside the file and put into its place: readers find the one or the other.
void Exchange(const string& path, const string& text) {
    WriteFile(path + ".new", text);
    fs::rename(path + ".new", path);
}

} // namespace

CAccounts::CAccounts() : m_folder(testing::TempDir() + "kzm-accounts-XXXXXX") {
    EXPECT_NE(mkdtemp(m_folder.data()), nullptr) << m_folder;
    fs::create_directory(Path("services"));
    WriteFile(Path("services/") + kService, ServiceFile(Path("passwords")));
    WriteFile(Path("services/other"), ServiceFile("/nowhere")); // PAM misses it otherwise
    SetUsers(FirstUsers());
}

CAccounts::~CAccounts() {
    fs::remove_all(m_folder);
}

std::vector<string> CAccounts::Environment() const {
    return {
        string("LD_PRELOAD=") + PAM_WRAPPER_LIBRARY + ":" + NSS_WRAPPER_LIBRARY,
        "PAM_WRAPPER=1",
        "PAM_WRAPPER_SERVICE_DIR=" + Path("services"),
        "NSS_WRAPPER_PASSWD=" + Path("passwd"),
        "NSS_WRAPPER_GROUP=" + Path("group"),
#ifdef KZM_NO_FAULT_TRANSLATION           // under sanitizers
        "UID_WRAPPER_DISABLE_DEEPBIND=1", // by this name the library in front of PAM knows it
        "NSS_WRAPPER_DISABLE_DEEPBIND=1",
        "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0",
        "TSAN_OPTIONS=ignore_noninstrumented_modules=1" // the libraries' locks are not seen
#endif
    };
}

std::vector<CAccounts::CUser> CAccounts::FirstUsers() {
    const string readers = kGroups[0];
    const string changers = kGroups[1];
    return {{"kzmwbem", getuid(), {}, "", true},
            {"superuser", 0, {}, kPassword, true},
            {"reader", kFirstUser, {readers}, kPassword, true},
            {"changer", kFirstUser + 1, {changers}, kPassword, true},
            {"both", kFirstUser + 2, {readers, changers}, kPassword, true},
            {"guest", kFirstUser + 3, {}, kPassword, true},
            {"locked", kFirstUser + 4, {readers, changers}, kPassword, false}};
}

void CAccounts::SetUsers(const std::vector<CUser>& users) {
    string passwd;
    string passwords;
    for (const CUser& user : users) {
        passwd += PasswdLine(user);
        if (!user.m_password.empty()) {
            passwords += user.m_name + ":" + user.m_password + ":" +
                         (user.m_isUsable ? kService : "another") + "\n";
        }
    }
    string groups = "users:x:" + std::to_string(kPrimaryGroup) + ":\n";
    gid_t id = kFirstGroup;
    for (const char* group : kGroups) {
        groups += GroupLine(group, id++, users);
    }
    Exchange(Path("passwd"), passwd);
    Exchange(Path("group"), groups);
    Exchange(Path("passwords"), passwords);
}
