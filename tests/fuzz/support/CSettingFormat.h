#pragma once

#include <string>

// An assignment on the command line, stated plainly and apart from the tool. Its last "=" stands
// between key and value: no value has one.
struct CSettingFormat {
    explicit CSettingFormat(const std::string& text);

    // The type of the setting that a key means; kNone when it means none.
    enum class Type { kNone, kSwitch, kUnsigned, kSigned };
    static Type TypeOf(const std::string& key);

    std::string m_sKey;
    Type m_type;
    std::string m_sValue; // as it is printed; empty when the text is no assignment
};
