// The keys and assignments of the command line. The input is the names of the file systems, a line
// each, then assignments, a line each.

#include "loggerctl/output/CSafeText.h"
#include "loggerctl/record/CSetRequest.h"
#include "tests/fuzz/support/CInput.h"
#include "tests/fuzz/support/CPrintable.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/CSettingFormat.h"
#include "tests/fuzz/support/FuzzTarget.h"
#include "tests/system/loggerctl/CLocale.h"
#include "tests/system/loggerctl/SampleSettings.h"

#include <algorithm>
#include <map>
#include <set>

using std::string;
using Type = CSettingFormat::Type;
using Assignments = std::vector<CSettingsAssignment>;

namespace {

constexpr std::size_t kNames = 0;
constexpr std::size_t kAssignments = 1;

// "Unknown key 'KEY'" or "KEY must be" or "KEY has no value".
void RequireRefusal(const string& text, const string& error) {
    const string::size_type end = std::min(error.find(" must be "), error.find(" has no value: "));
    const string key = CSafeText::Unescape(error.substr(0, end)).value_or("");
    const bool isOfText =
        text.compare(0, key.size(), key) == 0 && CSettingFormat::TypeOf(key) != Type::kNone;
    CProperty::Require(error.rfind("Unknown key '", 0) == 0 || isOfText, "a refusal names the key");
    CProperty::Require(CPrintable::Is(error), "a refusal is safe to print");
}

void CheckKey(const string& text) {
    string error;
    const auto address = CSettingsKeys::Parse(text, &error);
    CProperty::Require(address.has_value() == (CSettingFormat::TypeOf(text) != Type::kNone),
                       "a key is taken exactly when it means a setting");
    if (!address) {
        RequireRefusal(text, error);
        return;
    }
    const string shown = address->m_volume
                             ? "fs[" + *address->m_volume + "]." + address->m_pKey->m_pName
                             : address->m_pKey->m_pName;
    CProperty::RequireEqual(text, shown, "a key's parts are the key");
}

std::optional<CSettingsAssignment> CheckAssignment(const string& text) {
    string error;
    auto assignment = CSettingsAssignment::Parse(text, &error);
    const CSettingFormat parts(text);
    CProperty::Require(assignment.has_value() == !parts.m_sValue.empty(),
                       "an assignment is taken exactly when key and value are good");
    if (!assignment) {
        RequireRefusal(text, error);
        return std::nullopt;
    }
    CProperty::RequireEqual(parts.m_sKey, assignment->m_address.m_sText,
                            "an assignment's key is what stands in front of its last '='");
    return assignment;
}

void CheckEscapes(const string& text) {
    const string safe = CSafeText::Escape(text);
    CProperty::Require(CPrintable::Is(safe) && safe.find('\n') == string::npos,
                       "an escaped text is safe to print on one line");
    const auto raw = CSafeText::Unescape(safe);
    CProperty::Require(raw.has_value(), "an escaped text can be read");
    CProperty::RequireEqual(text, *raw, "an escaped text means what was escaped");
}

// Every setting of a record as it is printed, by its key. Of file systems with one name the first
// is meant.
std::map<string, string> Settings(IWbemClassObject* loggerConf) {
    std::map<string, string> settings;
    for (const CSettingsAddress& address : CSettingsKeys::All(loggerConf)) {
        string error;
        const auto value = CSettingsKeys::ReadText(address, loggerConf, &error);
        CProperty::Require(value.has_value(), "every setting of a record can be printed");
        settings[address.m_sText] = *value;
    }
    return settings;
}

// The key under which a setting stands in a record that has these names: the name as it was
// written, or what its escapes stand for. Nothing for a file system that is not there.
std::optional<string> KeyIn(const std::vector<string>& names, const CSettingsAddress& address) {
    if (!address.m_volume) {
        return address.m_sText;
    }
    for (const auto& name :
         {std::optional(*address.m_volume), CSafeText::Unescape(*address.m_volume)}) {
        if (name && std::find(names.begin(), names.end(), *name) != names.end()) {
            return "fs[" + *name + "]." + address.m_pKey->m_pName;
        }
    }
    return std::nullopt;
}

void CheckRequest(const std::vector<string>& names, const Assignments& assignments) {
    const auto present = MakeLoggerConf(names);
    std::map<string, string> wanted = Settings(present.get());
    std::set<string> given;
    bool isGood = true;
    for (const CSettingsAssignment& assignment : assignments) {
        const auto key = KeyIn(names, assignment.m_address);
        isGood = isGood && key && given.insert(*key).second;
        if (isGood) {
            wanted[*key] = std::visit(
                [](auto value) {
                    return std::is_same_v<decltype(value), bool> ? (value ? "true" : "false")
                                                                 : std::to_string(value);
                },
                assignment.m_value);
        }
    }
    std::vector<string> reasons;
    auto request = CSetRequest::FromAssignments(assignments, *present, &reasons);
    CProperty::Require(request.has_value() == isGood,
                       "a request is made exactly when each setting exists and is given once");
    CProperty::Require(isGood == reasons.empty(), "a request that is not made has its reasons");
    for (const string& reason : reasons) {
        CProperty::Require(CPrintable::Is(reason), "a reason is safe to print");
    }
    if (request) {
        CProperty::Require(Settings(request->LoggerConf()) == wanted,
                           "a request holds what was given, and the rest as it was");
    }
}

void CheckAll(const CInput& input) {
    Assignments assignments;
    for (const string& text : CInput::Split(input.Section(kAssignments))) {
        if (text.find('=') == string::npos) {
            CheckKey(text);
        }
        if (const auto assignment = CheckAssignment(text)) {
            assignments.push_back(*assignment);
        }
    }
    const Lines names = CInput::Split(input.Section(kNames));
    CheckRequest({names.begin(), names.end()}, assignments);
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
