#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace wbemd {

// The bytes that the text stands for; nothing when it is no base64 with its padding. Bits that the
// last characters have to spare must be zero, so that each text of bytes is written in one way.
std::optional<std::string> DecodeBase64(std::string_view text);

} // namespace wbemd
