#include "loggerctl/output/CSafeText.h"

#include "loggerctl/output/CHexText.h"
#include "loggerctl/output/CUtf8.h"

#include <langinfo.h>

#include <cstring>
#include <cwchar>

namespace {

constexpr std::size_t kByteEscapeLength = 4; // \xHH

std::string EscapeBytes(const std::string& bytes) {
    std::string text;
    for (const char byte : bytes) {
        text += "\\x" + CHexText::FromBytes(std::string(1, byte));
    }
    return text;
}

bool IsPrintedAsIs(const CUtf8::Character& character, bool utf8) {
    if (!character.m_bValid || CSafeText::IsUnsafe(character.m_code)) {
        return false;
    }
    return utf8 || character.m_code < 0x80;
}

} // namespace

std::string CSafeText::Escape(const std::string& text) {
    const bool utf8 = IsUtf8Locale();
    std::string safe;
    for (std::size_t position = 0; position < text.size();) {
        const CUtf8::Character character = CUtf8::Read(text, position);
        const std::string bytes = text.substr(position, character.m_length);
        if (bytes == "\\") {
            safe += "\\\\";
        } else {
            safe += IsPrintedAsIs(character, utf8) ? bytes : EscapeBytes(bytes);
        }
        position += character.m_length;
    }
    return safe;
}

std::optional<std::string> CSafeText::Unescape(const std::string& text) {
    std::string raw;
    for (std::size_t position = 0; position < text.size();) {
        if (text[position] != '\\') {
            raw += text[position++];
        } else if (text.compare(position, 2, "\\\\") == 0) {
            raw += '\\';
            position += 2;
        } else {
            const std::string digits =
                text.compare(position, 2, "\\x") == 0 ? text.substr(position + 2, 2) : "";
            const std::optional<std::string> byte = CHexText::ToBytes(digits);
            if (!byte || byte->size() != 1) {
                return std::nullopt;
            }
            raw += *byte;
            position += kByteEscapeLength;
        }
    }
    return raw;
}

bool CSafeText::IsUnsafe(char32_t code) {
    const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
    const bool direction = code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
                           (code >= 0x2066 && code <= 0x2069);
    const bool lineBreak = code == 0x2028 || code == 0x2029;
    return control || direction || lineBreak;
}

std::size_t CSafeText::Width(const std::string& text) {
    std::size_t width = 0;
    for (std::size_t position = 0; position < text.size();) {
        const CUtf8::Character character = CUtf8::Read(text, position);
        const int columns = wcwidth(static_cast<wchar_t>(character.m_code));
        width += columns < 0 ? 1 : static_cast<std::size_t>(columns);
        position += character.m_length;
    }
    return width;
}

bool CSafeText::IsUtf8Locale() {
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}
