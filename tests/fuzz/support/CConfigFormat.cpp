#include "tests/fuzz/support/CConfigFormat.h"

#include "tests/fuzz/support/CPrintable.h"

#include <algorithm>
#include <sstream>

using std::string;

namespace {

bool IsBlank(char character) {
    return character == ' ' || character == '\t' || character == '\r';
}

string WithoutBlanksAround(string text) {
    while (!text.empty() && IsBlank(text.back())) {
        text.pop_back();
    }
    while (!text.empty() && IsBlank(text.front())) {
        text.erase(0, 1);
    }
    return text;
}

} // namespace

CConfigFormat::CConfigFormat(const string& text) {
    std::istringstream lines(text);
    std::size_t number = 0;
    for (string line; std::getline(lines, line);) {
        ++number;
        line = WithoutBlanksAround(line);
        if (line.empty() || line[0] == '#') {
            continue;
        }
        const auto equals = std::find(line.begin(), line.end(), '=');
        const string name = WithoutBlanksAround({line.begin(), equals});
        const bool isSetting = equals != line.end() && !name.empty() &&
                               std::none_of(line.begin(), line.end(), CPrintable::IsControl);
        if (!isSetting || m_values.count(name) != 0) {
            m_wrongLines.push_back(number);
            continue;
        }
        m_values[name] = {number, WithoutBlanksAround({equals + 1, line.end()})};
    }
}

long CConfigFormat::Number(const string& value) {
    const bool areDigits = !value.empty() && value.find_first_not_of("0123456789") == string::npos;
    if (!areDigits) {
        return -1;
    }
    const string digits = value.substr(std::min(value.find_first_not_of('0'), value.size() - 1));
    const long number = digits.size() > 4 ? -1 : std::stol(digits);
    return number < 10 || number > 3600 ? -1 : number;
}

std::vector<string> CConfigFormat::Words(const string& value) {
    string blanks = value;
    std::replace(blanks.begin(), blanks.end(), ',', ' ');
    std::vector<string> words;
    string word;
    for (const char character : blanks + " ") {
        if (character != ' ' && character != '\t') {
            word += character;
        } else if (!word.empty()) {
            words.push_back(word);
            word.clear();
        }
    }
    return words;
}
