#pragma once

#include "providerbase/IWbemClassObject.h"

#include <functional>
#include <memory>
#include <string>

// WBEM objects as JSON text and back. An object's members are its properties under their names, in
// order. A string that is not valid UTF-8 is lossless: its member is null, and a second member,
// named with "Bytes" behind it, holds the bytes in hexadecimal.
class CJsonRecord {
public:
    // Indented by two blanks, ended by a newline, and safe to print: characters that could steer a
    // terminal are written as \uXXXX, as is everything beyond ASCII unless the locale is UTF-8.
    static std::string ToText(const IWbemClassObject& object);

    // The definition of a class, owned by whoever gives the function; null for an unknown name.
    using Definitions = std::function<const IWbemClassObject*(const std::string& className)>;

    // An object of the class that is defined so. Every property must be there, of its defined type
    // and in its range, and nothing else; embedded objects are held to their own classes.
    // On failure null comes back, and *error names the member, as in
    // "FsUsageMonitorConf.FsThresholdConfList[2].Threshold", and says what is wrong with it.
    static std::unique_ptr<IWbemClassObject> FromText(const std::string& text,
                                                      const IWbemClassObject& definition,
                                                      const Definitions& definitions,
                                                      std::string* error);
};
