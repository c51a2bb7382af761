#pragma once

#include <cstddef>
#include <string>

namespace daemon_base {

// The text with a question mark in place of each control character, each that changes the direction
// or the line of what follows, and each byte that is no UTF-8. At most this many bytes; what is
// longer ends in "...".
inline constexpr std::size_t kPrintableBytes = 4000;
std::string Printable(const std::string& text);

} // namespace daemon_base
