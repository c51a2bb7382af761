#include "tests/fuzz/support/CProperty.h"

#include <cstdlib>
#include <iostream>

void CProperty::Require(bool holds, const char* property) {
    if (!holds) {
        std::cerr << "\nThis does not hold: " << property << std::endl;
        std::abort();
    }
}

void CProperty::RequireEqual(const std::string& wanted, const std::string& found,
                             const char* property) {
    if (wanted != found) {
        std::cerr << "\nWanted:\n" << wanted << "\nFound:\n" << found << "\n";
        Require(false, property);
    }
}
