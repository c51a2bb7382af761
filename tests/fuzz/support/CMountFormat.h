#pragma once

#include <optional>
#include <string>
#include <vector>

// What the mount command prints, stated plainly and apart from the product.
class CMountFormat {
public:
    // The mount points in order, each once; nothing when one is empty, or for the text of a command
    // that cannot be started. A line is what one reading
    // of at most 4095 bytes gives, up to its first zero byte, without its last character.
    static std::optional<std::vector<std::string>> Read(const std::string& text);
};
