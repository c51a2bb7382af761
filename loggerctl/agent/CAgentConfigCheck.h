#pragma once

#include <cstdint>
#include <string>

// Looks into agent.cfg for the reason why the reader refused it.
class CAgentConfigCheck {
public:
    // A sentence that names the file, the line and the key, and says what to do: why the file
    // cannot be read, the first invalid value, or the keys that have none. Empty for a good file.
    static std::string FindProblem(const std::string& path);

    // The sentence for keys without a valid value, from the bits of those that have one.
    static std::string DescribeMissing(const std::string& path, std::uint16_t setFlag);
};
