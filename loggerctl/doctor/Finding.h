#pragma once

#include "loggerctl/agent/SettingsFiles.h"

#include <string>
#include <vector>

namespace doctor {

// How something was found that the product needs.
enum class State { Ok, Missing, Wrong, NotLookedAt };

// One thing that was looked at. All texts are safe to print.
struct CFinding {
    std::string m_name;     // for programs, too: never changes its meaning
    std::string m_lookedAt; // a path, a command line, or a user or group
    State m_state = State::Ok;
    std::string m_text;         // sentences; with path and line where something is wrong
    std::string m_mend;         // a command for a shell; empty where none can be named or shown
    bool m_lacksRights = false; // why it was not looked at: root could

    [[nodiscard]] bool NeedsMending() const {
        return m_state == State::Missing || m_state == State::Wrong;
    }
};

using CFindings = std::vector<CFinding>;

// What is looked at; gives the findings about it.
class CSubject {
public:
    CSubject(std::string name, std::string lookedAt);

    [[nodiscard]] CFinding Ok(const std::string& text) const;
    [[nodiscard]] CFinding Missing(const std::string& text, const std::string& mend) const;
    [[nodiscard]] CFinding Wrong(const std::string& text, const std::string& mend) const;
    [[nodiscard]] CFinding NotLookedAt(const std::string& text) const;
    [[nodiscard]] CFinding LacksRights(const std::string& text) const;

    // Wrong for this reason, or not looked at where the user's rights are the reason.
    [[nodiscard]] CFinding Because(const agent::CReason& reason, const std::string& mend) const;

private:
    std::string m_name;
    std::string m_lookedAt;
};

} // namespace doctor
