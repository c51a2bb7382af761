#include "tests/unit/providerd/door/CFakeAccounts.h"

#include <gtest/gtest.h>

using providerd::CVerdict;

CVerdict CFakeAccounts::Authenticate(const messages::CCredentials& credentials,
                                     const std::string& peer) {
    Note("password " + credentials.m_user + " " + peer);
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        ++m_waiting;
        m_change.notify_all();
        m_change.wait(lock, [this] { return !m_isShut; });
        --m_waiting;
    }
    const auto user = m_users.find(credentials.m_user);
    if (user == m_users.end() || credentials.m_password != "right") {
        return {CVerdict::Kind::WrongPassword, "no such password", m_delay};
    }
    return user->second.m_isUsable
               ? CVerdict{CVerdict::Kind::Good, {}, {}}
               : CVerdict{CVerdict::Kind::AccountFails, "account is locked", {}};
}

CVerdict CFakeAccounts::CheckAccount(const std::string& user, const std::string& peer) {
    Note("account " + user + " " + peer);
    return m_users.at(user).m_isUsable
               ? CVerdict{CVerdict::Kind::Good, {}, {}}
               : CVerdict{CVerdict::Kind::AccountFails, "account is locked", {}};
}

std::optional<providerd::CIdentity> CFakeAccounts::Identify(const std::string& name) {
    Note("groups " + name);
    const auto user = m_users.find(name);
    if (user == m_users.end()) {
        return std::nullopt;
    }
    return providerd::CIdentity{user->second.m_id, user->second.m_groups};
}

std::optional<gid_t> CFakeAccounts::GroupId(const std::string& name) {
    const auto group = m_groups.find(name);
    return group == m_groups.end() ? std::nullopt : std::optional<gid_t>(group->second);
}

std::vector<std::string> CFakeAccounts::TakeAsked() {
    const std::lock_guard<std::mutex> guard(m_mutex);
    return std::exchange(m_asked, {});
}

void CFakeAccounts::Note(const std::string& question) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_asked.push_back(question);
}

void CFakeAccounts::Shut() {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_isShut = true;
}

void CFakeAccounts::Open() {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_isShut = false;
    m_change.notify_all();
}

void CFakeAccounts::AwaitWaiting(std::size_t count) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const bool came =
        m_change.wait_for(lock, std::chrono::seconds(10), [&] { return m_waiting >= count; });
    EXPECT_TRUE(came) << m_waiting << " wait";
}

bool CFakeAccounts::IsJoinedBeyond(std::size_t count) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_change.wait_for(lock, std::chrono::milliseconds(300),
                             [&] { return m_waiting > count; });
}

void FillAccounts(CFakeAccounts* accounts) {
    accounts->m_groups = {{"kzm-readers", 50}, {"kzm-changers", 51}};
    accounts->m_users = {
        {"reader", {1000, {100, 50}, true}},      {"changer", {1001, {100, 51}, true}},
        {"both", {1002, {100, 50, 51}, true}},    {"guest", {1003, {100}, true}},
        {"locked", {1004, {100, 50, 51}, false}}, {"superuser", {0, {0}, true}}};
}
