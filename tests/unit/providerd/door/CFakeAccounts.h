#pragma once

#include "providerd/door/Clock.h"
#include "providerd/door/IAccounts.h"

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

// Where requests come from in most tests.
inline constexpr char kPeer[] = "192.0.2.1";

// Users in memory, all with the password "right", and a record of what was asked.
class CFakeAccounts : public providerd::IAccounts {
public:
    struct CUser {
        uid_t m_id = 0;
        std::vector<gid_t> m_groups;
        bool m_isUsable = true;
    };
    std::map<std::string, CUser> m_users;
    std::map<std::string, gid_t> m_groups;
    std::chrono::milliseconds m_delay{0}; // of a wrong password

    providerd::CVerdict Authenticate(const messages::CCredentials& credentials,
                                     const std::string& peer) override;
    providerd::CVerdict CheckAccount(const std::string& user, const std::string& peer) override;
    std::optional<providerd::CIdentity> Identify(const std::string& user) override;
    std::optional<gid_t> GroupId(const std::string& name) override;

    // What was asked since the last time: "password USER PEER", "account USER PEER", "groups USER".
    std::vector<std::string> TakeAsked();

    // From now on Authenticate waits until Open is called.
    void Shut();
    void Open();
    // Waits until so many wait.
    void AwaitWaiting(std::size_t count);
    // Whether more than so many wait before a moment has passed that is long for a thread.
    bool IsJoinedBeyond(std::size_t count);

private:
    void Note(const std::string& question);

    std::mutex m_mutex; // guards the members below
    std::condition_variable m_change;
    std::vector<std::string> m_asked;
    bool m_isShut = false;
    std::size_t m_waiting = 0;
};

// The system's users in most tests: "reader", "changer", "both", "guest", "locked", "superuser".
void FillAccounts(CFakeAccounts* accounts);

// A time that goes on when it is told to.
class CFakeTime {
public:
    providerd::CTimes Times() {
        return {[this] { return m_now; },
                [this](std::chrono::milliseconds time) {
                    const std::lock_guard<std::mutex> guard(m_mutex);
                    m_pauses.push_back(time);
                }};
    }
    providerd::Clock Clock() {
        return [this] { return m_now; };
    }
    void Pass(std::chrono::milliseconds time) { m_now += time; }

    std::vector<std::chrono::milliseconds> m_pauses; // of any number of threads

private:
    std::mutex m_mutex;
    providerd::TimePoint m_now = providerd::TimePoint() + std::chrono::hours(1);
};
