#pragma once

#include <cstddef>
#include <string>

// Reads UTF-8 one character at a time.
class CUtf8 {
public:
    struct Character {
        char32_t m_code;      // the byte itself when the character is not valid
        std::size_t m_length; // bytes; 1 when the character is not valid
        bool m_bValid;
    };

    // The character at this position, which must lie inside the text. Overlong forms, surrogates
    // and codes beyond U+10FFFF are not valid.
    static Character Read(const std::string& text, std::size_t position);

    static bool IsValid(const std::string& text);
};
