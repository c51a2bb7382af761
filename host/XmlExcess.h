#pragma once

#include "host/CXmlDocument.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// A start tag that is beyond what one element may have.
struct CXmlExcess {
    std::size_t m_uiOffset = 0; // of the tag's "<"
    std::string m_sReason;
};

// The first such tag of a text; nothing when there is none. Takes no memory for what it counts: a
// parser has taken it already when it reports a tag.
//
// Behind the first place where the text is not well-formed, and behind a document type declaration,
// the answer means nothing.
std::optional<CXmlExcess> FindXmlExcess(std::string_view text, const CXmlLimits& limits);
