#include "tests/fuzz/support/CInput.h"

#include <algorithm>
#include <utility>

using std::string;

namespace {

constexpr char kSeparator[] = "\n%%\n";

// Takes words off the front of a line.
class CWords {
public:
    explicit CWords(string line) : m_sLine(std::move(line)) {}

    bool Switch() { return Word() == "+"; }

    std::uint32_t Number() {
        constexpr std::uint32_t kTen = 10;
        std::uint32_t number = 0;
        const string word = Word();
        for (const char c : word) {
            if (c >= '0' && c <= '9') {
                number = number * kTen + static_cast<std::uint32_t>(c - '0');
            }
        }
        return !word.empty() && word.front() == '-' ? ~number + 1 : number;
    }

    string Word() {
        const string::size_type begin = m_begin;
        const string::size_type end = std::min(m_sLine.find(' ', begin), m_sLine.size());
        m_begin = std::min(end + 1, m_sLine.size());
        return m_sLine.substr(begin, end - begin);
    }

    [[nodiscard]] string Rest() const { return m_sLine.substr(m_begin); }

private:
    string m_sLine;
    string::size_type m_begin = 0;
};

string Unescaped(const string& text) {
    if (text.find('\\') == string::npos) {
        return text;
    }
    string name;
    for (string::size_type i = 0; i < text.size(); ++i) {
        const string pair = text.substr(i, 2);
        const bool isEscape = pair == "\\n" || pair == "\\0";
        name += pair == "\\n" ? '\n' : pair == "\\0" ? '\0' : text[i];
        i += isEscape ? 1 : 0;
    }
    return name;
}

string TakeLine(Lines* lines) {
    if (lines->empty()) {
        return "";
    }
    string line = std::move(lines->front());
    lines->pop_front();
    return line;
}

template <class Monitor>
void ReadSampling(CWords* words, Monitor* monitor) {
    monitor->m_bMonitoringEnable = words->Switch();
    monitor->m_uiSamplingInterval = words->Number();
    monitor->m_uiSamplingCount = words->Number();
}

} // namespace

CInput::CInput(const std::uint8_t* data, std::size_t size, std::size_t sections) {
    constexpr std::size_t kLength = sizeof(kSeparator) - 1;
    const string text(data, data + size);
    string::size_type begin = 0;
    m_sections.reserve(sections);
    while (m_sections.size() + 1 < sections) {
        const string::size_type end = std::min(text.find(kSeparator, begin), text.size());
        m_sections.push_back(text.substr(begin, end - begin));
        begin = std::min(end + kLength, text.size());
    }
    m_sections.push_back(text.substr(begin));
}

CLoggerConf CInput::Conf(std::size_t index) const {
    Lines lines = Split(Section(index));
    CLoggerConf conf;
    const string switches = TakeLine(&lines);
    for (std::size_t i = 0; i < kLoggerSyslogSwitches.size(); ++i) {
        conf.m_SyslogOutputConf.*kLoggerSyslogSwitches[i].m_pMember =
            i < switches.size() && switches[i] == '+';
    }
    for (CLoggerUsageMonitorConf& monitor : conf.m_UsageMonitorConf) {
        CWords words(TakeLine(&lines));
        ReadSampling(&words, &monitor);
        monitor.m_iThreshold = static_cast<std::int32_t>(words.Number());
    }
    CWords fileSystems(TakeLine(&lines));
    ReadSampling(&fileSystems, &conf.m_FsUsageMonitorConf);
    for (string& line : lines) {
        CWords words(std::move(line));
        const bool enable = words.Switch();
        const auto threshold = static_cast<std::int32_t>(words.Number());
        conf.m_FsUsageMonitorConf.m_FsThresholdConfList.emplace_back(Unescaped(words.Rest()),
                                                                     threshold, enable);
    }
    return conf;
}

Lines CInput::Split(const string& text) {
    Lines lines;
    for (string::size_type begin = 0; begin < text.size();) {
        const string::size_type end = std::min(text.find('\n', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

string CInput::Join(const Lines& lines) {
    string text;
    for (const string& line : lines) {
        text += line + '\n';
    }
    return text;
}
