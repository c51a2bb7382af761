#include "loggerctl/record/CSettingsChange.h"

std::vector<CSettingsChange> CSettingsChange::Find(const IWbemClassObject& from,
                                                   const IWbemClassObject& to) {
    // Looking a setting up gives access to it, which only copies may.
    IWbemClassObject fromCopy(from);
    IWbemClassObject toCopy(to);
    std::vector<CSettingsChange> changes;
    for (const CSettingsAddress& address : CSettingsKeys::All(&toCopy)) {
        std::string error;
        const std::string oldText =
            CSettingsKeys::ReadText(address, &fromCopy, &error).value_or("");
        const std::string newText = CSettingsKeys::ReadText(address, &toCopy, &error).value_or("");
        if (oldText != newText) {
            changes.push_back({address, oldText, newText});
        }
    }
    return changes;
}
