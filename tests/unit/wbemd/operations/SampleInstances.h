#pragma once

#include "providerbase/IWbemClassObject.h"

#include <memory>
#include <string>

// The settings as an object, and as an instance in CIM-XML.
namespace samples {

// Two file systems, one of a name that XML cannot carry, and numbers at the ends of their types.
std::unique_ptr<IWbemClassObject> Settings();

// The same as clients write it: nested texts, each on one line.
std::string SettingsText();

} // namespace samples
