#pragma once

#include <string>

// The pieces of long texts, for tests of the limits of XML.
inline std::string Repeat(const std::string& text, std::size_t count) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}
