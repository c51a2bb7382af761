#include "tests/unit/settings/CRandomFiles.h"

#include <algorithm>

using std::string;
using Words = std::vector<string>;

namespace {

// Pieces of text that settle nothing about a line once its first "=" has passed.
const Words kJunk = {" ",  "\t", "#",   "note", "True", "False",    "(",  ")",  ",",
                     "= ", "\"", "CPU", "\xFF", "\x80", "\xC3\xA9", "\r", "1.", "SyslogOutput"};
// Pieces that can stand in front of a key.
const Words kIndents = {"", " ", "\t", "  ", "My", "\xFF ", "; "};
const Words kBlanks = {"", " ", "   "};

// Lines that look like settings and are none.
const Words kLikeSwitches = {"",
                             "SyslogOutput",
                             "WarningAlert=",
                             "ObstacleAlert=   ",
                             "= SyslogOutput=True",
                             "#InformationAlert=True",
                             "  # SyslogOutput = maybe",
                             "syslogoutput=True",
                             "\r"};
const Words kLikeAlertSettings = {"",
                                  "CPU",
                                  "CPU=()",
                                  "CPU =(1,2,3,4)",
                                  "cpu=(1)",
                                  "MEMORY=",
                                  "FILESYSTEM=)(",
                                  "X=1 CPU=(1)",
                                  "#MEMORY=(1)",
                                  "# FSNAME=\"/home\"   (5)",
                                  "X= FSNAME=\"/a\" (5)",
                                  "FILESYSTEM=()\r",
                                  "\r"};

const Words kEnables = {"True", "False", " True ", "xFalsex", "False or True"};
const Words kNumbers = {"60", " 5",         "007", "-1",          "12 of them",
                        " ",  "2147483648", "0",   "99999999999", "\t3"};
const Words kThresholds = {"90", " 75", "80", "1%", "-3", "080"};
const Words kNamePieces = {"a",         "b",    "home",     " ",       "#",  "(",
                           ")",         "=",    "\xC3\xA9", "\xFF",    "\t", "\r",
                           "CPU=(1,2)", " on ", "80%n",     "FSNAME=", "/",  "MEMORY=()"};

string ListText(bool enable, std::uint32_t interval, std::uint32_t count) {
    return string(enable ? "True" : "False") + ", " + std::to_string(static_cast<int>(interval)) +
           ", " + std::to_string(static_cast<int>(count));
}

string ListText(const CLoggerUsageMonitorConf& monitor) {
    return ListText(monitor.m_bMonitoringEnable, monitor.m_uiSamplingInterval,
                    monitor.m_uiSamplingCount) +
           ", " + std::to_string(monitor.m_iThreshold);
}

} // namespace

CRandomFiles::CRandomFiles(unsigned int seed) : m_random(seed) {
    MakeMountTable();
    MakeAgent();
    MakeAlert();
}

// ---- Making ----

void CRandomFiles::MakeMountTable() {
    constexpr std::size_t kMostMounted = 6;
    for (std::size_t count = Below(kMostMounted + 1); count > 0; --count) {
        const string name = "/" + SomeOf(kNamePieces);
        if (std::find(m_mounted.begin(), m_mounted.end(), name) == m_mounted.end()) {
            m_mounted.push_back(name);
        }
        // Some are mounted twice.
        for (std::size_t line = 0; line <= Below(2); ++line) {
            m_sMountOutput += "/dev/x on " + name + " type ext4 (rw)\n";
        }
        m_sMountOutput += Toss() ? "no mount point\n" : "";
    }
}

void CRandomFiles::MakeAgent() {
    for (std::size_t index = 0; index < std::size(kLoggerSyslogSwitches); ++index) {
        for (std::size_t count = 1 + Below(2); count > 0; --count) {
            m_agent.push_back(MakeSwitchLine(index));
        }
    }
    Mix(kLikeSwitches, &m_agent);
}

void CRandomFiles::MakeAlert() {
    const struct {
        Kind kind;
        string key;
        int numbers;
    } lists[] = {
        {Kind::kCpu, "CPU", 3}, {Kind::kMemory, "MEMORY", 3}, {Kind::kFileSystem, "FILESYSTEM", 2}};
    for (const auto& list : lists) {
        for (std::size_t count = 1 + Below(2); count > 0; --count) {
            m_alert.push_back(MakeListLine(list.kind, list.key, list.numbers));
        }
    }
    constexpr std::size_t kMostVolumes = 5;
    for (std::size_t count = Below(kMostVolumes + 1); count > 0; --count) {
        m_alert.push_back(MakeVolumeLine());
    }
    Mix(kLikeAlertSettings, &m_alert);
}

CRandomFiles::Line CRandomFiles::MakeOtherLine(const Words& likeASetting) {
    const string text = Toss()   ? OneOf(likeASetting)
                        : Toss() ? "#" + SomeOf(kJunk)
                                 : "Retention=" + SomeOf(kJunk);
    return {Kind::kOther, text, "", "", 0, ""};
}

CRandomFiles::Line CRandomFiles::MakeSwitchLine(std::size_t index) {
    const string head = OneOf(kIndents) + kLoggerSyslogSwitches[index].m_pName + OneOf(kBlanks) +
                        "=" + OneOf(kBlanks);
    const string tail = Toss() ? "" : " " + SomeOf(kJunk);
    return {Kind::kSwitch, head, Toss() ? "True" : "False", tail, index, ""};
}

