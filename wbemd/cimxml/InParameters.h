#pragma once

#include "host/CCimClass.h"
#include "host/CInstanceReader.h"
#include "host/CXmlDocument.h"
#include "providerbase/IWbemClassObject.h"

#include <tl/expected.hpp>

#include <string>
#include <vector>

namespace wbemd {

// The in-parameters that PARAMVALUE elements give a method. Each must be given once, and holds an
// embedded instance: the class decides, whatever the element says of it. A failure is one sentence
// that tells what to do; what it repeats of the request is safe to print.
tl::expected<IWbemClassObject, std::string>
ReadInParameters(const CInstanceReader& reader, const CCimMethod& method,
                 const std::vector<const CXmlElement*>& sent);

} // namespace wbemd
