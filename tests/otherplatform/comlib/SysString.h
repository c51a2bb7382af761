#pragma once

#include "tests/otherplatform/Script.h"

#include <cstring>

inline char* SysAllocString(const char* text) {
    CScript::Get().Note("SysAllocString " + std::string(text));
    return strdup(text);
}

inline void SysFreeString(char* text) {
    CScript::Get().Note("SysFreeString " + std::string(text));
    free(text);
}

inline int lstrcmpW(const char* left, const char* right) {
    return std::strcmp(left, right);
}
