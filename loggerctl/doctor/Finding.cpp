#include "loggerctl/doctor/Finding.h"

#include "loggerctl/output/SafeText.h"

#include <algorithm>
#include <utility>

namespace doctor {

namespace {

// A command that cannot be printed as it is would not be the one that mends.
std::string OnlySafe(const std::string& command) {
    std::string text = command;
    text.erase(std::remove(text.begin(), text.end(), '\\'), text.end()); // which is safe by itself
    return output::Escape(text) == text ? command : "";
}

} // namespace

CSubject::CSubject(std::string name, std::string lookedAt)
    : m_name(std::move(name)),
      m_lookedAt(output::Escape(lookedAt)) {}

CFinding CSubject::Ok(const std::string& text) const {
    return {m_name, m_lookedAt, State::Ok, text, "", false};
}

CFinding CSubject::Missing(const std::string& text, const std::string& mend) const {
    return {m_name, m_lookedAt, State::Missing, text, OnlySafe(mend), false};
}

CFinding CSubject::Wrong(const std::string& text, const std::string& mend) const {
    return {m_name, m_lookedAt, State::Wrong, text, OnlySafe(mend), false};
}

CFinding CSubject::NotLookedAt(const std::string& text) const {
    return {m_name, m_lookedAt, State::NotLookedAt, text, "", false};
}

CFinding CSubject::LacksRights(const std::string& text) const {
    return {m_name, m_lookedAt, State::NotLookedAt, text, "", true};
}

CFinding CSubject::Because(const agent::CReason& reason, const std::string& mend) const {
    return reason.m_code == output::ExitCode::NoRights ? LacksRights(reason.m_text)
                                                       : Wrong(reason.m_text, mend);
}

} // namespace doctor
