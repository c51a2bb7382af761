#pragma once

#include <optional>
#include <string>

// Bytes as hexadecimal digits, two for each.
class CHexText {
public:
    // Upper-case digits.
    static std::string FromBytes(const std::string& bytes);

    // Takes both cases. Nothing comes back for an odd number of digits or another character.
    static std::optional<std::string> ToBytes(const std::string& digits);
};
