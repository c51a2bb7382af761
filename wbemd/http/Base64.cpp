#include "wbemd/http/Base64.h"

#include <cstddef>
#include <cstdint>

namespace wbemd {

using std::string_view;

namespace {

constexpr std::size_t kGroup = 4; // characters, for three bytes
constexpr unsigned kBitsOfCharacter = 6;
constexpr unsigned kBitsOfByte = 8;

constexpr string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The text without its padding; nothing when there is too much of it.
std::optional<string_view> WithoutPadding(string_view text) {
    if (text.size() % kGroup != 0) {
        return std::nullopt;
    }
    for (int i = 0; i < 2 && !text.empty() && text.back() == '='; ++i) {
        text.remove_suffix(1);
    }
    return text;
}

} // namespace

std::optional<std::string> DecodeBase64(string_view text) {
    const std::optional<string_view> characters = WithoutPadding(text);
    if (!characters) {
        return std::nullopt;
    }
    std::string bytes;
    std::uint32_t bits = 0;
    unsigned count = 0; // of the bits that make no byte yet
    for (const char character : *characters) {
        const std::size_t value = kAlphabet.find(character);
        if (value == string_view::npos) {
            return std::nullopt;
        }
        bits = (bits << kBitsOfCharacter) | static_cast<std::uint32_t>(value);
        count += kBitsOfCharacter;
        if (count >= kBitsOfByte) {
            count -= kBitsOfByte;
            bytes.push_back(static_cast<char>(bits >> count));
            bits &= (1U << count) - 1;
        }
    }
    return bits == 0 ? std::optional(bytes) : std::nullopt;
}

} // namespace wbemd
