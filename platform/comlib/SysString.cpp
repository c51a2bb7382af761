#include "comlib/SysString.h"

#include <cstring>

char* SysAllocString(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const std::size_t size = std::strlen(text) + 1;
    char* copy = new char[size];
    std::memcpy(copy, text, size);
    return copy;
}

// The counterpart of SysAllocString takes what that returns.
// NOLINTNEXTLINE(readability-non-const-parameter)
void SysFreeString(char* text) {
    delete[] text;
}

int lstrcmpW(const char* left, const char* right) {
    if (left == nullptr || right == nullptr) {
        return static_cast<int>(left != nullptr) - static_cast<int>(right != nullptr);
    }
    return std::strcmp(left, right);
}
