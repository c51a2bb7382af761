#pragma once

#include "wbemd/cimxml/CXmlWriter.h"
#include "wbemd/operations/CServedNamespace.h"

#include <optional>
#include <string>
#include <vector>

namespace wbemd {

// How much of an instance is asked for.
struct CInstanceFilter {
    bool m_origin = false;
    std::optional<std::vector<std::string>> m_properties; // nothing: all of them
};

// INSTANCENAME, INSTANCE, and VALUE.NAMEDINSTANCE, which holds both.
void WriteInstanceName(const CServedInstance& instance, CXmlWriter* xml);
void WriteInstance(const CServedInstance& instance, const CInstanceFilter& filter, CXmlWriter* xml);
void WriteNamedInstance(const CServedInstance& instance, const CInstanceFilter& filter,
                        CXmlWriter* xml);

} // namespace wbemd
