#pragma once

#include "host/CCimClass.h"

#include <vector>

// What every class definition that was read must be, stated plainly and apart from the reader.
class CClassRules {
public:
    // Names are identifiers, and once in their list, letter case apart; values are of their types;
    // embedded classes are defined; a parameter is in, out or both.
    static void Require(const std::vector<CCimClass>& classes);
};
