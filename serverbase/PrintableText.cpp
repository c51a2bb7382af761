#include "serverbase/PrintableText.h"

#include <utf8.h>

#include <string_view>

namespace daemon_base {

namespace {

constexpr std::string_view kCut = "...";
constexpr std::string_view kReplacement = "?";

bool IsIn(char32_t code, char32_t first, char32_t last) {
    return first <= code && code <= last;
}

// The tool does not print it as it is, either; a test holds the two together.
bool IsUnsafe(char32_t code) {
    const bool control = code < ' ' || IsIn(code, 0x7F, 0x9F);
    const bool direction =
        IsIn(code, 0x200E, 0x200F) || IsIn(code, 0x202A, 0x202E) || IsIn(code, 0x2066, 0x2069);
    const bool line = IsIn(code, 0x2028, 0x2029);
    return control || direction || line;
}

// The character at the position, which moves behind it, or what stands in its place.
std::string_view TakeNext(const char** position, const char* invalid) {
    const char* const first = *position;
    if (first == invalid) {
        ++*position;
        return kReplacement;
    }
    const char32_t code = utf8::unchecked::next(*position);
    const auto bytes = static_cast<std::size_t>(*position - first);
    return IsUnsafe(code) ? kReplacement : std::string_view(first, bytes);
}

} // namespace

std::string Printable(const std::string& text) {
    std::string safe;
    std::size_t cut = 0; // where it can be cut
    const char* const end = text.data() + text.size();
    const char* invalid = utf8::find_invalid(text.data(), end);
    for (const char* position = text.data(); position != end;) {
        if (invalid < position) {
            invalid = utf8::find_invalid(position, end);
        }
        safe += TakeNext(&position, invalid);
        cut = safe.size() + kCut.size() <= kPrintableBytes ? safe.size() : cut;
        if (safe.size() > kPrintableBytes) {
            return safe.substr(0, cut).append(kCut);
        }
    }
    return safe;
}

} // namespace daemon_base
