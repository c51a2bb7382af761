#pragma once

#include "providerbase/IWbemClassObject.h"

#include <optional>
#include <string>
#include <vector>

// One setting: its name on the command line, and where it stands in the "LoggerConf" object.
struct CSettingsKey {
    const char* m_pName;     // of a file system's setting: the part behind "fs[NAME]."
    const char* m_pObject;   // the embedded object of LoggerConf
    const char* m_pProperty; // of that object, or of the file system's own object in its list
    WbemType m_type;
};

// A key as it was asked for.
struct CSettingsAddress {
    std::string m_sText;                 // as it was written
    const CSettingsKey* m_pKey;          // an entry of the key table
    std::optional<std::string> m_volume; // the name between the brackets, as it was written
};

// The table of all settings that have a key, and the ways from a key to a value.
class CSettingsKeys {
public:
    // Reads "syslog.output", "fs[/home].threshold" and so on; the last "]" ends the name. Nothing
    // comes back for another text, and *error says what is wrong and what may have been meant.
    static std::optional<CSettingsAddress> Parse(const std::string& text, std::string* error);

    // The object that holds the setting's property, owned by loggerConf. A file system is looked up
    // under its name as written, then under the name that its escapes (\xHH and \\) stand for.
    // Null, with *error, when it is not mounted or when loggerConf lacks the object.
    static IWbemClassObject* FindHolder(const CSettingsAddress& address,
                                        IWbemClassObject* loggerConf, std::string* error);

    // The setting's value as scripts read it: true, false or a decimal number. Nothing comes back,
    // and *error says why, where FindHolder finds nothing or the property has no value of its type.
    static std::optional<std::string> ReadText(const CSettingsAddress& address,
                                               IWbemClassObject* loggerConf, std::string* error);

    // The keys of all settings that loggerConf has, in the table's order: a file system's for each
    // file system, under its name as it is.
    static std::vector<CSettingsAddress> All(IWbemClassObject* loggerConf);

    // The names of loggerConf's file systems, in its order.
    static std::vector<std::string> VolumeNames(IWbemClassObject* loggerConf);

    // The names of all keys, in the table's order, with fs[NAME] standing for every file system.
    static std::vector<std::string> Names();
};
