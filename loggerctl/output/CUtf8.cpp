#include "loggerctl/output/CUtf8.h"

namespace {

constexpr char32_t kHighestCode = 0x10FFFF;

// What a first byte says: how many bytes follow, its own bits, and the lowest code of this length.
struct Form {
    std::size_t m_following;
    char32_t m_bits;
    char32_t m_lowest;
};

bool ReadFirstByte(unsigned char byte, Form* form) {
    if (byte < 0x80) {
        *form = {0, byte, 0};
    } else if ((byte & 0xE0) == 0xC0) {
        *form = {1, byte & 0x1FU, 0x80};
    } else if ((byte & 0xF0) == 0xE0) {
        *form = {2, byte & 0x0FU, 0x800};
    } else if ((byte & 0xF8) == 0xF0) {
        *form = {3, byte & 0x07U, 0x10000};
    } else {
        return false;
    }
    return true;
}

bool IsSurrogate(char32_t code) {
    return code >= 0xD800 && code <= 0xDFFF;
}

} // namespace

CUtf8::Character CUtf8::Read(const std::string& text, std::size_t position) {
    const auto first = static_cast<unsigned char>(text[position]);
    const Character invalid{first, 1, false};
    Form form{};
    if (!ReadFirstByte(first, &form) || text.size() - position <= form.m_following) {
        return invalid;
    }
    char32_t code = form.m_bits;
    for (std::size_t i = 1; i <= form.m_following; ++i) {
        const auto byte = static_cast<unsigned char>(text[position + i]);
        if ((byte & 0xC0) != 0x80) {
            return invalid;
        }
        code = (code << 6) | (byte & 0x3FU);
    }
    if (code < form.m_lowest || code > kHighestCode || IsSurrogate(code)) {
        return invalid;
    }
    return {code, form.m_following + 1, true};
}

bool CUtf8::IsValid(const std::string& text) {
    for (std::size_t position = 0; position < text.size();) {
        const Character character = Read(text, position);
        if (!character.m_bValid) {
            return false;
        }
        position += character.m_length;
    }
    return true;
}
