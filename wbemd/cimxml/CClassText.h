#pragma once

#include "host/CCimClass.h"

#include <array>
#include <string>
#include <vector>

namespace wbemd {

// How much of a class definition is asked for.
struct CClassFilter {
    bool m_qualifiers = true;
    bool m_origin = false;
};

// A class definition as CLASS elements. All of it is written once: what a request asks for is put
// together out of it. Embedded instances are strings with the qualifier EmbeddedInstance.
class CClassText {
public:
    explicit CClassText(const CCimClass& definition);

    // The whole class, owned by this object.
    [[nodiscard]] const std::string& Whole(const CClassFilter& filter) const;
    // The class with these properties alone; other names in the list do not matter.
    [[nodiscard]] std::string WithProperties(const CClassFilter& filter,
                                             const std::vector<std::string>& names) const;

private:
    struct CProperty {
        std::string m_name;
        std::string m_text;
    };
    struct CPieces {
        std::string m_head; // up to the class's qualifiers
        std::vector<CProperty> m_properties;
        std::string m_tail; // from the methods on
        std::string m_whole;
    };
    static CPieces Write(const CCimClass& definition, const CClassFilter& filter);
    static std::size_t IndexOf(const CClassFilter& filter);

    std::array<CPieces, 4> m_pieces; // one for each filter
};

// The name of the type that CIM-XML gives a property; embedded instances are strings.
const char* CimTypeName(WbemType type);

} // namespace wbemd
