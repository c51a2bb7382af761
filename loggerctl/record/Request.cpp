#include "loggerctl/record/Request.h"

#include "loggerctl/output/SafeText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <set>
#include <unordered_set>

namespace record {

namespace {

using output::ExitCode;
using output::Expected;
using output::Fail;

constexpr char kNothingChanged[] = "Nothing was changed.";

// ---- Reading values ----

struct CSwitchWord {
    const char* m_text;
    bool m_value;
};
constexpr std::array kSwitchWords{
    CSwitchWord{"true", true}, CSwitchWord{"false", false}, CSwitchWord{"on", true},
    CSwitchWord{"off", false}, CSwitchWord{"yes", true},    CSwitchWord{"no", false},
    CSwitchWord{"1", true},    CSwitchWord{"0", false},
};

bool ReadValue(const std::string& text, bool* value) {
    std::string lower = text;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    });
    for (const CSwitchWord& word : kSwitchWords) {
        if (lower == word.m_text) {
            *value = word.m_value;
            return true;
        }
    }
    return false;
}

template <class Number>
bool ReadValue(const std::string& text, Number* value) {
    const char* end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, *value);
    return result.ec == std::errc() && result.ptr == end;
}

// What is taken without --force; the type holds more.
const char* Wanted(bool /*type*/) {
    return "true or false (on, off, yes, no, 1, 0)";
}
const char* Wanted(std::uint32_t /*type*/) {
    return "a whole number from 1 to 2147483647";
}
const char* Wanted(std::int32_t /*type*/) {
    return "a whole number from 1 to 100";
}

// A value of the type that the setting has.
CValue TypeOf(const CAddress& address) {
    static CLoggerConf conf;
    static CLoggerFsThresholdConf row;
    return ValueOf(address.m_key != nullptr ? address.m_key->m_member(conf)
                                            : address.m_volumeKey->m_member(row));
}

// ---- Reading assignments ----

// The "=" between key and value. A name in brackets ends at the last bracket before a dot; one
// behind a colon holds all "=" but the last.
std::size_t FindEquals(const std::string& text) {
    if (text.rfind("fs:", 0) == 0) {
        return text.rfind('=');
    }
    const std::size_t bracket = text.rfind("fs[", 0) == 0 ? text.rfind("].") : std::string::npos;
    return text.find('=', bracket == std::string::npos ? 0 : bracket);
}

Expected<CAssignment> ParseAssignment(const std::string& text) {
    const std::size_t equals = FindEquals(text);
    Expected<CAddress> address = ParseKey(text.substr(0, equals));
    if (!address) {
        return tl::unexpected(address.error());
    }
    CValue value = TypeOf(*address);
    const std::string key = output::Escape(address->m_text);
    const std::string wanted = std::visit([](auto type) { return Wanted(type); }, value);
    if (equals == std::string::npos) {
        return Fail(ExitCode::Usage,
                    key + " has no value: write " + key + "=VALUE, where VALUE is " + wanted + ".");
    }
    const std::string valueText = text.substr(equals + 1);
    if (!std::visit([&valueText](auto& place) { return ReadValue(valueText, &place); }, value)) {
        return Fail(ExitCode::Usage,
                    key + " must be " + wanted + ", not '" + output::Escape(valueText) + "'.");
    }
    return CAssignment{std::move(*address), value};
}

// ---- Making the request ----

// One request as it grows.
class CRequestMaker {
public:
    explicit CRequestMaker(const CLoggerConf& present)
        : m_request{present, {}},
          m_settings(&m_request.m_conf) {}

    void Apply(const std::vector<CAssignment>& assignments) {
        for (const bool exact : {false, true}) {
            for (const CAssignment& assignment : assignments) {
                if (m_settings.IsExact(assignment.m_address) == exact) {
                    Apply(assignment, exact);
                }
            }
        }
    }

    CRequest m_request;
    std::vector<std::string> m_problems;

private:
    void Apply(const CAssignment& assignment, bool exact) {
        const auto found = m_settings.Find(assignment.m_address);
        if (!found) {
            m_problems.push_back(found.error().m_headline);
            return;
        }
        const std::string text = output::Escape(assignment.m_address.m_text);
        for (const CSetting& setting : *found) {
            if (exact && !m_named.insert(setting.m_member).second) {
                m_problems.push_back(text + " is given twice, under two spellings of its name.");
                return;
            }
            Assign(assignment.m_value, setting.m_member);
        }
        m_request.m_asked.push_back({assignment.m_address.m_text,
                                     assignment.m_address.m_volumeKey != nullptr,
                                     assignment.m_value});
    }

    CSettings m_settings;
    std::set<CMember> m_named;
};

} // namespace

Expected<std::vector<CAssignment>> ParseAssignments(const std::vector<std::string>& texts) {
    std::vector<CAssignment> assignments;
    std::unordered_set<std::string> seen;
    for (const std::string& text : texts) {
        Expected<CAssignment> assignment = ParseAssignment(text);
        if (!assignment) {
            return tl::unexpected(assignment.error());
        }
        if (!seen.insert(assignment->m_address.m_text).second) {
            return Fail(ExitCode::Usage,
                        output::Escape(assignment->m_address.m_text) + " is given twice.");
        }
        assignments.push_back(std::move(*assignment));
    }
    return assignments;
}

Expected<CRequest> MakeRequest(const CLoggerConf& present,
                               const std::vector<CAssignment>& assignments) {
    CRequestMaker maker(present);
    maker.Apply(assignments);
    if (!maker.m_problems.empty()) {
        return Fail(ExitCode::Usage, kNothingChanged, maker.m_problems);
    }
    return std::move(maker.m_request);
}

std::vector<std::string> Reduce(const CLoggerConf& present, std::vector<CAssignment>* assignments) {
    CLoggerConf conf(present);
    CSettings settings(&conf);
    std::vector<std::string> unmounted;
    const auto isNeedless = [&](const CAssignment& assignment) {
        const CAddress& address = assignment.m_address;
        if (address.m_key != nullptr) {
            return ValueOf(address.m_key->m_member(conf)) == assignment.m_value;
        }
        CLoggerFsThresholdConf* row = settings.FindVolume(address.m_name);
        if (row == nullptr) {
            // A file system's assignments stand one behind the other.
            if (unmounted.empty() || unmounted.back() != address.m_name) {
                unmounted.push_back(address.m_name);
            }
            return true;
        }
        return ValueOf(address.m_volumeKey->m_member(*row)) == assignment.m_value;
    };
    assignments->erase(std::remove_if(assignments->begin(), assignments->end(), isNeedless),
                       assignments->end());
    return unmounted;
}

} // namespace record
