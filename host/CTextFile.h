#pragma once

#include <cstddef>
#include <optional>
#include <string>

class CTextFile {
public:
    // The whole of a regular file. Nothing comes back, and *reason says why in a few words (without
    // the path), when it cannot be read, is no regular file, or is longer than maximumSize bytes.
    static std::optional<std::string> Read(const std::string& path, std::size_t maximumSize,
                                           std::string* reason);
};
