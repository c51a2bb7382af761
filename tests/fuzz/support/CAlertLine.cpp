#include "tests/fuzz/support/CAlertLine.h"

#include "tests/fuzz/support/CFileFormat.h"

#include <algorithm>

using std::string;

namespace {

constexpr char kEntryKey[] = "FSNAME=";
constexpr char kMarker[] = "#KZM# ";

bool Contains(const string& text, std::string_view part) {
    return text.find(part) != string::npos;
}

// What stands between the first opening and the next closing mark; false when one is missing.
// *text becomes what follows.
bool TakeBetween(char open, char close, string* text, string* between) {
    const string::size_type begin = text->find(open);
    const string::size_type end = begin == string::npos ? begin : text->find(close, begin + 1);
    if (end == string::npos) {
        return false;
    }
    *between = text->substr(begin + 1, end - begin - 1);
    *text = text->substr(end + 1);
    return true;
}

} // namespace

string CAlertLine::List(std::string_view key) const {
    const auto begin = CFileFormat::ValueBegin(m_sLine, key);
    if (!begin) {
        return "";
    }
    string value = m_sLine.substr(*begin);
    string list;
    const bool isClosedFirst = value.find(')') < value.find('(');
    return !isClosedFirst && TakeBetween('(', ')', &value, &list) ? list : "";
}

std::list<string> CAlertLine::Fields(const string& list) {
    std::list<string> fields(1);
    for (const char c : list) {
        if (c == ',') {
            fields.emplace_back();
        } else {
            fields.back() += c;
        }
    }
    return fields;
}

bool CAlertLine::HasSwitch(const string& field) {
    return Contains(field, "True") || Contains(field, "False");
}

bool CAlertLine::Switch(const string& field, bool present) {
    return Contains(field, "True") || (present && !Contains(field, "False"));
}

std::uint32_t CAlertLine::Number(const string& field) {
    constexpr std::uint64_t kHighest = INT64_MAX;
    constexpr std::uint64_t kTen = 10;
    const string::size_type begin = std::min(field.find_first_not_of(" \t\n\v\f\r"), field.size());
    string digits = field.substr(begin);
    const bool isNegative = !digits.empty() && digits.front() == '-';
    digits.erase(0, isNegative || (!digits.empty() && digits.front() == '+') ? 1 : 0);
    const std::uint64_t bound = isNegative ? kHighest + 1 : kHighest;
    std::uint64_t number = 0;
    for (const char c : digits.substr(0, digits.find_first_not_of("0123456789"))) {
        const auto digit = static_cast<std::uint64_t>(c - '0');
        number = number > (bound - digit) / kTen ? bound : number * kTen + digit;
    }
    return static_cast<std::uint32_t>(isNegative ? ~number + 1 : number);
}

CAlertLine::Entry CAlertLine::FileSystem() const {
    if (!Contains(m_sLine, kEntryKey)) {
        return {Kind::kNone, "", 0, false};
    }
    const bool isMarked = Contains(m_sLine, kMarker);
    const auto begin = CFileFormat::ValueBegin(m_sLine, kEntryKey);
    if (!isMarked && !begin) {
        return {Kind::kNone, "", 0, false};
    }
    string value = m_sLine.substr(isMarked ? m_sLine.find('=') + 1 : *begin);
    string name;
    string number;
    if (!TakeBetween('"', '"', &value, &name) || !TakeBetween('(', ')', &value, &number)) {
        return {Kind::kMalformed, "", 0, false};
    }
    const auto threshold = static_cast<std::int32_t>(Number(number));
    const bool isGood = !name.empty() && threshold != 0;
    return {isGood ? Kind::kEntry : Kind::kMalformed, name, threshold, !isMarked};
}

bool CAlertLine::HasListInFirstParentheses() const {
    if (m_sLine.find_first_of("()") >= m_sLine.find('=')) {
        return true;
    }
    return List("CPU=").empty() && List("MEMORY=").empty() && List("FILESYSTEM=").empty();
}
