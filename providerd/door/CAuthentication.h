#pragma once

#include "providerd/door/CCredentialCache.h"
#include "providerd/door/CSettings.h"
#include "providerd/door/CWrongPasswords.h"
#include "providerd/door/Clock.h"
#include "providerd/door/IAccounts.h"
#include "serverbase/Messages.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>

namespace providerd {

// Who somebody is, and what he may do. Any number of threads can ask at the same time; each waits
// on its own for what takes time: the system, its turn, the delay after a wrong password.
class CAuthentication {
public:
    // At most so many ask the system at once. Those who ask for the same credentials do so one
    // after the other, since all but the first will find them remembered.
    static constexpr std::size_t kAtOnce = 16;
    // Credentials are right for a while, but whether the account may be used is asked so often.
    static constexpr std::chrono::seconds kAccountTime{5};

    CAuthentication(IAccounts* accounts, const CSettings& settings, CTimes times = {});

    // For a change the account is asked in any case.
    enum class For { Reading, Changing };

    struct CAnswer {
        enum class Kind { Right, Wrong, Stopped };
        Kind m_kind = Kind::Wrong;
        messages::Right m_right = messages::Right::None;
        std::string m_reason; // of Wrong; for the log, not yet safe to print
    };
    CAnswer Check(const messages::CCredentials& credentials, const std::string& peer, For purpose);

    // From now on these count, and nothing is remembered.
    void Use(const CSettings& settings);

    // Ends what waits, and what comes, with Stopped.
    void Stop();

private:
    // What belongs together: nothing that is remembered outlives the settings it was found by.
    struct CRules {
        CSettings m_settings;
        CCredentialCache m_remembered;
    };
    struct CQuestion;
    class CTurn;

    CVerdict Ask(CQuestion* question);
    CVerdict AskPassword(CQuestion* question);
    void Pause(std::chrono::milliseconds time);

    IAccounts* m_accounts;
    CTimes m_times;
    CWrongPasswords m_wrongPasswords;
    std::mutex m_mutex; // guards the members below
    std::condition_variable m_change;
    std::shared_ptr<CRules> m_rules;
    std::set<std::string> m_asked; // the hashes of those who have their turn
    bool m_stopped = false;
};

} // namespace providerd
