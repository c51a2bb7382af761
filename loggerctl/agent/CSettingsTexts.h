#pragma once

#include <optional>
#include <string>

// What the agent's two files hold, byte by byte.
struct CSettingsTexts {
    std::string m_sAgent;
    std::string m_sAlert;

    // Reads both without the settings lock. Nothing comes back, and *error is a sentence that is
    // safe to print, when one cannot be read.
    static std::optional<CSettingsTexts> Read(std::string* error);

    bool operator==(const CSettingsTexts& other) const {
        return m_sAgent == other.m_sAgent && m_sAlert == other.m_sAlert;
    }
    bool operator!=(const CSettingsTexts& other) const { return !(*this == other); }

    // A unified diff from these texts to the others, for both files; empty when they are equal.
    // Its names begin with a/ and b/ before the absolute paths: "patch -p1 -d /" takes it.
    [[nodiscard]] std::string DifferenceTo(const CSettingsTexts& other) const;
};
