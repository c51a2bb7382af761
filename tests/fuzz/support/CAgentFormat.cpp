#include "tests/fuzz/support/CAgentFormat.h"

using std::string;

namespace {

constexpr std::array<const char*, 4> kKeys{"SyslogOutput", "InformationAlert", "WarningAlert",
                                           "ObstacleAlert"};

// Where the value word of a key begins and what it is; empty when the line gives it none.
struct Value {
    string::size_type m_begin;
    string m_sWord;
};

Value ValueOf(const string& line, const string& key) {
    string::size_type begin = CFileFormat::ValueBegin(line, key).value_or(line.size());
    while (begin < line.size() && line[begin] == ' ') {
        ++begin;
    }
    const string behind = line.substr(begin);
    return {begin, behind.substr(0, behind.find(' '))};
}

bool IsSwitch(const string& word) {
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
        const string word = ValueOf(line, kKeys[key]).m_sWord;
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
    Switches isWritten{};
    for (const string& line : lines) {
        CEditedLine now{line, false};
        for (std::size_t key = 0; key < kKeys.size(); ++key) {
            const string word = ValueOf(now.m_sText, kKeys[key]).m_sWord;
            if (word.empty()) {
                continue;
            }
            if (!IsSwitch(word)) {
                return std::nullopt;
            }
            const string::size_type first = now.m_sText.find(word);
            now.m_sText = now.m_sText.substr(0, first) + CFileFormat::Word(switches[key]) +
                          now.m_sText.substr(first + word.size());
            now.m_bOwned = true;
            isWritten[key] = true;
        }
        edited.push_back(now);
    }
    const bool isComplete = isWritten == Switches{true, true, true, true};
    return isComplete ? std::optional(edited) : std::nullopt;
}

bool CAgentFormat::IsPlain(const Lines& lines) {
    for (const string& line : lines) {
        int values = 0;
        for (const char* key : kKeys) {
            const Value value = ValueOf(line, key);
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
