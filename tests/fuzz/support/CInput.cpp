#include "tests/fuzz/support/CInput.h"

#include <algorithm>

using std::string;

namespace {

constexpr char kSeparator[] = "\n%%\n";

// Takes words off the front of a line.
class CWords {
public:
    explicit CWords(const string& line) : m_sRest(line) {}

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
        const string::size_type end = m_sRest.find(' ');
        string word = m_sRest.substr(0, end);
        m_sRest = end == string::npos ? "" : m_sRest.substr(end + 1);
        return word;
    }

    [[nodiscard]] const string& Rest() const { return m_sRest; }

private:
    string m_sRest;
};

string Unescaped(const string& text) {
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
    string line = lines->front();
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
    string rest(data, data + size);
    while (m_sections.size() + 1 < sections) {
        const string::size_type end = rest.find(kSeparator);
        m_sections.push_back(rest.substr(0, end));
        rest = end == string::npos ? "" : rest.substr(end + sizeof(kSeparator) - 1);
    }
    m_sections.push_back(rest);
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
    for (const string& line : lines) {
        CWords words(line);
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
