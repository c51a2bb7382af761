#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <string_view>

// What one line of alert.cfg says, stated plainly and apart from the product. The line must outlive
// the object.
class CAlertLine {
public:
    explicit CAlertLine(const std::string& line) : m_sLine(line) {}
    explicit CAlertLine(std::string&&) = delete;

    // The text of the key's value list, which stands in the first parentheses behind the "=";
    // empty when the line gives the key none.
    [[nodiscard]] std::string List(std::string_view key) const;
    // Its fields, between commas.
    static std::list<std::string> Fields(const std::string& list);
    // A field as a switch: "True" anywhere in it means on, else "False" off, else it stays.
    static bool HasSwitch(const std::string& field);
    static bool Switch(const std::string& field, bool present);
    // The decimal number at the beginning of a field, within the bounds of 64 bits, of which the
    // lower 32 are kept; 0 when there is none.
    static std::uint32_t Number(const std::string& field);

    // As the entry of a file system.
    enum class Kind { kNone, kEntry, kMalformed };
    struct Entry {
        Kind m_kind;
        std::string m_sName;
        std::int32_t m_iThreshold;
        bool m_bEnable;
    };
    [[nodiscard]] Entry FileSystem() const;

    // False when the line gives a key a value list, but its first parentheses stand elsewhere.
    [[nodiscard]] bool HasListInFirstParentheses() const;

private:
    const std::string& m_sLine;
};
