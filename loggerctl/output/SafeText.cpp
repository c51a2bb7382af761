#include "loggerctl/output/SafeText.h"

#include <langinfo.h>

#include <utf8.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <cwchar>
#include <sstream>
#include <string_view>

namespace output {

namespace {

constexpr char kDigits[] = "0123456789ABCDEF";
constexpr std::size_t kByteEscapeLength = 4; // \xHH

// Calls the function for each character with its bytes, its code and true, and for each byte that
// belongs to none with the byte itself as the code and false.
template <class Function>
void ForEachCharacter(const std::string& text, Function function) {
    const char* const end = text.data() + text.size();
    for (const char* position = text.data(); position != end;) {
        const char* const invalid = utf8::find_invalid(position, end);
        while (position != invalid) {
            const char* const first = position;
            const char32_t code = utf8::unchecked::next(position);
            function(std::string_view(first, static_cast<std::size_t>(position - first)), code,
                     true);
        }
        if (position != end) {
            function(std::string_view(position, 1), static_cast<unsigned char>(*position), false);
            ++position;
        }
    }
}

bool IsPrintableAscii(char character) {
    return character >= ' ' && character <= '~';
}

void AppendHex(char byte, std::string* text) {
    const auto value = static_cast<unsigned char>(byte);
    *text += kDigits[value >> 4];
    *text += kDigits[value & 0xF];
}

std::string EscapeCharacters(const std::string& text) {
    const bool utf8 = IsUtf8Locale();
    std::string safe;
    ForEachCharacter(text, [&](std::string_view bytes, char32_t code, bool valid) {
        if (bytes == "\\") {
            safe += "\\\\";
        } else if (valid && (utf8 || code < 0x80) && !IsUnsafe(code)) {
            safe += bytes;
        } else {
            for (const char byte : bytes) {
                safe += "\\x";
                AppendHex(byte, &safe);
            }
        }
    });
    return safe;
}

} // namespace

std::string Escape(const std::string& text) {
    const bool plain = std::all_of(text.begin(), text.end(), [](char character) {
        return IsPrintableAscii(character) && character != '\\';
    });
    return plain ? text : EscapeCharacters(text);
}

std::optional<std::string> Unescape(const std::string& text) {
    std::string raw;
    std::size_t position = 0;
    for (std::size_t escape = text.find('\\'); escape != std::string::npos;
         escape = text.find('\\', position)) {
        raw.append(text, position, escape - position);
        if (text.compare(escape, 2, "\\\\") == 0) {
            raw += '\\';
            position = escape + 2;
            continue;
        }
        const bool hexadecimal = text.compare(escape, 2, "\\x") == 0;
        const auto byte = HexToBytes(hexadecimal ? text.substr(escape + 2, 2) : "");
        if (!byte || byte->size() != 1) {
            return std::nullopt;
        }
        raw += *byte;
        position = escape + kByteEscapeLength;
    }
    return raw.append(text, position);
}

bool IsUnsafe(char32_t code) {
    const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
    const bool direction = code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
                           (code >= 0x2066 && code <= 0x2069);
    const bool lineBreak = code == 0x2028 || code == 0x2029;
    return control || direction || lineBreak;
}

std::size_t Width(const std::string& text) {
    if (std::all_of(text.begin(), text.end(), IsPrintableAscii)) {
        return text.size();
    }
    std::size_t width = 0;
    ForEachCharacter(text, [&width](std::string_view, char32_t code, bool) {
        const int columns = wcwidth(static_cast<wchar_t>(code));
        width += columns < 0 ? 1 : static_cast<std::size_t>(columns);
    });
    return width;
}

std::string BrokenIntoLines(const std::string& text, std::size_t columns) {
    std::istringstream words(text);
    std::string lines;
    std::string word;
    std::size_t column = 0;
    while (words >> word) {
        const std::size_t width = Width(word);
        const bool fits = column + 1 + width <= columns;
        lines += column == 0 ? "" : fits ? " " : "\n";
        column = fits && column > 0 ? column + 1 + width : width;
        lines += word;
    }
    return lines;
}

bool IsUtf8Locale() {
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

bool IsValidUtf8(const std::string& text) {
    return utf8::is_valid(text.begin(), text.end());
}

std::string BytesToHex(const std::string& bytes) {
    std::string digits;
    for (const char byte : bytes) {
        AppendHex(byte, &digits);
    }
    return digits;
}

std::optional<std::string> HexToBytes(const std::string& digits) {
    if (digits.size() % 2 != 0) {
        return std::nullopt;
    }
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const char* const end = digits.data() + i + 2;
        unsigned char value = 0;
        if (std::from_chars(end - 2, end, value, 16).ptr != end) {
            return std::nullopt;
        }
        bytes += static_cast<char>(value);
    }
    return bytes;
}

} // namespace output
