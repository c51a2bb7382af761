#include "tests/fuzz/support/CJsonFormat.h"

#include "loggerctl/output/CHexText.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <vector>

using Json = nlohmann::json;

namespace {

enum class Type { kSwitch, kUnsigned, kSigned, kName, kMonitor, kSyslog, kFileSystems, kVolumes };
using Members = std::map<std::string, Type>;

const Members kRecord{{"SyslogOutputConf", Type::kSyslog},
                      {"UsageMonitorConfCpu", Type::kMonitor},
                      {"UsageMonitorConfMemory", Type::kMonitor},
                      {"FsUsageMonitorConf", Type::kFileSystems}};
const Members kSyslog{{"SyslogOutput", Type::kSwitch},
                      {"InformationAlert", Type::kSwitch},
                      {"WarningAlert", Type::kSwitch},
                      {"ObstacleAlert", Type::kSwitch}};
const Members kMonitor{{"MonitoringEnable", Type::kSwitch},
                       {"SamplingInterval", Type::kUnsigned},
                       {"SamplingCount", Type::kUnsigned},
                       {"Threshold", Type::kSigned}};
const Members kFileSystems{{"MonitoringEnable", Type::kSwitch},
                           {"SamplingInterval", Type::kUnsigned},
                           {"SamplingCount", Type::kUnsigned},
                           {"FsThresholdConfList", Type::kVolumes}};
const Members kVolume{{"VolumeName", Type::kName},
                      {"Threshold", Type::kSigned},
                      {"VolMonitoringEnable", Type::kSwitch}};

bool IsRecord(const Json& json, const Members& members);

bool IsBetween(const Json& json, std::int64_t least, std::int64_t most) {
    if (json.is_number_unsigned()) {
        return json.get<std::uint64_t>() <= static_cast<std::uint64_t>(most);
    }
    return json.is_number_integer() && json.get<std::int64_t>() >= least &&
           json.get<std::int64_t>() <= most;
}

bool IsOf(const Json& json, Type type) {
    switch (type) {
    case Type::kSwitch:
        return json.is_boolean();
    case Type::kUnsigned:
        return IsBetween(json, 0, UINT32_MAX);
    case Type::kSigned:
        return IsBetween(json, INT32_MIN, INT32_MAX);
    case Type::kName:
        return json.is_string();
    case Type::kMonitor:
        return IsRecord(json, kMonitor);
    case Type::kSyslog:
        return IsRecord(json, kSyslog);
    case Type::kFileSystems:
        return IsRecord(json, kFileSystems);
    case Type::kVolumes:
        return json.is_array() && std::all_of(json.begin(), json.end(), [](const Json& volume) {
                   return IsRecord(volume, kVolume);
               });
    }
    return false;
}

constexpr char kName[] = "VolumeName";
constexpr char kBytes[] = "VolumeNameBytes";

// A name that is no UTF-8 comes as null and its bytes in hexadecimal.
bool HasBytes(const Json& json) {
    return json.contains(kBytes) && json[kBytes].is_string() && json[kName].is_null() &&
           CHexText::ToBytes(json[kBytes].get<std::string>());
}

bool IsRecord(const Json& json, const Members& members) {
    const bool isVolume = members.count(kName) != 0;
    const bool hasBytes = isVolume && json.is_object() && json.contains(kName) && HasBytes(json);
    if (!json.is_object() || json.size() != members.size() + (hasBytes ? 1 : 0)) {
        return false;
    }
    return std::all_of(members.begin(), members.end(), [&](const auto& member) {
        return json.contains(member.first) &&
               ((hasBytes && member.first == kName) || IsOf(json[member.first], member.second));
    });
}

bool HasNameTwice(const std::string& text) {
    std::vector<std::set<std::string>> names;
    bool isTwice = false;
    const auto note = [&](int, Json::parse_event_t event, Json& parsed) {
        if (event == Json::parse_event_t::object_start) {
            names.emplace_back();
        } else if (event == Json::parse_event_t::object_end) {
            names.pop_back();
        } else if (event == Json::parse_event_t::key) {
            isTwice = !names.back().insert(parsed.get<std::string>()).second || isTwice;
        }
        return true;
    };
    return Json::parse(text, note, false).is_discarded() || isTwice;
}

} // namespace

bool CJsonFormat::IsRecord(const std::string& text) {
    const Json json = Json::parse(text, nullptr, false);
    return !json.is_discarded() && ::IsRecord(json, kRecord) && !HasNameTwice(text);
}

bool CJsonFormat::IsPart(const std::string& name) {
    return kRecord.count(name) != 0;
}

Json CJsonFormat::Values(const std::string& text) {
    Json json = Json::parse(text);
    for (Json& volume : json["FsUsageMonitorConf"]["FsThresholdConfList"]) {
        if (HasBytes(volume)) {
            volume[kName] = *CHexText::ToBytes(volume[kBytes].get<std::string>());
            volume.erase(kBytes);
        }
    }
    return json;
}
