#pragma once

#include <string>

// What a fuzz target states about the product. A statement that does not hold is named on standard
// error and ends the process, which is how the fuzzer learns of it.
class CProperty {
public:
    static void Require(bool holds, const char* property);

    // The same for two texts that must be equal; both are shown.
    static void RequireEqual(const std::string& wanted, const std::string& found,
                             const char* property);
};