CRandomFiles::Line CRandomFiles::MakeListLine(Kind kind, const string& key, int numbers) {
    string fields = OneOf(kEnables);
    for (int number = 0; number < numbers; ++number) {
        fields += "," + OneOf(kNumbers);
    }
    const string head = OneOf(kIndents) + key + "=" + OneOf(kBlanks) + "(";
    return {kind, head, fields, ")" + SomeOf(kJunk), 0, ""};
}

CRandomFiles::Line CRandomFiles::MakeVolumeLine() {
    const bool isKnown = !m_mounted.empty() && Below(4) != 0;
    const string name = isKnown ? OneOf(m_mounted) : "/gone" + SomeOf(kNamePieces);
    const string head = Toss() ? OneOf(kIndents) : OneOf(kIndents) + "#KZM# " + OneOf(kIndents);
    const string text = head + "FSNAME=" + OneOf(kBlanks) + "\"" + name + "\"" + OneOf(kBlanks) +
                        "(" + OneOf(kThresholds) + ")" + SomeOf(kJunk);
    return {Kind::kVolume, "", text, "", 0, name};
}

void CRandomFiles::Mix(const Words& likeASetting, Lines* lines) {
    constexpr std::size_t kMostOtherLines = 8;
    for (std::size_t count = Below(kMostOtherLines + 1); count > 0; --count) {
        lines->push_back(MakeOtherLine(likeASetting));
    }
    std::shuffle(lines->begin(), lines->end(), m_random);
}

CLoggerConf CRandomFiles::MakeConf() {
    CLoggerConf conf;
    for (const LoggerSyslogSwitch& entry : kLoggerSyslogSwitches) {
        conf.m_SyslogOutputConf.*entry.m_pMember = Toss();
    }
    for (CLoggerUsageMonitorConf& monitor : conf.m_UsageMonitorConf) {
        monitor.m_bMonitoringEnable = Toss();
        monitor.m_uiSamplingInterval = Number();
        monitor.m_uiSamplingCount = Number();
        monitor.m_iThreshold = static_cast<int>(Number());
    }
    CLoggerFsUsageMonitorConf& fileSystems = conf.m_FsUsageMonitorConf;
    fileSystems.m_bMonitoringEnable = Toss();
    fileSystems.m_uiSamplingInterval = Number();
    fileSystems.m_uiSamplingCount = Number();
    constexpr std::size_t kHighest = 100;
    for (const string& name : m_mounted) {
        const int threshold = Toss() ? 80 : static_cast<int>(1 + Below(kHighest));
        fileSystems.m_FsThresholdConfList.emplace_back(name, threshold, Toss());
    }
    return conf;
}

std::uint32_t CRandomFiles::Number() {
    return static_cast<std::uint32_t>(m_random());
}

std::size_t CRandomFiles::Below(std::size_t limit) {
    return m_random() % limit;
}

const string& CRandomFiles::OneOf(const Words& words) {
    return words[Below(words.size())];
}

string CRandomFiles::SomeOf(const Words& words) {
    constexpr std::size_t kMost = 5;
    string text;
    for (std::size_t count = Below(kMost + 1); count > 0; --count) {
        text += OneOf(words);
    }
    return text;
}

// ---- What the files hold ----

string CRandomFiles::Text(const Lines& lines) {
    string text;
    for (const Line& line : lines) {
        text += line.m_sHead + line.m_sOwned + line.m_sTail + "\n";
    }
    return text;
}

string CRandomFiles::AgentWith(const CLoggerConf& conf) const {
    Lines lines = m_agent;
    for (Line& line : lines) {
        if (line.m_kind == Kind::kSwitch) {
            const bool value =
                conf.m_SyslogOutputConf.*kLoggerSyslogSwitches[line.m_switch].m_pMember;
            line.m_sOwned = value ? "True" : "False";
        }
    }
    return Text(lines);
}

string CRandomFiles::AlertWith(const CLoggerConf& conf) const {
    Lines lines;
    for (Line line : m_alert) {
        const CLoggerFsUsageMonitorConf& fileSystems = conf.m_FsUsageMonitorConf;
        switch (line.m_kind) {
        case Kind::kCpu:
            line.m_sOwned = ListText(conf.m_UsageMonitorConf[CLoggerConf::kCpu]);
            break;
        case Kind::kMemory:
            line.m_sOwned = ListText(conf.m_UsageMonitorConf[CLoggerConf::kMemory]);
            break;
        case Kind::kFileSystem:
            line.m_sOwned =
                ListText(fileSystems.m_bMonitoringEnable, fileSystems.m_uiSamplingInterval,
                         fileSystems.m_uiSamplingCount);
            line.m_sTail += Block(conf);
            break;
        case Kind::kVolume:
            continue;
        default:
            break;
        }
        lines.push_back(line);
    }
    return Text(lines);
}

bool CRandomFiles::HasLineOf(const string& volume) const {
    return std::any_of(m_alert.begin(), m_alert.end(), [&volume](const Line& line) {
        return line.m_kind == Kind::kVolume && line.m_sVolume == volume;
    });
}

string CRandomFiles::Block(const CLoggerConf& conf) const {
    string block;
    for (const CLoggerFsThresholdConf& row : conf.m_FsUsageMonitorConf.m_FsThresholdConfList) {
        const bool isOff = !row.m_bVolMonitoringEnable;
        if (isOff && row.m_iThreshold == 80 && !HasLineOf(row.m_sVolumeName)) {
            continue;
        }
        block += string("\n") + (isOff ? "#KZM# \t" : "") + "FSNAME=\"" + row.m_sVolumeName +
                 "\"   (" + std::to_string(row.m_iThreshold) + ")";
    }
    return block;
}
