#pragma once

#include "host/CXmlDocument.h"

#include <tl/expected.hpp>

#include <string>
#include <vector>

namespace wbemd {

// The value of one key, as it was sent.
struct CSentKey {
    std::string m_name; // empty: the value alone was given
    std::string m_value;
    bool m_isText = true; // neither a number, nor a boolean, nor a reference
};

struct CSentInstanceName {
    std::string m_class;
    std::vector<CSentKey> m_keys;
};

// Reads an INSTANCENAME. A failure says in one line what is wrong.
tl::expected<CSentInstanceName, std::string> ReadInstanceName(const CXmlElement& element);

} // namespace wbemd
