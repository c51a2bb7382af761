#pragma once

#include "host/CXmlDocument.h"

#include <cstddef>
#include <string>

// What the text of an instance may look like (DSP0201), whatever its class.
namespace cim {

// How deep instances stand in one another's texts, at most; the outermost has depth 1.
inline constexpr std::size_t kEmbeddingDepth = 4;

// What there is in an INSTANCE, or an element inside of one, that may not be there: attributes, and
// which elements and text it holds. One line, safe to print; empty when all is well. The values of
// CLASSNAME, NAME and TYPE, and whether a PROPERTY has a TYPE, are for others to check.
std::string FindShapeFault(const CXmlElement& element);

// The same for the element and all that is in it.
std::string FindDeepShapeFault(const CXmlElement& element);

// The text between quotes, safe to print on one line; of a long one its begin.
std::string Shown(std::string_view text);

} // namespace cim
