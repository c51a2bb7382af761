#pragma once

#include "wbemd/cimxml/CimRequest.h"
#include "wbemd/operations/COperations.h"

#include <optional>

namespace wbemd {

// What is wrong with the headers by themselves; nothing when they announce an operation.
std::optional<CRefusal> CheckHead(const CRequestHead& head);

// Whether the headers announce what the body says. The body counts, and headers that say anything
// else are refused. They are percent-encoded, or not, as the client likes.
std::optional<CRefusal> CheckAnnounced(const CRequestHead& head, const CCimRequest& request);

} // namespace wbemd
