#include "tests/fuzz/support/CHistoryFormat.h"

#include <algorithm>

using std::string;

namespace {

bool TakeValue(const string& line, const string& key, string* value) {
    if (line.compare(0, key.size(), key) != 0) {
        return false;
    }
    *value = line.substr(key.size());
    return true;
}

int DaysOf(int year, int month) {
    constexpr int kFebruary = 2;
    const bool isLeap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    if (month == kFebruary) {
        return isLeap ? 29 : 28;
    }
    return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

} // namespace

CHistoryFormat::CHistoryFormat(const string& text) {
    bool isFirst = true;
    for (string::size_type begin = 0; begin < text.size();) {
        const string::size_type end = std::min(text.find('\n', begin), text.size());
        const string line = text.substr(begin, end - begin);
        begin = end + 1;
        string name;
        if (isFirst) {
            m_reason = line;
        } else if (TakeValue(line, "missing=", &name)) {
            m_missing.push_back(name);
        } else if (line == "missing") {
            m_missing.emplace_back();
        } else if (line == "user") {
            m_user.clear();
        } else if (line == "sudo") {
            m_sudoUser.clear();
        } else if (line == "from") {
            m_from.clear();
        } else if (!TakeValue(line, "user=", &m_user) && !TakeValue(line, "sudo=", &m_sudoUser)) {
            TakeValue(line, "from=", &m_from);
        }
        isFirst = false;
    }
}

string CHistoryFormat::WithoutControls(string text) {
    for (char& character : text) {
        const auto byte = static_cast<unsigned char>(character);
        character = byte < ' ' || byte == 0x7F ? ' ' : character;
    }
    return text;
}

void CHistoryFormat::ReplaceControls() {
    for (string* value : {&m_reason, &m_user, &m_sudoUser, &m_from}) {
        *value = WithoutControls(*value);
    }
    for (string& name : m_missing) {
        name = WithoutControls(name);
    }
}

bool CHistoryFormat::IsId(const string& text) {
    const string pattern = "dddddddd-dddddd-ddd";
    if (text.size() != pattern.size()) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isDigit = text[i] >= '0' && text[i] <= '9';
        if (pattern[i] == 'd' ? !isDigit : text[i] != '-') {
            return false;
        }
    }
    const auto number = [&text](std::size_t begin, std::size_t length) {
        return std::stoi(text.substr(begin, length));
    };
    const int year = number(0, 4);
    const int month = number(4, 2);
    const int day = number(6, 2);
    return year >= 1000 && month >= 1 && month <= 12 && day >= 1 && day <= DaysOf(year, month) &&
           number(9, 2) < 24 && number(11, 2) < 60 && number(13, 2) < 60;
}
