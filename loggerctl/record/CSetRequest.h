#pragma once

#include "loggerctl/record/CSettingsAssignment.h"
#include "loggerctl/record/CSettingsKeys.h"
#include "providerbase/IWbemClassObject.h"

#include <optional>
#include <string>
#include <vector>

// What is sent to the provider, and which settings were asked for to get there. Both ways to make
// one take the present "LoggerConf" object, and leave it as it is. Where nothing comes back,
// *reasons are sentences that are safe to print.
struct CSetRequest {
    // The present settings with some exchanged. Nothing comes back when a file system is not
    // mounted, or is given twice under two spellings of its name.
    static std::optional<CSetRequest>
    FromAssignments(const std::vector<CSettingsAssignment>& assignments,
                    const IWbemClassObject& present, std::vector<std::string>* reasons);

    // A whole record. Nothing comes back when it does not name exactly the file systems that are
    // mounted, each once.
    static std::optional<CSetRequest> FromRecord(const IWbemClassObject& record,
                                                 const IWbemClassObject& present,
                                                 std::vector<std::string>* reasons);

    // The "LoggerConf" object in m_inParams.
    IWbemClassObject* LoggerConf();

    IWbemClassObject m_inParams;
    // The keys that were given; of a record, the settings that differ from the present ones.
    std::vector<CSettingsAddress> m_asked;
};
