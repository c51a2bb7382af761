#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace output {

// Text that is safe to print, whatever bytes a name holds. What "UTF-8" means here is decided by
// the process's LC_CTYPE locale at the time of the call.
// The text with control characters (C0, DEL, C1), characters that change the direction or the line
// of what follows, and invalid UTF-8 as \xHH, one for each byte, and the backslash as \\. In a
// locale that is not UTF-8 every byte from 0x80 on becomes \xHH, too.
std::string Escape(const std::string& text);

// What Escape was given. Nothing comes back for a backslash that begins neither escape.
std::optional<std::string> Unescape(const std::string& text);

// True for the characters that Escape does not print as they are, the backslash apart.
bool IsUnsafe(char32_t code);

// The number of columns that the text takes on a terminal. The text must be safe.
std::size_t Width(const std::string& text);

// The words of the text in lines of at most this many columns, without a newline at its end. A
// longer word has a line of its own.
std::string BrokenIntoLines(const std::string& text, std::size_t columns);

// True when the locale's character encoding is UTF-8.
bool IsUtf8Locale();

// Whether the whole text is UTF-8. Overlong forms, surrogates and codes beyond U+10FFFF are not.
bool IsValidUtf8(const std::string& text);

// Two upper-case hexadecimal digits for each byte.
std::string BytesToHex(const std::string& bytes);

// Takes both cases. Nothing comes back for an odd number of digits or another character.
std::optional<std::string> HexToBytes(const std::string& digits);

} // namespace output
