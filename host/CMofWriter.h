#pragma once

#include "host/CCimClass.h"

#include <string>
#include <vector>

// Writes class definitions in the Managed Object Format (DSP0004).
class CMofWriter {
public:
    // The classes with their qualifiers, in their order; lines end with "\n". Long texts are broken
    // between words into several literals, which the format joins again.
    static std::string Write(const std::vector<CCimClass>& classes);
};
