#pragma once

#include "providerd/door/Clock.h"
#include "serverbase/Messages.h"

#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace providerd {

// Credentials that were found right, for kRememberedTime. What is kept of them is the user's name
// and a hash under a random key that nobody else knows. Any number of threads.
class CCredentialCache {
public:
    static constexpr std::chrono::seconds kRememberedTime{60};
    static constexpr std::size_t kMost = 1024; // then the oldest go

    // Throws std::system_error when there is no random key to be had.
    explicit CCredentialCache(Clock now);

    // The hash of these credentials, and of no others.
    [[nodiscard]] std::string HashOf(const messages::CCredentials& credentials) const;

    struct CRemembered {
        messages::Right m_right = messages::Right::None;
        TimePoint m_accountTime; // when the account was last found usable
    };
    std::optional<CRemembered> Find(const std::string& hash);

    // From now on.
    void Remember(const std::string& hash, const std::string& user, const CRemembered& remembered);
    // The account was found usable once more. The time until they are forgotten stays.
    void Renew(const std::string& hash, TimePoint accountTime);
    // All credentials of the user.
    void Forget(const std::string& user);

private:
    struct CEntry {
        std::string m_user;
        CRemembered m_remembered;
        TimePoint m_begin;
    };
    void MakeRoom();

    Clock m_now;
    std::string m_key;
    std::mutex m_mutex;
    std::map<std::string, CEntry> m_entries; // by hash
};

} // namespace providerd
