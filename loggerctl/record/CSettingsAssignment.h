#pragma once

#include "loggerctl/record/CSettingsKeys.h"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

// A setting and the value that it is to have, as in "cpu.threshold=90".
struct CSettingsAssignment {
    using Value = std::variant<bool, std::uint32_t, std::int32_t>;

    CSettingsAddress m_address;
    Value m_value; // of the setting's type

    // Reads one. The "=" is the first one behind the key; a file system's name can hold others.
    // Switches are true, false, on, off, yes, no, 1 and 0 in upper or lower case; numbers are
    // decimal and within the 32 bits of the setting's type. Nothing comes back for anything else,
    // and *error says what is wrong, safe to print.
    static std::optional<CSettingsAssignment> Parse(const std::string& text, std::string* error);

    // Reads all of them. Nothing comes back, with *error, when one is wrong or a key stands there
    // twice.
    static std::optional<std::vector<CSettingsAssignment>>
    ParseAll(const std::vector<std::string>& texts, std::string* error);
};
