#pragma once

#include "providerbase/IWbemClassObject.h"

#include <memory>
#include <string>

// The settings as an object, as an instance in CIM-XML, and as a text that shows all of an object.
namespace samples {

// Two file systems, one of a name that XML cannot carry, and numbers at the ends of their types.
std::unique_ptr<IWbemClassObject> Settings();

// The same as clients write it: nested texts, each on one line. Shown(what it reads as) is
// Shown(Settings()).
std::string SettingsText();

// Class names, properties, types and values, a line each, indented by depth.
std::string Shown(const IWbemClassObject& object);

} // namespace samples
