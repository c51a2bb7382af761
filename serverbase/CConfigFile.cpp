#include "serverbase/CConfigFile.h"

#include "serverbase/PrintableText.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <memory>
#include <system_error>

namespace {

constexpr char kBlanks[] = " \t\r";
constexpr char kSeparators[] = " \t,";

std::string Trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

bool HasControls(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](char character) {
        const auto code = static_cast<unsigned char>(character);
        return (code < ' ' && code != '\t') || code == 0x7F;
    });
}

struct CFileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// The file up to one byte more than may be. `error` says why it cannot be read, 0 when it can.
std::string TextOf(const std::string& path, int* error) {
    std::string text(CConfigFile::kBytes + 1, '\0');
    const std::unique_ptr<std::FILE, CFileCloser> file(std::fopen(path.c_str(), "re"));
    if (file == nullptr) {
        *error = errno;
        return {};
    }
    text.resize(std::fread(text.data(), 1, text.size(), file.get()));
    *error = std::ferror(file.get()) == 0 ? 0 : errno;
    return text;
}

} // namespace

CConfigFile CConfigFile::Read(const std::string& path) {
    int error = 0;
    const std::string text = TextOf(path, &error);
    CConfigFile file = OfText(path, error == 0 ? text : "");
    if (error != 0 && error != ENOENT) {
        const std::string reason = std::generic_category().message(error);
        file.m_problems.push_back({0, "The file cannot be read: " + reason + "."});
    }
    return file;
}

CConfigFile CConfigFile::OfText(const std::string& path, const std::string& text) {
    CConfigFile file;
    file.m_path = path;
    if (text.size() > kBytes) {
        const std::string most = std::to_string(kBytes);
        file.m_problems.push_back({0, "The file is larger than " + most + " bytes. Shorten it."});
        return file;
    }
    std::size_t line = 0;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        file.TakeLine(++line, Trimmed(text.substr(begin, end - begin)));
        begin = end + 1;
    }
    return file;
}

void CConfigFile::TakeLine(std::size_t line, const std::string& text) {
    if (text.empty() || text.front() == '#') {
        return;
    }
    if (HasControls(text)) {
        m_problems.push_back({line, "Has a control character. Remove it."});
        return;
    }
    const std::size_t equals = text.find('=');
    const std::string name = Trimmed(text.substr(0, equals));
    if (equals == std::string::npos || name.empty()) {
        m_problems.push_back({line, "Is no \"Name=value\". Correct it, or put a # in front."});
        return;
    }
    const auto [known, isNew] = m_lines.insert({name, {line, Trimmed(text.substr(equals + 1))}});
    if (!isNew) {
        const std::string first = std::to_string(known->second.m_line);
        m_problems.push_back(
            {line, name + " stands in line " + first + " already. Remove one of the two."});
    }
}

const CConfigFile::CLine* CConfigFile::Take(const std::string& name) {
    const auto line = m_lines.find(name);
    if (line == m_lines.end()) {
        return nullptr;
    }
    line->second.m_taken = true;
    return &line->second;
}

std::string CConfigFile::TakeText(const std::string& name, const std::string& absent) {
    const CLine* const line = Take(name);
    return line == nullptr ? absent : line->m_value;
}

std::vector<std::string> CConfigFile::TakeWords(const std::string& name,
                                                const std::vector<std::string>& absent) {
    const CLine* const line = Take(name);
    if (line == nullptr) {
        return absent;
    }
    std::vector<std::string> words;
    const std::string& value = line->m_value;
    for (std::size_t begin = value.find_first_not_of(kSeparators); begin != std::string::npos;) {
        const std::size_t end = value.find_first_of(kSeparators, begin);
        words.push_back(value.substr(begin, end - begin));
        begin = value.find_first_not_of(kSeparators, end);
    }
    return words;
}

unsigned long CConfigFile::TakeNumber(const std::string& name, unsigned long absent,
                                      unsigned long minimum, unsigned long maximum) {
    const CLine* const line = Take(name);
    if (line == nullptr) {
        return absent;
    }
    const char* const begin = line->m_value.data();
    const char* const end = begin + line->m_value.size();
    unsigned long number = 0;
    const auto [behind, error] = std::from_chars(begin, end, number);
    if (error != std::errc() || behind != end || number < minimum || number > maximum) {
        Refuse(name, "\"" + line->m_value + "\" is no number from " + std::to_string(minimum) +
                         " to " + std::to_string(maximum) + ".");
        return absent;
    }
    return number;
}

void CConfigFile::Refuse(const std::string& name, const std::string& what) {
    const CLine* const line = Take(name);
    std::string text = name;
    text += ": " + what;
    m_problems.push_back({line == nullptr ? 0 : line->m_line, text});
}

std::vector<std::string> CConfigFile::Problems() const {
    std::vector<CProblem> problems = m_problems;
    for (const auto& [name, line] : m_lines) {
        if (!line.m_taken) {
            problems.push_back(
                {line.m_line, name + " is unknown. Correct its spelling, or remove the line."});
        }
    }
    std::stable_sort(
        problems.begin(), problems.end(),
        [](const CProblem& left, const CProblem& right) { return left.m_line < right.m_line; });
    std::vector<std::string> texts(problems.size());
    std::transform(problems.begin(), problems.end(), texts.begin(),
                   [this](const CProblem& problem) { return Worded(problem); });
    return texts;
}

std::string CConfigFile::Worded(const CProblem& problem) const {
    const std::string line = problem.m_line == 0 ? "" : ", line " + std::to_string(problem.m_line);
    return daemon_base::Printable(m_path + line + ": " + problem.m_text);
}
