#pragma once

#include "host/CCimClass.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Reads class definitions from CIM-XML declarations (DSP0201):
// CIM / DECLARATION / DECLGROUP / VALUE.OBJECT or VALUE.NAMEDOBJECT / CLASS.
//
// Read are properties and parameters of the types boolean, uint32, sint32 and string, strings and
// arrays of strings with an EmbeddedInstance qualifier (embedded objects), methods, and qualifiers.
// A parameter is an in-parameter unless its qualifiers say otherwise. Everything else is an error,
// as is a name given twice and an embedded class that the text does not define.
class CCimXmlReader {
public:
    // The classes in the order of the text. On failure nothing comes back and *error says in one
    // line where (line, element, class) and what is wrong.
    static std::optional<std::vector<CCimClass>> Read(std::string_view text, std::string* error);

    // The same for a file; *error begins with its path.
    static std::optional<std::vector<CCimClass>> ReadFile(const std::string& path,
                                                          std::string* error);
};
