#include "loggerctl/record/CSettingsKeys.h"

#include "comlib/CIWbemUtil.h"
#include "loggerctl/output/CSafeText.h"
#include "loggerctl/output/CSuggestion.h"
#include "loggerctl/record/LoggerObjects.h"

#include <array>

namespace {

using namespace LoggerObjects;

constexpr std::array kKeys{
    CSettingsKey{"syslog.output", kSyslog, "SyslogOutput", WbemType::Boolean},
    CSettingsKey{"syslog.information", kSyslog, "InformationAlert", WbemType::Boolean},
    CSettingsKey{"syslog.warning", kSyslog, "WarningAlert", WbemType::Boolean},
    CSettingsKey{"syslog.obstacle", kSyslog, "ObstacleAlert", WbemType::Boolean},
    CSettingsKey{"cpu.enable", kCpu, "MonitoringEnable", WbemType::Boolean},
    CSettingsKey{"cpu.interval", kCpu, "SamplingInterval", WbemType::UInt32},
    CSettingsKey{"cpu.count", kCpu, "SamplingCount", WbemType::UInt32},
    CSettingsKey{"cpu.threshold", kCpu, "Threshold", WbemType::SInt32},
    CSettingsKey{"memory.enable", kMemory, "MonitoringEnable", WbemType::Boolean},
    CSettingsKey{"memory.interval", kMemory, "SamplingInterval", WbemType::UInt32},
    CSettingsKey{"memory.count", kMemory, "SamplingCount", WbemType::UInt32},
    CSettingsKey{"memory.threshold", kMemory, "Threshold", WbemType::SInt32},
    CSettingsKey{"fs.enable", kFileSystems, "MonitoringEnable", WbemType::Boolean},
    CSettingsKey{"fs.interval", kFileSystems, "SamplingInterval", WbemType::UInt32},
    CSettingsKey{"fs.count", kFileSystems, "SamplingCount", WbemType::UInt32},
};

constexpr std::array kVolumeKeys{
    CSettingsKey{"enable", kFileSystems, "VolMonitoringEnable", WbemType::Boolean},
    CSettingsKey{"threshold", kFileSystems, "Threshold", WbemType::SInt32},
};

constexpr char kVolumePrefix[] = "fs[";
constexpr char kVolumeEnd = ']';

template <std::size_t Count>
const CSettingsKey* FindKey(const std::array<CSettingsKey, Count>& keys, const std::string& name) {
    for (const CSettingsKey& key : keys) {
        if (name == key.m_pName) {
            return &key;
        }
    }
    return nullptr;
}

std::string Quoted(const std::string& text) {
    return "'" + CSafeText::Escape(text) + "'";
}

// Every name that could stand in this one's place: for a file system's setting, the same file
// system's.
std::vector<std::string> Candidates(const std::string& volumePart) {
    std::vector<std::string> names;
    names.reserve(kKeys.size() + kVolumeKeys.size());
    for (const CSettingsKey& key : kKeys) {
        names.emplace_back(key.m_pName);
    }
    for (const CSettingsKey& key : kVolumeKeys) {
        names.push_back(volumePart + "." + key.m_pName);
    }
    return names;
}

std::optional<CSettingsAddress> ParseVolumeKey(const std::string& text, std::string* error) {
    const std::size_t begin = sizeof(kVolumePrefix) - 1;
    const std::size_t end = text.rfind(kVolumeEnd);
    if (end == std::string::npos || end <= begin) {
        *error =
            "Unknown key " + Quoted(text) + ": a file system's key is written fs[/home].enable.";
        return std::nullopt;
    }
    const std::string rest = text.substr(end + 1);
    const CSettingsKey* key = rest.empty() ? nullptr : FindKey(kVolumeKeys, rest.substr(1));
    if (key == nullptr || rest.front() != '.') {
        *error = "Unknown key " + Quoted(text) + ": behind the file system's name stands .enable " +
                 "or .threshold." +
                 CSuggestion::Question(text, Candidates(text.substr(0, end + 1)));
        return std::nullopt;
    }
    return CSettingsAddress{text, key, text.substr(begin, end - begin)};
}

IWbemClassObject* FindVolume(const std::vector<IWbemClassObject*>& volumes,
                             const std::string& name) {
    for (IWbemClassObject* volume : volumes) {
        std::string volumeName;
        if (CIWbemUtil::getStringFromIWbemClassObject(volume, kVolumeName, &volumeName) >= 0 &&
            volumeName == name) {
            return volume;
        }
    }
    return nullptr;
}

// Of a record; none when it lacks the list.
std::vector<IWbemClassObject*> Volumes(IWbemClassObject* loggerConf) {
    IWbemClassObject* fileSystems = nullptr;
    CIWbemUtil::getParameterClassFromIWbemClassObject(loggerConf, kFileSystems, &fileSystems);
    std::vector<IWbemClassObject*> volumes;
    CIWbemUtil::getParameterClassArrayFromIWbemClassObject(fileSystems, kVolumeList, &volumes);
    return volumes;
}

std::string NotMounted(const std::string& name, IWbemClassObject* loggerConf) {
    return "The file system " + Quoted(name) + " is not mounted." +
           CSuggestion::Question(name, CSettingsKeys::VolumeNames(loggerConf));
}

// The value's text when it is of this type.
std::optional<std::string> ValueText(const CWbemValue* value, WbemType type) {
    if (value == nullptr || value->index() != static_cast<std::size_t>(type)) {
        return std::nullopt;
    }
    switch (type) {
    case WbemType::Boolean:
        return std::get<bool>(*value) ? "true" : "false";
    case WbemType::UInt32:
        return std::to_string(std::get<std::uint32_t>(*value));
    case WbemType::SInt32:
        return std::to_string(std::get<std::int32_t>(*value));
    default:
        return std::nullopt;
    }
}

} // namespace

