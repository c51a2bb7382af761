// The keys and assignments of the command line. The input is the names of the file systems, a line
// each, then assignments, a line each.

#include "loggerctl/output/SafeText.h"
#include "loggerctl/record/Request.h"
#include "tests/fuzz/support/CInput.h"
#include "tests/fuzz/support/CPrintable.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/CSettingFormat.h"
#include "tests/fuzz/support/FuzzTarget.h"
#include "tests/system/loggerctl/CLocale.h"
#include "tests/unit/loggerctl/SampleSettings.h"

#include <fnmatch.h>

#include <algorithm>
#include <map>
#include <set>

using std::string;
using Type = CSettingFormat::Type;
using Assignments = std::vector<record::CAssignment>;
using Texts = std::vector<string>;
using Values = std::map<string, string>;

namespace {

constexpr std::size_t kNames = 0;
constexpr std::size_t kAssignments = 1;

// "Unknown key 'KEY'" or "KEY must be" or "KEY has no value".
void RequireRefusal(const string& text, const output::CFailure& failure) {
    CProperty::Require(failure.m_code == output::ExitCode::Usage, "a refusal is wrong usage");
    const string& error = failure.m_headline;
    const string::size_type end = std::min(error.find(" must be "), error.find(" has no value: "));
    const string key = output::Unescape(error.substr(0, end)).value_or("");
    const bool isOfText =
        text.compare(0, key.size(), key) == 0 && CSettingFormat::TypeOf(key) != Type::kNone;
    CProperty::Require(error.rfind("Unknown key '", 0) == 0 || isOfText, "a refusal names the key");
    CProperty::Require(CPrintable::Is(error), "a refusal is safe to print");
}

void CheckKey(const string& text) {
    const auto address = record::ParseKey(text);
    CProperty::Require(address.has_value() == (CSettingFormat::TypeOf(text) != Type::kNone),
                       "a key is taken exactly when it means a setting");
    if (!address) {
        RequireRefusal(text, address.error());
        return;
    }
    CProperty::RequireEqual(text, address->m_text, "a key is kept as it was written");
    const bool isInBrackets = text.rfind("fs[", 0) == 0;
    const string shown =
        address->m_key != nullptr
            ? address->m_key->m_name
            : (isInBrackets ? "fs[" + address->m_name + "]." : "fs:" + address->m_name + ".") +
                  address->m_volumeKey->m_name;
    CProperty::RequireEqual(text, shown, "a key's parts are the key");
}

std::optional<record::CAssignment> CheckAssignment(const string& text) {
    auto assignments = record::ParseAssignments({text});
    const CSettingFormat parts(text);
    CProperty::Require(assignments.has_value() == !parts.m_sValue.empty(),
                       "an assignment is taken exactly when key and value are good");
    if (!assignments) {
        RequireRefusal(text, assignments.error());
        return std::nullopt;
    }
    CProperty::Require(assignments->size() == 1, "an assignment is one");
    record::CAssignment& assignment = assignments->front();
    CProperty::RequireEqual(parts.m_sKey, assignment.m_address.m_text,
                            "an assignment's key is what stands in front of its last '='");
    CProperty::RequireEqual(parts.m_sValue, record::TextOf(assignment.m_value),
                            "an assignment's value is what stands behind it");
    return std::move(assignment);
}

void CheckEscapes(const string& text) {
    const string safe = output::Escape(text);
    CProperty::Require(CPrintable::Is(safe) && safe.find('\n') == string::npos,
                       "an escaped text is safe to print on one line");
    const auto raw = output::Unescape(safe);
    CProperty::Require(raw.has_value(), "an escaped text can be read");
    CProperty::RequireEqual(text, *raw, "an escaped text means what was escaped");
}

// ---- Requests ----

// Every setting of a record as it is printed, by its key. Of file systems with one name the first
// is meant.
Values Settings(const CLoggerConf& conf) {
    Values settings;
    CLoggerConf copy(conf);
    for (const record::CKey& key : record::Keys()) {
        settings[key.m_name] = record::TextOf(record::ValueOf(key.m_member(copy)));
    }
    for (const CLoggerFsThresholdConf& row : conf.m_FsUsageMonitorConf.m_FsThresholdConfList) {
        const string beginning = "fs:" + row.m_sVolumeName;
        settings.emplace(beginning + ".enable", row.m_bVolMonitoringEnable ? "true" : "false");
        settings.emplace(beginning + ".threshold", std::to_string(row.m_iThreshold));
    }
    return settings;
}

// What a pattern matches whose only special character is the star.
bool MatchesStars(const string& pattern, const string& name) {
    const string::size_type star = pattern.find('*');
    if (star == string::npos) {
        return name == pattern;
    }
    if (name.compare(0, star, pattern, 0, star) != 0) {
        return false;
    }
    string::size_type at = star;
    string rest = pattern.substr(star + 1);
    for (auto next = rest.find('*'); next != string::npos; next = rest.find('*')) {
        at = name.find(rest.substr(0, next), at);
        if (at == string::npos) {
            return false;
        }
        at += next;
        rest.erase(0, next + 1);
    }
    return name.size() >= at + rest.size() && name.substr(name.size() - rest.size()) == rest;
}

bool Matches(const string& pattern, const string& name) {
    if (pattern.find_first_of("?[") == string::npos) {
        return MatchesStars(pattern, name);
    }
    return fnmatch(pattern.c_str(), name.c_str(), FNM_NOESCAPE) == 0;
}

// What an assignment means where file systems of these names are.
struct CMeaning {
    bool m_isExact = true;
    Texts m_keys; // none when there is no such setting
};

CMeaning MeaningOf(const Texts& names, const record::CAddress& address) {
    if (address.m_key != nullptr) {
        return {true, {address.m_text}};
    }
    const auto key = [&address](const string& name) {
        return "fs:" + name + "." + address.m_volumeKey->m_name;
    };
    // The name as it was written, then what its escapes stand for.
    for (const auto& name : {std::optional(address.m_name), output::Unescape(address.m_name)}) {
        if (name && std::find(names.begin(), names.end(), *name) != names.end()) {
            return {true, {key(*name)}};
        }
    }
    CMeaning meaning{address.m_name.find_first_of("*?[") == string::npos, {}};
    for (const string& name : names) {
        if (!meaning.m_isExact && Matches(address.m_name, name)) {
            meaning.m_keys.push_back(key(name));
        }
    }
    return meaning;
}

// The settings that a request must have; nothing where it must be refused.
std::optional<Values> WantedSettings(const Texts& names, const Assignments& assignments) {
    Values wanted = Settings(MakeLoggerConf(names));
    std::set<string> given;
    for (const bool isExact : {false, true}) {
        for (const record::CAssignment& assignment : assignments) {
            const CMeaning meaning = MeaningOf(names, assignment.m_address);
            if (meaning.m_keys.empty()) {
                return std::nullopt;
            }
            if (meaning.m_isExact != isExact) {
                continue;
            }
            for (const string& key : meaning.m_keys) {
                if (isExact && !given.insert(key).second) {
                    return std::nullopt;
                }
                wanted[key] = record::TextOf(assignment.m_value);
            }
        }
    }
    return wanted;
}

// Of file systems that have names of their own.
void CheckChanges(const CLoggerConf& from, const CLoggerConf& to) {
    Values changed = Settings(from);
    for (const record::CChange& change : record::FindChanges(from, to)) {
        CProperty::RequireEqual(changed.at(change.m_text), record::TextOf(change.m_old),
                                "a change begins at the old value");
        CProperty::Require(change.m_old != change.m_new, "a change is one");
        changed[change.m_text] = record::TextOf(change.m_new);
    }
    CProperty::Require(changed == Settings(to), "the changes lead from the one to the other");
}

void CheckRequest(const Texts& names, const Assignments& assignments) {
    const CLoggerConf present = MakeLoggerConf(names);
    const auto wanted = WantedSettings(names, assignments);
    const auto request = record::MakeRequest(present, assignments);
    CProperty::Require(
        request.has_value() == wanted.has_value(),
        "a request is made exactly when each setting exists and is given once by its name");
    if (!request) {
        CProperty::Require(!request.error().m_reasons.empty(),
                           "a request that is not made has its reasons");
        for (const string& reason : request.error().m_reasons) {
            CProperty::Require(CPrintable::Is(reason), "a reason is safe to print");
        }
        return;
    }
    CProperty::Require(Settings(request->m_conf) == *wanted,
                       "a request holds what was given, and the rest as it was");
    CProperty::Require(request->m_asked.size() == assignments.size(),
                       "a request knows what was asked for");
    if (std::set<string>(names.begin(), names.end()).size() == names.size()) {
        CheckChanges(present, request->m_conf);
    }
}

// Whether a text is one that an argument can be and a match can be found for in short time.
bool IsOrdinary(const string& text) {
    constexpr std::ptrdiff_t kMostStars = 4;
    return text.find('\0') == string::npos &&
           std::count(text.begin(), text.end(), '*') <= kMostStars;
}

void CheckAll(const CInput& input) {
    Texts texts;
    Assignments assignments;
    for (const string& text : CInput::Split(input.Section(kAssignments))) {
        if (text.find('=') == string::npos) {
            CheckKey(text);
        }
        if (const auto assignment = CheckAssignment(text)) {
            texts.push_back(text);
            if (IsOrdinary(text)) {
                assignments.push_back(*assignment);
            }
        }
    }
    std::set<string> keys;
    for (const string& text : texts) {
        keys.insert(CSettingFormat(text).m_sKey);
    }
    CProperty::Require(record::ParseAssignments(texts).has_value() == (keys.size() == texts.size()),
                       "assignments are taken exactly when each key stands there once");
    Texts names;
    for (const string& name : CInput::Split(input.Section(kNames))) {
        if (name.find('\0') == string::npos) {
            names.push_back(name);
        }
    }
    CheckRequest(names, assignments);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CInput input(data, size, 2);
    for (const char* locale : {kUtf8Locale, kPlainLocale}) {
        const CLocale set(locale);
        CheckEscapes(input.Section(kNames));
        CheckEscapes(input.Section(kAssignments));
    }
    const CLocale set(kUtf8Locale);
    CheckAll(input);
    return 0;
}
