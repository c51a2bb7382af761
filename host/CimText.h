#pragma once

#include "providerbase/CWbemValue.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

// Names and values as CIM-XML writes them.
namespace cim {

// As CIM compares names: letter case apart, which only the letters of ASCII have.
bool AreSameNames(std::string_view left, std::string_view right);

// The first of the items (classes, properties and the like) that has this name; null when none has.
template <typename Items>
auto FindNamed(Items& items, std::string_view name) {
    const auto found = std::find_if(std::begin(items), std::end(items), [name](const auto& item) {
        return AreSameNames(item.m_sName, name);
    });
    return found == std::end(items) ? nullptr : &*found;
}

// The type as CIM names it. Embedded objects are strings.
const char* TypeName(WbemType type);

// The text between quotes, safe to print on one line: other bytes than printable ASCII as "\x0A".
std::string Quote(std::string_view text);

// How many bytes of the text are UTF-8, up to the first that is not. Neither surrogates nor forms
// that are longer than they need to be are.
std::size_t Utf8Bytes(std::string_view text);
bool IsUtf8(std::string_view text);

// The text for XML: "&", "<" and ">" by their names, in an attribute the double quote, too.
std::string EscapeText(std::string_view text);
std::string EscapeAttribute(std::string_view text);

// Any bytes as a text that XML can carry: bytes that are no UTF-8, U+0000 to U+001F, U+007F, U+FFFE
// and U+FFFF as "\xHH", one for each byte, a backslash as "\\".
std::string EncodeString(std::string_view bytes);
// The bytes that EncodeString wrote; digits may be of either case. Nothing when a backslash begins
// anything else, or "\x00".
std::optional<std::string> DecodeString(std::string_view text);

// TRUE or FALSE, letter case apart; nothing when it is neither.
std::optional<bool> ParseBoolean(std::string_view text);
// A minus or none, and decimal digits; nothing when there is anything else, or the type does not
// hold the number.
std::optional<std::uint32_t> ParseUInt32(std::string_view text);
std::optional<std::int32_t> ParseSInt32(std::string_view text);

} // namespace cim