std::optional<CSettingsAddress> CSettingsKeys::Parse(const std::string& text, std::string* error) {
    if (text.rfind(kVolumePrefix, 0) == 0) {
        return ParseVolumeKey(text, error);
    }
    const CSettingsKey* key = FindKey(kKeys, text);
    if (key == nullptr) {
        *error = "Unknown key " + Quoted(text) + "." + CSuggestion::Question(text, Names());
        return std::nullopt;
    }
    return CSettingsAddress{text, key, std::nullopt};
}

IWbemClassObject* CSettingsKeys::FindHolder(const CSettingsAddress& address,
                                            IWbemClassObject* loggerConf, std::string* error) {
    IWbemClassObject* object = nullptr;
    if (CIWbemUtil::getParameterClassFromIWbemClassObject(loggerConf, address.m_pKey->m_pObject,
                                                          &object) < 0) {
        *error = std::string("The provider's answer has no ") + address.m_pKey->m_pObject + ".";
        return nullptr;
    }
    if (!address.m_volume) {
        return object;
    }
    const std::vector<IWbemClassObject*> volumes = Volumes(loggerConf);
    IWbemClassObject* volume = FindVolume(volumes, *address.m_volume);
    const std::optional<std::string> unescaped = CSafeText::Unescape(*address.m_volume);
    if (volume == nullptr && unescaped) {
        volume = FindVolume(volumes, *unescaped);
    }
    if (volume == nullptr) {
        *error = NotMounted(*address.m_volume, loggerConf);
    }
    return volume;
}

std::optional<std::string> CSettingsKeys::ReadText(const CSettingsAddress& address,
                                                   IWbemClassObject* loggerConf,
                                                   std::string* error) {
    const IWbemClassObject* holder = FindHolder(address, loggerConf, error);
    if (holder == nullptr) {
        return std::nullopt;
    }
    std::optional<std::string> text =
        ValueText(holder->Get(address.m_pKey->m_pProperty), address.m_pKey->m_type);
    if (!text) {
        *error = "The provider's answer has no value for " + CSafeText::Escape(address.m_sText) +
                 " (" + address.m_pKey->m_pObject + ", " + address.m_pKey->m_pProperty + ").";
    }
    return text;
}

std::vector<CSettingsAddress> CSettingsKeys::All(IWbemClassObject* loggerConf) {
    std::vector<CSettingsAddress> addresses;
    addresses.reserve(kKeys.size());
    for (const CSettingsKey& key : kKeys) {
        addresses.push_back({key.m_pName, &key, std::nullopt});
    }
    for (const std::string& name : VolumeNames(loggerConf)) {
        const std::string volumePart = kVolumePrefix + name + kVolumeEnd + ".";
        for (const CSettingsKey& key : kVolumeKeys) {
            addresses.push_back({volumePart + key.m_pName, &key, name});
        }
    }
    return addresses;
}

std::vector<std::string> CSettingsKeys::VolumeNames(IWbemClassObject* loggerConf) {
    std::vector<std::string> names;
    for (IWbemClassObject* volume : Volumes(loggerConf)) {
        std::string name;
        CIWbemUtil::getStringFromIWbemClassObject(volume, kVolumeName, &name);
        names.push_back(name);
    }
    return names;
}

std::vector<std::string> CSettingsKeys::Names() {
    return Candidates("fs[NAME]");
}
