#include "tests/fuzz/support/CDeviceFormat.h"

#include "tests/fuzz/support/CPrintable.h"

#include <algorithm>
#include <optional>

using std::string;

namespace {

constexpr char kTimeout[] = "TimeoutSeconds";
constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz";
constexpr char kDigits[] = "0123456789";

bool IsName(const string& text) {
    string letters = kLetters;
    for (const char letter : string(kLetters)) {
        letters += static_cast<char>(letter - 'a' + 'A');
    }
    return !text.empty() && text.find_first_not_of(letters + kDigits + "_-") == string::npos;
}

// Blanks outside of quotes part words; quotes stand for nothing themselves.
std::optional<std::vector<string>> Words(const string& text) {
    if (std::count(text.begin(), text.end(), '"') % 2 != 0) {
        return std::nullopt;
    }
    std::vector<string> words;
    bool isQuoted = false;
    bool isNew = true;
    for (const char character : text) {
        const bool isBlank = !isQuoted && (character == ' ' || character == '\t');
        if (!isBlank && isNew) {
            words.emplace_back();
        }
        isNew = isBlank;
        isQuoted = isQuoted != (character == '"');
        if (!isBlank && character != '"') {
            words.back() += character;
        }
    }
    return words;
}

} // namespace

CDeviceFormat::CDeviceFormat(const string& text) {
    std::size_t number = 1;
    for (string::size_type begin = 0; begin < text.size(); ++number) {
        const string::size_type end = std::min(text.find('\n', begin), text.size());
        if (!Take(text.substr(begin, end - begin))) {
            m_wrongLine = number;
            return;
        }
        begin = end + 1;
    }
}

bool CDeviceFormat::Take(const string& line) {
    if (std::any_of(line.begin(), line.end(), CPrintable::IsControl)) {
        return false;
    }
    if (line.find_first_not_of(" \t") == string::npos || line[0] == '#') {
        return true;
    }
    const string::size_type equals = line.find('=');
    const string name = line.substr(0, equals);
    if (equals == string::npos || !IsName(name)) {
        return false;
    }
    const string value = line.substr(equals + 1);
    if (name == kTimeout) {
        return TakeTimeout(value);
    }
    const auto words = Words(value);
    return words && !words->empty() && !words->front().empty() &&
           m_commands.emplace(name, *words).second;
}

bool CDeviceFormat::TakeTimeout(const string& value) {
    constexpr unsigned int kMost = 86400;
    constexpr unsigned int kTen = 10;
    if (m_hasTimeout || value.empty() || value.find_first_not_of(kDigits) != string::npos) {
        return false;
    }
    m_hasTimeout = true;
    m_timeout = 0;
    for (const char digit : value) {
        m_timeout = std::min(kMost + 1, m_timeout * kTen + static_cast<unsigned int>(digit - '0'));
    }
    return m_timeout >= 1 && m_timeout <= kMost;
}

string CDeviceFormat::Write(const Commands& commands, unsigned int timeout) {
    string text = kTimeout + ("=" + std::to_string(timeout)) + "\n";
    for (const auto& [name, words] : commands) {
        text += name + "=";
        for (const string& word : words) {
            text += "\"" + word + "\" ";
        }
        text += "\n";
    }
    return text;
}
