#include "tests/fuzz/support/CAgentFormat.h"

#include <string_view>
#include <utility>

using std::string;

namespace {

constexpr std::array<std::string_view, 4> kKeys{"SyslogOutput", "InformationAlert", "WarningAlert",
                                                "ObstacleAlert"};

// Where the value word of a key begins and what it is, in the line; empty when the line gives it
// none.
struct FoundValue {
    string::size_type m_begin;
    std::string_view m_sWord;
};

FoundValue ValueOf(const string& line, std::string_view key) {
    string::size_type begin = CFileFormat::ValueBegin(line, key).value_or(line.size());
    while (begin < line.size() && line[begin] == ' ') {
        ++begin;
    }
    const std::string_view behind = std::string_view(line).substr(begin);
    return {begin, behind.substr(0, behind.find(' '))};
}

bool IsSwitch(std::string_view word) {
    return word == "True" || word == "False";
}

} // namespace

CAgentFormat::Switches CAgentFormat::Of(const CLoggerSyslogOutputConf& conf) {
    return {conf.m_bSyslogOutput, conf.m_bInformationAlert, conf.m_bWarningAlert,
            conf.m_bObstacleAlert};
}

CAgentFormat::Reading CAgentFormat::Read(const Lines& lines) {
    std::array<std::optional<bool>, kKeys.size()> seen;
    bool isGood = true;
    for (const string& line : lines) {
        std::size_t key = 0;
        while (key < kKeys.size() && ValueOf(line, kKeys[key]).m_sWord.empty()) {
            ++key;
        }
        if (key == kKeys.size()) {
            continue;
        }
        const std::string_view word = ValueOf(line, kKeys[key]).m_sWord;
        if (!IsSwitch(word)) {
            isGood = false;
            break;
        }
        seen[key] = word == "True";
    }
    if (!seen[0] || !seen[1] || !seen[2] || !seen[3]) {
        return {false, {}};
    }
    return {isGood, {*seen[0], *seen[1], *seen[2], *seen[3]}};
}

std::optional<EditedLines> CAgentFormat::Edit(const Lines& lines, const Switches& switches) {
    EditedLines edited;
    edited.reserve(lines.size());
    Switches isWritten{};
    for (const string& line : lines) {
        CEditedLine now{line, false};
        for (std::size_t key = 0; key < kKeys.size(); ++key) {
            const std::string_view word = ValueOf(now.m_sText, kKeys[key]).m_sWord;
            if (word.empty()) {
                continue;
            }
            if (!IsSwitch(word)) {
                return std::nullopt;
            }
            now.m_sText.replace(now.m_sText.find(word), word.size(),
                                CFileFormat::Word(switches[key]));
            now.m_bOwned = true;
            isWritten[key] = true;
        }
        edited.push_back(std::move(now));
    }
    const bool isComplete = isWritten == Switches{true, true, true, true};
    return isComplete ? std::optional(edited) : std::nullopt;
}

bool CAgentFormat::IsPlain(const Lines& lines) {
    for (const string& line : lines) {
        int values = 0;
        for (const std::string_view key : kKeys) {
            const FoundValue value = ValueOf(line, key);
            if (value.m_sWord.empty()) {
                continue;
            }
            ++values;
            if (line.find(value.m_sWord) != value.m_begin) {
                return false;
            }
        }
        if (values > 1) {
            return false;
        }
    }
    return true;
}
