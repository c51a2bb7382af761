#pragma once

#include <string.h>

#include <string>

namespace providerd {

// Overwrites the text, its unused memory included, and empties it.
inline void Wipe(std::string* text) {
    text->resize(text->capacity());
    explicit_bzero(text->data(), text->size());
    text->clear();
}

} // namespace providerd
