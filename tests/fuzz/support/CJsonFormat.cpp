#include "tests/fuzz/support/CJsonFormat.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <set>

using Json = nlohmann::json;
using std::string;

namespace {

enum class MemberType { kSwitch, kUnsigned, kSigned, kVolumes };
struct Member {
    string m_name;
    MemberType m_type;
    string m_key; // of the setting, behind its group
};
struct Part {
    string m_name;
    string m_group;
    std::vector<Member> m_members;
};

const Member kEnable{"MonitoringEnable", MemberType::kSwitch, "enable"};
const Member kInterval{"SamplingInterval", MemberType::kUnsigned, "interval"};
const Member kCount{"SamplingCount", MemberType::kUnsigned, "count"};
const Member kThreshold{"Threshold", MemberType::kSigned, "threshold"};

const std::vector<Part> kParts{
    {"SyslogOutputConf",
     "syslog",
     {{"SyslogOutput", MemberType::kSwitch, "output"},
      {"InformationAlert", MemberType::kSwitch, "information"},
      {"WarningAlert", MemberType::kSwitch, "warning"},
      {"ObstacleAlert", MemberType::kSwitch, "obstacle"}}},
    {"UsageMonitorConfCpu", "cpu", {kEnable, kInterval, kCount, kThreshold}},
    {"UsageMonitorConfMemory", "memory", {kEnable, kInterval, kCount, kThreshold}},
    {"FsUsageMonitorConf",
     "fs",
     {kEnable, kInterval, kCount, {"FsThresholdConfList", MemberType::kVolumes, ""}}}};
const std::vector<Member> kVolume{kThreshold,
                                  {"VolMonitoringEnable", MemberType::kSwitch, "enable"}};

constexpr char kName[] = "VolumeName";
constexpr char kBytes[] = "VolumeNameBytes";
constexpr char kInUse[] = "InUse";

template <class Entry>
const Entry* Find(const std::vector<Entry>& entries, const string& name) {
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&name](const Entry& entry) { return entry.m_name == name; });
    return found == entries.end() ? nullptr : &*found;
}

bool IsBetween(const Json& json, std::int64_t least, std::int64_t most) {
    if (json.is_number_unsigned()) {
        return json.get<std::uint64_t>() <= static_cast<std::uint64_t>(most);
    }
    return json.is_number_integer() && json.get<std::int64_t>() >= least &&
           json.get<std::int64_t>() <= most;
}

bool IsVolumes(const Json& json);

bool IsOf(const Json& json, MemberType type) {
    switch (type) {
    case MemberType::kSwitch:
        return json.is_boolean();
    case MemberType::kUnsigned:
        return IsBetween(json, 0, UINT32_MAX);
    case MemberType::kSigned:
        return IsBetween(json, INT32_MIN, INT32_MAX);
    case MemberType::kVolumes:
        return IsVolumes(json);
    }
    return false;
}

// The bytes of pairs of hexadecimal digits.
std::optional<string> FromHex(const string& digits) {
    constexpr char kHexDigits[] = "0123456789abcdef";
    string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        unsigned int byte = 0;
        for (const char c : (digits + "?").substr(i, 2)) {
            const char lower = c >= 'A' && c <= 'F' ? static_cast<char>(c + ('a' - 'A')) : c;
            const auto value = string(kHexDigits).find(lower);
            if (value == string::npos) {
                return std::nullopt;
            }
            byte = byte * 16 + static_cast<unsigned int>(value);
        }
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

// A name is a string, or is null or left out and comes as bytes. Empty where it is neither.
string NameOf(const Json& volume) {
    const bool hasText = volume.contains(kName) && !volume[kName].is_null();
    if (hasText != volume.contains(kBytes)) {
        const Json& name = volume[hasText ? kName : kBytes];
        if (name.is_string()) {
            const auto text = name.get<string>();
            return hasText ? text : FromHex(text).value_or("");
        }
    }
    return "";
}

bool IsVolume(const Json& json) {
    if (!json.is_object() || NameOf(json).empty()) {
        return false;
    }
    const auto& items = json.items();
    return std::all_of(items.begin(), items.end(), [](const auto& item) {
        const Member* member = Find(kVolume, item.key());
        return member != nullptr ? IsOf(item.value(), member->m_type)
                                 : item.key() == kName || item.key() == kBytes ||
                                       (item.key() == kInUse && item.value().is_primitive());
    });
}

bool IsVolumes(const Json& json) {
    std::set<string> names;
    return json.is_array() && std::all_of(json.begin(), json.end(), [&names](const Json& volume) {
               return IsVolume(volume) && names.insert(NameOf(volume)).second;
           });
}

bool IsPartOf(const Json& json, const Part& part) {
    if (!json.is_object()) {
        return false;
    }
    const auto& items = json.items();
    return std::all_of(items.begin(), items.end(), [&part](const auto& item) {
        const Member* member = Find(part.m_members, item.key());
        return member != nullptr && IsOf(item.value(), member->m_type);
    });
}

bool HasNameTwice(const string& text) {
    std::vector<std::set<string>> names;
    bool isTwice = false;
    const auto note = [&](int, Json::parse_event_t event, Json& parsed) {
        if (event == Json::parse_event_t::object_start) {
            names.emplace_back();
        } else if (event == Json::parse_event_t::object_end) {
            names.pop_back();
        } else if (event == Json::parse_event_t::key) {
            isTwice = !names.back().insert(parsed.get<string>()).second || isTwice;
        }
        return true;
    };
    return Json::parse(text, note, false).is_discarded() || isTwice;
}

void AddValues(const Json& json, const std::vector<Member>& members, const string& group,
               std::map<string, string>* values) {
    for (const Member& member : members) {
        if (member.m_type != MemberType::kVolumes && json.contains(member.m_name)) {
            const Json& value = json[member.m_name];
            const string text = value.is_boolean() ? (value.get<bool>() ? "true" : "false")
                                                   : std::to_string(value.get<std::int64_t>());
            (*values)[group + "." + member.m_key] = text;
        }
    }
}

Json Volumes(const Json& record) {
    return record.value("FsUsageMonitorConf", Json::object())
        .value("FsThresholdConfList", Json::array());
}

} // namespace

bool CJsonFormat::IsRecord(const string& text) {
    const Json json = Json::parse(text, nullptr, false);
    if (json.is_discarded() || !json.is_object() || HasNameTwice(text)) {
        return false;
    }
    const auto& items = json.items();
    return std::all_of(items.begin(), items.end(), [](const auto& item) {
        const Part* part = Find(kParts, item.key());
        return part != nullptr && IsPartOf(item.value(), *part);
    });
}

bool CJsonFormat::IsPart(const string& name) {
    return Find(kParts, name) != nullptr;
}

std::map<string, string> CJsonFormat::Values(const string& text) {
    const Json json = Json::parse(text);
    std::map<string, string> values;
    for (const Part& part : kParts) {
        AddValues(json.value(part.m_name, Json::object()), part.m_members, part.m_group, &values);
    }
    for (const Json& volume : Volumes(json)) {
        AddValues(volume, kVolume, "fs:" + NameOf(volume), &values);
    }
    return values;
}

std::vector<string> CJsonFormat::Names(const string& text) {
    std::vector<string> names;
    for (const Json& volume : Volumes(Json::parse(text))) {
        names.push_back(NameOf(volume));
    }
    return names;
}
