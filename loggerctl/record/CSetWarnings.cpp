#include "loggerctl/record/CSetWarnings.h"

#include "comlib/CIWbemUtil.h"
#include "loggerctl/output/CSafeText.h"
#include "loggerctl/record/LoggerObjects.h"
#include "settings/LoggerDefinitions.h"

#include <limits>

namespace {

constexpr std::int32_t kLeastThreshold = 1;
constexpr std::int32_t kGreatestThreshold = 100;
constexpr std::uint32_t kGreatestPositive = std::numeric_limits<std::int32_t>::max();

std::string ThresholdWarning(const CSettingsAddress& address, std::int32_t value) {
    if (value >= kLeastThreshold && value <= kGreatestThreshold) {
        return "";
    }
    const bool replaced = address.m_volume && value == 0;
    return std::to_string(value) + " is no percentage from 1 to 100" +
           (replaced ? "; the default, " + std::to_string(LoggerDefinitions::kDefaultThreshold) +
                           ", would be written in its place."
                     : ".");
}

std::string SamplingWarning(std::uint32_t value) {
    if (value == 0) {
        return "0 gives the agent nothing to sample by.";
    }
    if (value > kGreatestPositive) {
        return std::to_string(value) + " would stand in the agent's file as the negative number " +
               std::to_string(static_cast<std::int32_t>(value)) +
               ". The greatest that does not is " + std::to_string(kGreatestPositive) + ".";
    }
    return "";
}

bool IsMonitorOn(IWbemClassObject* loggerConf) {
    IWbemClassObject* fileSystems = nullptr;
    bool on = false;
    CIWbemUtil::getParameterClassFromIWbemClassObject(loggerConf, LoggerObjects::kFileSystems,
                                                      &fileSystems);
    CIWbemUtil::getBoolFromIWbemClassObject(fileSystems, LoggerDefinitions::kMonitoringEnable, &on);
    return on;
}

std::string WarningAbout(const CSettingsAddress& address, const CWbemValue& value, bool monitorOn) {
    if (const auto* threshold = std::get_if<std::int32_t>(&value)) {
        return ThresholdWarning(address, *threshold);
    }
    if (const auto* sampling = std::get_if<std::uint32_t>(&value)) {
        return SamplingWarning(*sampling);
    }
    const auto* enable = std::get_if<bool>(&value);
    const bool lost = enable != nullptr && *enable && address.m_volume && !monitorOn;
    return lost ? "true has no effect while fs.enable is false: no file system is monitored then."
                : "";
}

} // namespace

std::vector<std::string> CSetWarnings::Find(CSetRequest* request) {
    const bool monitorOn = IsMonitorOn(request->LoggerConf());
    std::vector<std::string> warnings;
    for (const CSettingsAddress& address : request->m_asked) {
        std::string error;
        const IWbemClassObject* holder =
            CSettingsKeys::FindHolder(address, request->LoggerConf(), &error);
        const CWbemValue* value =
            holder == nullptr ? nullptr : holder->Get(address.m_pKey->m_pProperty);
        const std::string warning =
            value == nullptr ? "" : WarningAbout(address, *value, monitorOn);
        if (!warning.empty()) {
            warnings.push_back(CSafeText::Escape(address.m_sText) + ": " + warning);
        }
    }
    return warnings;
}
