#pragma once

#include "loggerctl/record/CSettingsKeys.h"
#include "providerbase/IWbemClassObject.h"

#include <string>
#include <vector>

// One setting that differs between two records.
struct CSettingsChange {
    // All of them in the key table's order; file systems in the second record's order. Both are
    // "LoggerConf" objects of the same file systems.
    static std::vector<CSettingsChange> Find(const IWbemClassObject& from,
                                             const IWbemClassObject& to);

    CSettingsAddress m_address;
    std::string m_sOld; // as "get KEY" prints it
    std::string m_sNew;
};
