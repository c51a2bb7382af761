#pragma once

#include <cstddef>
#include <optional>
#include <string>

// Text that is safe to print, whatever bytes a name holds. What "UTF-8" means here is decided by
// the process's LC_CTYPE locale at the time of the call.
class CSafeText {
public:
    // The text with control characters (C0, DEL, C1), characters that change the direction or the
    // line of what follows, and invalid UTF-8 as \xHH, one for each byte, and the backslash as \\.
    // In a locale that is not UTF-8 every byte from 0x80 on becomes \xHH, too.
    static std::string Escape(const std::string& text);

    // What Escape was given. Nothing comes back for a backslash that begins neither escape.
    static std::optional<std::string> Unescape(const std::string& text);

    // True for the characters that Escape does not print as they are, the backslash apart.
    static bool IsUnsafe(char32_t code);

    // The number of columns that the text takes on a terminal. The text must be safe.
    static std::size_t Width(const std::string& text);

    // True when the locale's character encoding is UTF-8.
    static bool IsUtf8Locale();
};
