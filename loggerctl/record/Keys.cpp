#include "loggerctl/record/Keys.h"

#include "loggerctl/output/SafeText.h"
#include "loggerctl/record/Suggestion.h"
#include "settings/LoggerDefinitions.h"

#include <fnmatch.h>

#include <algorithm>
#include <array>
#include <optional>

namespace record {

namespace {

using namespace LoggerDefinitions;
using output::ExitCode;
using output::Expected;
using output::Fail;
using Row = CLoggerFsThresholdConf;

constexpr char kBracketPrefix[] = "fs[";
constexpr char kBracketEnd = ']';
constexpr char kColonPrefix[] = "fs:";
constexpr char kFileSystemGroup[] = "fs";
constexpr std::array kGroups{"syslog", "cpu", "memory", kFileSystemGroup};
constexpr char kPatternCharacters[] = "*?[";

bool BeginsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

std::string Quoted(const std::string& text) {
    return "'" + output::Escape(text) + "'";
}

const CVolumeKey* FindVolumeKey(const std::string& name) {
    for (const CVolumeKey& key : VolumeKeys()) {
        if (name == key.m_name) {
            return &key;
        }
    }
    return nullptr;
}

std::vector<std::string> Names(const std::string& volumePart) {
    std::vector<std::string> names;
    for (const CKey& key : Keys()) {
        names.emplace_back(key.m_name);
    }
    for (const CVolumeKey& key : VolumeKeys()) {
        names.push_back(volumePart + "." + key.m_name);
    }
    return names;
}

// ---- Reading keys ----

Expected<CAddress> NoVolumeKey(const std::string& text) {
    return Fail(ExitCode::Usage, "Unknown key " + Quoted(text) +
                                     ": a file system's key is written fs:/home.enable or "
                                     "fs:/home.threshold.");
}

// `end` is where the name ends, `rest` where the name of the setting begins.
Expected<CAddress> MakeVolumeAddress(const std::string& text, std::size_t end, std::size_t rest) {
    const std::size_t begin = sizeof(kColonPrefix) - 1;
    const CVolumeKey* key = rest < text.size() ? FindVolumeKey(text.substr(rest)) : nullptr;
    const bool dot = rest > 0 && rest <= text.size() && text[rest - 1] == '.';
    if (key == nullptr || !dot) {
        const std::string volumePart = text.substr(0, rest - 1);
        return Fail(ExitCode::Usage, "Unknown key " + Quoted(text) +
                                         ": behind the file system's name stands .enable or "
                                         ".threshold." +
                                         Question(text, Names(volumePart)));
    }
    return CAddress{text, nullptr, key, text.substr(begin, end - begin)};
}

Expected<CAddress> ParseBracketKey(const std::string& text) {
    const std::size_t end = text.rfind(kBracketEnd);
    if (end == std::string::npos || end <= sizeof(kBracketPrefix) - 1) {
        return NoVolumeKey(text);
    }
    return MakeVolumeAddress(text, end, end + 2);
}

Expected<CAddress> ParseColonKey(const std::string& text) {
    const std::size_t end = text.rfind('.');
    if (end == std::string::npos || end <= sizeof(kColonPrefix) - 1) {
        return NoVolumeKey(text);
    }
    return MakeVolumeAddress(text, end, end + 1);
}

void AddGroup(const std::string& group, std::vector<CAddress>* addresses) {
    for (const CKey& key : Keys()) {
        if (BeginsWith(key.m_name, group + ".")) {
            addresses->push_back({key.m_name, &key});
        }
    }
    if (group == kFileSystemGroup) {
        for (const CVolumeKey& key : VolumeKeys()) {
            addresses->push_back({VolumeKeyText("*", key), nullptr, &key, "*"});
        }
    }
}

bool IsPattern(const std::string& name) {
    return name.find_first_of(kPatternCharacters) != std::string::npos;
}

} // namespace

// ---- The tables ----

const std::vector<CKey>& Keys() {
    using Conf = CLoggerConf;
    constexpr int kCpu = Conf::kCpu;
    constexpr int kMemory = Conf::kMemory;
    // clang-format off
    static const std::vector<CKey> keys{
        {"syslog.output", kSyslogOutputConf, "SyslogOutput",
         [](Conf& conf) -> CMember { return &conf.m_SyslogOutputConf.m_bSyslogOutput; }},
        {"syslog.information", kSyslogOutputConf, "InformationAlert",
         [](Conf& conf) -> CMember { return &conf.m_SyslogOutputConf.m_bInformationAlert; }},
        {"syslog.warning", kSyslogOutputConf, "WarningAlert",
         [](Conf& conf) -> CMember { return &conf.m_SyslogOutputConf.m_bWarningAlert; }},
        {"syslog.obstacle", kSyslogOutputConf, "ObstacleAlert",
         [](Conf& conf) -> CMember { return &conf.m_SyslogOutputConf.m_bObstacleAlert; }},
        {"cpu.enable", kUsageMonitorConfCpu, kMonitoringEnable,
         [](Conf& conf) -> CMember { return &conf.m_UsageMonitorConf[kCpu].m_bMonitoringEnable; }},
        {"cpu.interval", kUsageMonitorConfCpu, kSamplingInterval,
         [](Conf& conf) -> CMember { return &conf.m_UsageMonitorConf[kCpu].m_uiSamplingInterval; }},
        {"cpu.count", kUsageMonitorConfCpu, kSamplingCount,
         [](Conf& conf) -> CMember { return &conf.m_UsageMonitorConf[kCpu].m_uiSamplingCount; }},
        {"cpu.threshold", kUsageMonitorConfCpu, kThreshold,
         [](Conf& conf) -> CMember { return &conf.m_UsageMonitorConf[kCpu].m_iThreshold; }},
        {"memory.enable", kUsageMonitorConfMemory, kMonitoringEnable,
         [](Conf& conf) -> CMember { return &conf.m_UsageMonitorConf[kMemory].m_bMonitoringEnable; }},
        {"memory.interval", kUsageMonitorConfMemory, kSamplingInterval,
         [](Conf& conf) -> CMember { return &conf.m_UsageMonitorConf[kMemory].m_uiSamplingInterval; }},
        {"memory.count", kUsageMonitorConfMemory, kSamplingCount,
         [](Conf& conf) -> CMember { return &conf.m_UsageMonitorConf[kMemory].m_uiSamplingCount; }},
        {"memory.threshold", kUsageMonitorConfMemory, kThreshold,
         [](Conf& conf) -> CMember { return &conf.m_UsageMonitorConf[kMemory].m_iThreshold; }},
        {"fs.enable", kFsUsageMonitorConf, kMonitoringEnable,
         [](Conf& conf) -> CMember { return &conf.m_FsUsageMonitorConf.m_bMonitoringEnable; }},
        {"fs.interval", kFsUsageMonitorConf, kSamplingInterval,
         [](Conf& conf) -> CMember { return &conf.m_FsUsageMonitorConf.m_uiSamplingInterval; }},
        {"fs.count", kFsUsageMonitorConf, kSamplingCount,
         [](Conf& conf) -> CMember { return &conf.m_FsUsageMonitorConf.m_uiSamplingCount; }},
    };
    // clang-format on
    return keys;
}

const std::vector<CVolumeKey>& VolumeKeys() {
    static const std::vector<CVolumeKey> keys{
        {"enable", kVolMonitoringEnable,
         [](Row& row) -> CMember { return &row.m_bVolMonitoringEnable; }},
        {"threshold", kThreshold, [](Row& row) -> CMember { return &row.m_iThreshold; }},
    };
    return keys;
}

Expected<CAddress> ParseKey(const std::string& text) {
    if (BeginsWith(text, kBracketPrefix)) {
        return ParseBracketKey(text);
    }
    if (BeginsWith(text, kColonPrefix)) {
        return ParseColonKey(text);
    }
    for (const CKey& key : Keys()) {
        if (text == key.m_name) {
            return CAddress{text, &key};
        }
    }
    if (IsGroup(text)) {
        return Fail(ExitCode::Usage, "Unknown key " + Quoted(text) +
                                         ": it is a group of keys, which "
                                         "\"loggerctl get\" alone takes.");
    }
    if (BeginsWith(text, "fs.") && FindVolumeKey(text.substr(3)) != nullptr) {
        return NoVolumeKey(text);
    }
    return Fail(ExitCode::Usage, "Unknown key " + Quoted(text) + "." + Question(text, KeyNames()));
}

Expected<std::vector<CAddress>> ParseKeys(const std::vector<std::string>& texts) {
    std::vector<CAddress> addresses;
    for (const std::string& text : texts) {
        if (IsGroup(text)) {
            AddGroup(text, &addresses);
            continue;
        }
        Expected<CAddress> address = ParseKey(text);
        if (!address) {
            return tl::unexpected(address.error());
        }
        addresses.push_back(std::move(*address));
    }
    return addresses;
}

bool IsGroup(const std::string& text) {
    return std::find(kGroups.begin(), kGroups.end(), text) != kGroups.end();
}

std::vector<std::string> KeyNames() {
    return Names("fs:NAME");
}

std::string VolumeKeyText(const std::string& name, const CVolumeKey& key) {
    return kColonPrefix + name + "." + key.m_name;
}

// ---- Finding settings ----

CSettings::CSettings(CLoggerConf* conf)
    : m_conf(conf),
      m_volumes(conf->m_FsUsageMonitorConf.m_FsThresholdConfList) {}

Expected<std::vector<CSetting>> CSettings::Find(const CAddress& address) {
    if (address.m_key != nullptr) {
        return std::vector<CSetting>{{address.m_text, address.m_key->m_member(*m_conf)}};
    }
    if (Row* row = FindWritten(address.m_name)) {
        return std::vector<CSetting>{{VolumeKeyText(row->m_sVolumeName, *address.m_volumeKey),
                                      address.m_volumeKey->m_member(*row)}};
    }
    return FindMatching(address);
}

bool CSettings::IsExact(const CAddress& address) {
    return address.m_key != nullptr || FindWritten(address.m_name) != nullptr ||
           !IsPattern(address.m_name);
}

Row* CSettings::FindVolume(const std::string& name) {
    return m_volumes.Find(name);
}

Row* CSettings::FindWritten(const std::string& name) {
    Row* row = m_volumes.Find(name);
    const std::optional<std::string> unescaped =
        row == nullptr ? output::Unescape(name) : std::nullopt;
    return unescaped ? m_volumes.Find(*unescaped) : row;
}

Expected<std::vector<CSetting>> CSettings::FindMatching(const CAddress& address) {
    std::vector<CSetting> settings;
    std::vector<std::string> names;
    for (Row& row : m_conf->m_FsUsageMonitorConf.m_FsThresholdConfList) {
        names.push_back(row.m_sVolumeName);
        if (IsPattern(address.m_name) &&
            fnmatch(address.m_name.c_str(), row.m_sVolumeName.c_str(), FNM_NOESCAPE) == 0) {
            settings.push_back({VolumeKeyText(row.m_sVolumeName, *address.m_volumeKey),
                                address.m_volumeKey->m_member(row)});
        }
    }
    if (!settings.empty()) {
        return settings;
    }
    const std::string none =
        IsPattern(address.m_name)
            ? "No file system is mounted whose name matches " + Quoted(address.m_name) + "."
            : "The file system " + Quoted(address.m_name) + " is not mounted." +
                  Question(address.m_name, names);
    return Fail(ExitCode::Usage, none);
}

// ---- Values ----

CValue ValueOf(const CMember& member) {
    return std::visit([](const auto* value) { return CValue(*value); }, member);
}

void Assign(const CValue& value, const CMember& member) {
    std::visit([&value](auto* place) { *place = std::get<std::decay_t<decltype(*place)>>(value); },
               member);
}

std::string TextOf(const CValue& value) {
    if (const bool* boolean = std::get_if<bool>(&value)) {
        return *boolean ? "true" : "false";
    }
    const auto* natural = std::get_if<std::uint32_t>(&value);
    return natural != nullptr ? std::to_string(*natural)
                              : std::to_string(std::get<std::int32_t>(value));
}

std::vector<CChange> FindChanges(const CLoggerConf& from, const CLoggerConf& to) {
    // The tables give access to members, which these copies may.
    CLoggerConf fromCopy(from);
    CLoggerConf toCopy(to);
    std::vector<CChange> changes;
    for (const CKey& key : Keys()) {
        const CValue oldValue = ValueOf(key.m_member(fromCopy));
        const CValue newValue = ValueOf(key.m_member(toCopy));
        if (oldValue != newValue) {
            changes.push_back({key.m_name, oldValue, newValue});
        }
    }
    CSettings old(&fromCopy);
    for (Row& row : toCopy.m_FsUsageMonitorConf.m_FsThresholdConfList) {
        Row unset(row.m_sVolumeName, kDefaultThreshold, false);
        Row* oldRow = old.FindVolume(row.m_sVolumeName);
        for (const CVolumeKey& key : VolumeKeys()) {
            const CValue oldValue = ValueOf(key.m_member(oldRow != nullptr ? *oldRow : unset));
            const CValue newValue = ValueOf(key.m_member(row));
            if (oldValue != newValue) {
                changes.push_back({VolumeKeyText(row.m_sVolumeName, key), oldValue, newValue});
            }
        }
    }
    return changes;
}

} // namespace record
