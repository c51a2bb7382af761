#pragma once

#include "wbemd/operations/CServedNamespace.h"

#include <string>
#include <vector>

namespace wbemd {

inline constexpr char kInteropNamespace[] = "interop";

// Adds what the server says of itself: a CIM_ObjectManager, and a CIM_Namespace for each of the
// names. Answers what is missing in the definitions, or nothing.
std::string AddInteropInstances(const std::string& systemName,
                                const std::vector<std::string>& namespaces,
                                CServedNamespace* interop);

} // namespace wbemd
