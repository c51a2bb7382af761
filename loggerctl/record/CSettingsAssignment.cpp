#include "loggerctl/record/CSettingsAssignment.h"

#include "loggerctl/output/CSafeText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

namespace {

using Value = CSettingsAssignment::Value;

struct SwitchWord {
    const char* m_pText;
    bool m_bValue;
};

constexpr std::array kSwitchWords{
    SwitchWord{"true", true}, SwitchWord{"false", false}, SwitchWord{"on", true},
    SwitchWord{"off", false}, SwitchWord{"yes", true},    SwitchWord{"no", false},
    SwitchWord{"1", true},    SwitchWord{"0", false},
};

std::optional<Value> ReadSwitch(const std::string& text) {
    std::string lower = text;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    });
    for (const SwitchWord& word : kSwitchWords) {
        if (lower == word.m_pText) {
            return word.m_bValue;
        }
    }
    return std::nullopt;
}

template <class Number>
std::optional<Value> ReadNumber(const std::string& text) {
    Number number{};
    const char* end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) {
        return std::nullopt;
    }
    return number;
}

std::optional<Value> ReadValue(const std::string& text, WbemType type) {
    switch (type) {
    case WbemType::Boolean:
        return ReadSwitch(text);
    case WbemType::UInt32:
        return ReadNumber<std::uint32_t>(text);
    case WbemType::SInt32:
        return ReadNumber<std::int32_t>(text);
    default:
        return std::nullopt;
    }
}

template <class Number>
std::string WholeNumber() {
    return "a whole number from " + std::to_string(std::numeric_limits<Number>::min()) + " to " +
           std::to_string(std::numeric_limits<Number>::max());
}

std::string Wanted(WbemType type) {
    switch (type) {
    case WbemType::Boolean:
        return "true or false (on, off, yes, no, 1, 0)";
    case WbemType::UInt32:
        return WholeNumber<std::uint32_t>();
    default:
        return WholeNumber<std::int32_t>();
    }
}

// Where the key ends at the earliest: a file system's name may hold an "=".
std::size_t BehindName(const std::string& text) {
    const std::size_t end = text.rfind("].");
    return text.rfind("fs[", 0) == 0 && end != std::string::npos ? end : 0;
}

// Two names can mean one file system; that shows only when it is looked up.
bool IsSameText(const CSettingsAddress& left, const CSettingsAddress& right) {
    return left.m_pKey == right.m_pKey && left.m_volume == right.m_volume;
}

} // namespace

std::optional<CSettingsAssignment> CSettingsAssignment::Parse(const std::string& text,
                                                              std::string* error) {
    const std::size_t equals = text.find('=', BehindName(text));
    const std::optional<CSettingsAddress> address =
        CSettingsKeys::Parse(text.substr(0, equals), error);
    if (!address) {
        return std::nullopt;
    }
    const std::string key = CSafeText::Escape(address->m_sText);
    const std::string wanted = Wanted(address->m_pKey->m_type);
    if (equals == std::string::npos) {
        *error = key + " has no value: write " + key + "=VALUE, where VALUE is " + wanted + ".";
        return std::nullopt;
    }
    const std::string valueText = text.substr(equals + 1);
    const std::optional<Value> value = ReadValue(valueText, address->m_pKey->m_type);
    if (!value) {
        *error = key + " must be " + wanted + ", not '" + CSafeText::Escape(valueText) + "'.";
        return std::nullopt;
    }
    return CSettingsAssignment{*address, *value};
}

std::optional<std::vector<CSettingsAssignment>>
CSettingsAssignment::ParseAll(const std::vector<std::string>& texts, std::string* error) {
    std::vector<CSettingsAssignment> assignments;
    for (const std::string& text : texts) {
        std::optional<CSettingsAssignment> assignment = Parse(text, error);
        if (!assignment) {
            return std::nullopt;
        }
        for (const CSettingsAssignment& earlier : assignments) {
            if (IsSameText(earlier.m_address, assignment->m_address)) {
                *error = CSafeText::Escape(earlier.m_address.m_sText) + " is given twice.";
                return std::nullopt;
            }
        }
        assignments.push_back(std::move(*assignment));
    }
    return assignments;
}
