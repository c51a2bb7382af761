#pragma once

#include <cstdlib>

// True when tests that otherwise look at some of their cases are to look at all of them.
inline bool IsWholeRun() {
    const char* whole = std::getenv("KZM_TEST_WHOLE");
    return whole != nullptr && *whole != '\0';
}
