#include "providerd/door/CAuthentication.h"

#include "providerd/door/Rights.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace providerd {

namespace {

using std::chrono::milliseconds;

// What no user and no password is. PAM would see another one.
bool IsCredible(const messages::CCredentials& credentials) {
    const bool hasZero = credentials.m_user.find('\0') != std::string::npos ||
                         credentials.m_password.find('\0') != std::string::npos;
    return !credentials.m_user.empty() && !hasZero;
}

} // namespace

struct CAuthentication::CQuestion {
    const messages::CCredentials& m_credentials;
    const std::string& m_peer;
    std::shared_ptr<CRules> m_rules;
    std::string m_hash;
    TimePoint m_accountFrom; // when the account must have been asked at the earliest
    messages::Right m_right = messages::Right::None; // once it is answered

    // What is remembered, when nobody needs to be asked.
    bool IsAnswered() {
        const auto found = m_rules->m_remembered.Find(m_hash);
        if (!found || found->m_accountTime < m_accountFrom) {
            return false;
        }
        m_right = found->m_right;
        return true;
    }
};

// A turn in asking the system, as long as it lives.
class CAuthentication::CTurn {
public:
    CTurn(CAuthentication* door, const std::string& hash) : m_door(door), m_hash(hash) {
        std::unique_lock<std::mutex> lock(m_door->m_mutex);
        const auto& asked = m_door->m_asked;
        m_door->m_change.wait(lock, [&] {
            return m_door->m_stopped || (asked.size() < kAtOnce && asked.count(hash) == 0);
        });
        m_has = !m_door->m_stopped;
        if (m_has) {
            m_door->m_asked.insert(hash);
        }
    }
    ~CTurn() {
        const std::lock_guard<std::mutex> guard(m_door->m_mutex);
        if (m_has) {
            m_door->m_asked.erase(m_hash);
        }
        m_door->m_change.notify_all();
    }
    CTurn(const CTurn&) = delete;
    CTurn& operator=(const CTurn&) = delete;

    [[nodiscard]] bool Has() const { return m_has; }

private:
    CAuthentication* m_door;
    const std::string& m_hash;
    bool m_has;
};

CAuthentication::CAuthentication(IAccounts* accounts, const CSettings& settings, CTimes times)
    : m_accounts(accounts),
      m_times(std::move(times)),
      m_wrongPasswords(m_times.m_now) {
    Use(settings);
}

void CAuthentication::Use(const CSettings& settings) {
    auto rules = std::shared_ptr<CRules>(new CRules{settings, CCredentialCache(m_times.m_now)});
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_rules.swap(rules);
}

void CAuthentication::Stop() {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_stopped = true;
    m_change.notify_all();
}

CAuthentication::CAnswer CAuthentication::Check(const messages::CCredentials& credentials,
                                                const std::string& peer, For purpose) {
    if (!IsCredible(credentials)) {
        return {CAnswer::Kind::Wrong, messages::Right::None, "no user and password"};
    }
    CQuestion question{credentials, peer, {}, {}, m_times.m_now(), {}};
    if (purpose == For::Reading) {
        question.m_accountFrom -= kAccountTime;
    }
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        question.m_rules = m_rules;
    }
    question.m_hash = question.m_rules->m_remembered.HashOf(credentials);
    std::optional<CVerdict> verdict;
    if (!question.IsAnswered()) {
        const CTurn turn(this, question.m_hash);
        if (!turn.Has()) {
            return {CAnswer::Kind::Stopped, messages::Right::None, {}};
        }
        if (!question.IsAnswered()) { // by somebody whose turn was before
            verdict = Ask(&question);
        }
    }
    if (!verdict || verdict->m_kind == CVerdict::Kind::Good) {
        return {CAnswer::Kind::Right, question.m_right, {}};
    }
    Pause(std::max<milliseconds>(verdict->m_delay, m_wrongPasswords.Note(peer)));
    return {CAnswer::Kind::Wrong, messages::Right::None, verdict->m_reason};
}

// Asks the system and remembers what it says.
CVerdict CAuthentication::Ask(CQuestion* question) {
    CCredentialCache& cache = question->m_rules->m_remembered;
    const auto remembered = cache.Find(question->m_hash);
    const TimePoint now = m_times.m_now();
    if (!remembered) {
        return AskPassword(question);
    }
    const std::string& user = question->m_credentials.m_user;
    CVerdict verdict = m_accounts->CheckAccount(user, question->m_peer);
    if (verdict.m_kind == CVerdict::Kind::Good) {
        cache.Renew(question->m_hash, now);
        question->m_right = remembered->m_right;
    } else {
        cache.Forget(user);
    }
    return verdict;
}

CVerdict CAuthentication::AskPassword(CQuestion* question) {
    const std::string& user = question->m_credentials.m_user;
    CCredentialCache& cache = question->m_rules->m_remembered;
    const TimePoint now = m_times.m_now();
    CVerdict verdict = m_accounts->Authenticate(question->m_credentials, question->m_peer);
    if (verdict.m_kind == CVerdict::Kind::Good) {
        question->m_right = RightOf(user, question->m_rules->m_settings, m_accounts);
        cache.Remember(question->m_hash, user, {question->m_right, now});
    } else if (verdict.m_kind == CVerdict::Kind::AccountFails) {
        cache.Forget(user);
    }
    return verdict;
}

void CAuthentication::Pause(milliseconds time) {
    if (m_times.m_pause) {
        m_times.m_pause(time);
        return;
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    m_change.wait_for(lock, time, [this] { return m_stopped; });
}

} // namespace providerd
