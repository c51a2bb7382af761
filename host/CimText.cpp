#include "host/CimText.h"

#include <charconv>
#include <cstring>
#include <limits>

namespace cim {

namespace {

constexpr char kDigits[] = "0123456789ABCDEF";
constexpr std::string_view kNotACharacter[] = {"\xEF\xBF\xBE", "\xEF\xBF\xBF"};

unsigned char ByteAt(std::string_view text, std::size_t at) {
    return static_cast<unsigned char>(text[at]);
}

// Texts are mostly ASCII: so many bytes are looked at together.
constexpr std::size_t kStride = sizeof(std::uint64_t);

// Of at most kStride bytes.
bool IsAscii(std::string_view text) {
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, text.data(), text.size());
    return (bytes & 0x8080808080808080U) == 0;
}

char ToLower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A'))
                                                : character;
}

// The first bytes of UTF-8 of more than one byte: how long what they begin is, and the range of the
// second byte, which leaves out surrogates and forms that are too long. Further bytes are 80 to BF.
struct CLead {
    unsigned char m_uiFirst, m_uiLast;
    unsigned char m_uiLength;
    unsigned char m_uiSecondFrom, m_uiSecondTo;
};
constexpr CLead kLeads[] = {
    {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF}, {0xE1, 0xEC, 3, 0x80, 0xBF},
    {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF}, {0xF0, 0xF0, 4, 0x90, 0xBF},
    {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F},
};

bool IsWhole(std::string_view text, const CLead& lead) {
    if (text.size() < lead.m_uiLength || ByteAt(text, 1) < lead.m_uiSecondFrom ||
        ByteAt(text, 1) > lead.m_uiSecondTo) {
        return false;
    }
    const std::string_view rest = text.substr(2, lead.m_uiLength - 2);
    return std::all_of(rest.begin(), rest.end(), [](char character) {
        return (static_cast<unsigned char>(character) & 0xC0U) == 0x80;
    });
}

// The length of the character that the text begins with; 0 when its first byte is no UTF-8.
std::size_t CharacterBytes(std::string_view text) {
    const unsigned char first = ByteAt(text, 0);
    if (first < 0x80) {
        return 1;
    }
    const auto* const lead =
        std::find_if(std::begin(kLeads), std::end(kLeads),
                     [first](const CLead& candidate) { return first <= candidate.m_uiLast; });
    const bool isLead = lead != std::end(kLeads) && first >= lead->m_uiFirst;
    return isLead && IsWhole(text, *lead) ? lead->m_uiLength : 0;
}

void AppendByNumber(unsigned char byte, std::string* text) {
    *text += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xF]};
}

// How the character is written; empty when it stands for itself.
std::string_view NameOf(char character, bool isInAttribute) {
    switch (character) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return isInAttribute ? "&quot;" : "";
    default:
        return {};
    }
}

std::string Escape(std::string_view text, bool isInAttribute) {
    std::string escaped;
    escaped.reserve(text.size());
    std::size_t done = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::string_view name = NameOf(text[at], isInAttribute);
        if (!name.empty()) {
            escaped.append(text, done, at - done).append(name);
            done = at + 1;
        }
    }
    return escaped.append(text, done);
}

// Whether a character of so many bytes at the begin of the text stands for itself.
bool IsPlain(std::string_view text, std::size_t bytes) {
    if (bytes == 1) {
        return text[0] >= ' ' && text[0] != '\x7F' && text[0] != '\\';
    }
    return bytes != 0 && std::find(std::begin(kNotACharacter), std::end(kNotACharacter),
                                   text.substr(0, bytes)) == std::end(kNotACharacter);
}

// The byte of two hexadecimal digits; nothing when they are none.
std::optional<char> ParseByte(std::string_view digits) {
    unsigned value = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, code] = std::from_chars(digits.data(), end, value, 16);
    if (digits.size() != 2 || code != std::errc() || stop != end) {
        return std::nullopt;
    }
    return static_cast<char>(value);
}

template <typename Number>
std::optional<Number> ParseNumber(std::string_view text) {
    std::int64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, code] = std::from_chars(text.data(), end, number);
    const bool isNumber = code == std::errc() && stop == end;
    if (!isNumber || number < std::numeric_limits<Number>::min() ||
        number > std::numeric_limits<Number>::max()) {
        return std::nullopt;
    }
    return static_cast<Number>(number);
}

} // namespace

bool AreSameNames(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char one, char other) { return ToLower(one) == ToLower(other); });
}

const char* TypeName(WbemType type) {
    switch (type) {
    case WbemType::Boolean:
        return "boolean";
    case WbemType::UInt32:
        return "uint32";
    case WbemType::SInt32:
        return "sint32";
    default:
        return "string";
    }
}

std::string Quote(std::string_view text) {
    std::string quoted = "\"";
    for (const char character : text) {
        if (character >= ' ' && character < '\x7F') {
            quoted += character;
        } else {
            AppendByNumber(static_cast<unsigned char>(character), &quoted);
        }
    }
    return quoted + "\"";
}

std::size_t Utf8Bytes(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size()) {
        if (IsAscii(text.substr(at, kStride))) {
            at = std::min(at + kStride, text.size());
            continue;
        }
        const std::size_t bytes = CharacterBytes(text.substr(at));
        if (bytes == 0) {
            break;
        }
        at += bytes;
    }
    return at;
}

bool IsUtf8(std::string_view text) {
    return Utf8Bytes(text) == text.size();
}

std::string EscapeText(std::string_view text) {
    return Escape(text, false);
}

std::string EscapeAttribute(std::string_view text) {
    return Escape(text, true);
}

std::string EncodeString(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const std::size_t length = CharacterBytes(bytes);
        const std::string_view character = bytes.substr(0, std::max(length, std::size_t{1}));
        if (IsPlain(bytes, length)) {
            text += character;
        } else if (character == "\\") {
            text += "\\\\";
        } else {
            for (const char byte : character) {
                AppendByNumber(static_cast<unsigned char>(byte), &text);
            }
        }
        bytes.remove_prefix(character.size());
    }
    return text;
}

std::optional<std::string> DecodeString(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    while (!text.empty()) {
        const std::size_t plain = std::min(text.find('\\'), text.size());
        bytes += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.substr(0, 2) == "\\\\") {
            bytes += '\\';
            text.remove_prefix(2);
        } else if (!text.empty()) {
            const std::optional<char> byte =
                text.substr(0, 2) == "\\x" ? ParseByte(text.substr(2, 2)) : std::nullopt;
            if (!byte || *byte == '\0') {
                return std::nullopt;
            }
            bytes += *byte;
            text.remove_prefix(4);
        }
    }
    return bytes;
}

std::optional<bool> ParseBoolean(std::string_view text) {
    const bool isTrue = AreSameNames(text, "true");
    return isTrue || AreSameNames(text, "false") ? std::optional(isTrue) : std::nullopt;
}

std::optional<std::uint32_t> ParseUInt32(std::string_view text) {
    return ParseNumber<std::uint32_t>(text);
}

std::optional<std::int32_t> ParseSInt32(std::string_view text) {
    return ParseNumber<std::int32_t>(text);
}

} // namespace cim
