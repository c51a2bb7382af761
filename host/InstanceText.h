#pragma once

#include "host/CCimClass.h"
#include "providerbase/IWbemClassObject.h"

#include <optional>
#include <string>
#include <vector>

namespace cim {

// The text of the INSTANCE element (DSP0201) of an object that is of the class of this name, or of
// none: the class's properties, in its order and with its types. A property that the object does
// not have is NULL, what the class does not have is left out. Embedded objects are texts in the
// text. It is what CInstanceReader reads when nothing is NULL.
//
// Nothing comes back, and *error says in one line why, when there is no such class, the object or a
// value is of another class or type, or objects are embedded deeper than kEmbeddingDepth.
std::optional<std::string> InstanceText(const IWbemClassObject& object,
                                        const std::string& className,
                                        const std::vector<CCimClass>& classes, std::string* error);

} // namespace cim
