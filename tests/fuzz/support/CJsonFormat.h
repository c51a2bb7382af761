#pragma once

#include <nlohmann/json.hpp>

#include <string>

// A record as JSON text, stated plainly and apart from the tool.
class CJsonFormat {
public:
    // True when the text is a whole record and nothing else: every member, each of its type and
    // within its range, none given twice.
    static bool IsRecord(const std::string& text);

    // True for the name of one of the record's parts.
    static bool IsPart(const std::string& name);

    // The values of a record in their places, however a name's bytes were given.
    static nlohmann::json Values(const std::string& text);
};
