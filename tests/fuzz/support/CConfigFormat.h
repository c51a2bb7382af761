#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

// A daemon's configuration file, stated plainly and apart from the product.
struct CConfigFormat {
    explicit CConfigFormat(const std::string& text);

    struct CValue {
        std::size_t m_line;
        std::string m_text;
    };
    std::map<std::string, CValue> m_values; // by name
    std::vector<std::size_t> m_wrongLines;  // that are no "Name=value", or give a name again

    // The value as a number; -1 when it is none from 10 to 3600.
    static long Number(const std::string& value);
    static std::vector<std::string> Words(const std::string& value);
};
