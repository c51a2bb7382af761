#include "tests/fuzz/support/CSettingFormat.h"

#include <algorithm>
#include <set>
#include <utility>

using std::string;
using Type = CSettingFormat::Type;

namespace {

bool EndsWith(const string& text, const string& end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// What stands behind "group.", of the three groups of monitors.
Type TypeOfMember(const string& group, const string& member) {
    if (member == "enable") {
        return Type::kSwitch;
    }
    if (member == "interval" || member == "count") {
        return Type::kUnsigned;
    }
    return member == "threshold" && group != "fs" ? Type::kSigned : Type::kNone;
}

// What stands behind "fs:" or "fs[", where the text in the middle ends a name.
Type TypeOfVolumeKey(const string& rest, const string& middle) {
    for (const auto& [member, type] :
         {std::pair("enable", Type::kSwitch), std::pair("threshold", Type::kSigned)}) {
        const string end = middle + member;
        if (EndsWith(rest, end) && rest.size() > end.size()) {
            return type;
        }
    }
    return Type::kNone;
}

string Switch(const string& value) {
    string lower;
    for (const char c : value) {
        lower += c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    }
    const std::set<string> on{"true", "on", "yes", "1"};
    const std::set<string> off{"false", "off", "no", "0"};
    return on.count(lower) != 0 ? "true" : off.count(lower) != 0 ? "false" : "";
}

string Number(const string& value, bool isSigned) {
    const bool isNegative = isSigned && !value.empty() && value.front() == '-';
    const string digits = value.substr(isNegative ? 1 : 0);
    if (digits.empty() || digits.find_first_not_of("0123456789") != string::npos) {
        return "";
    }
    constexpr std::size_t kMostDigits = 10;
    const string::size_type begin = std::min(digits.find_first_not_of('0'), digits.size() - 1);
    const string plain = digits.substr(begin);
    const string most = !isSigned ? "4294967295" : isNegative ? "2147483648" : "2147483647";
    if (plain.size() > kMostDigits || (plain.size() == kMostDigits && plain > most)) {
        return "";
    }
    return (isNegative && plain != "0" ? "-" : "") + plain;
}

string Value(const string& value, Type type) {
    return type == Type::kSwitch ? Switch(value) : Number(value, type == Type::kSigned);
}

} // namespace

CSettingFormat::CSettingFormat(const string& text)
    : m_sKey(text.substr(0, text.rfind('='))),
      m_type(text.find('=') == string::npos ? Type::kNone : TypeOf(m_sKey)),
      m_sValue(m_type == Type::kNone ? "" : Value(text.substr(text.rfind('=') + 1), m_type)) {}

CSettingFormat::Type CSettingFormat::TypeOf(const string& key) {
    for (const auto& [begin, middle] : {std::pair("fs[", "]."), std::pair("fs:", ".")}) {
        if (key.rfind(begin, 0) == 0) {
            return TypeOfVolumeKey(key.substr(string(begin).size()), middle);
        }
    }
    const string::size_type dot = std::min(key.find('.'), key.size());
    const string group = key.substr(0, dot);
    const string member = key.substr(std::min(dot + 1, key.size()));
    if (group == "syslog") {
        const std::set<string> switches{"output", "information", "warning", "obstacle"};
        return switches.count(member) != 0 ? Type::kSwitch : Type::kNone;
    }
    const bool isMonitor = group == "cpu" || group == "memory" || group == "fs";
    return isMonitor ? TypeOfMember(group, member) : Type::kNone;
}
