#include "tests/fuzz/support/CPrintable.h"

#include <nlohmann/json.hpp>

namespace {

constexpr const char* kSteering[] = {"\u200E", "\u200F", "\u2028", "\u2029", "\u202A",
                                     "\u202B", "\u202C", "\u202D", "\u202E", "\u2066",
                                     "\u2067", "\u2068", "\u2069"};

bool IsUtf8(const std::string& text) {
    try {
        return !nlohmann::json(text).dump().empty();
    } catch (const nlohmann::json::type_error&) {
        return false; // of a text in another encoding
    }
}

bool HasControl(const std::string& text) {
    for (std::string::size_type i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool isC1 =
            byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
        if ((byte < 0x20 && byte != '\n') || byte == 0x7F || isC1) {
            return true;
        }
    }
    return false;
}

} // namespace

bool CPrintable::Is(const std::string& text) {
    for (const char* character : kSteering) {
        if (text.find(character) != std::string::npos) {
            return false;
        }
    }
    return IsUtf8(text) && !HasControl(text);
}

bool CPrintable::IsControl(char character) {
    return (static_cast<unsigned char>(character) < ' ' && character != '\t') || character == 0x7F;
}
