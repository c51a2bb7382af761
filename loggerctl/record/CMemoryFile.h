#pragma once

#include "history/CDescriptor.h"

#include <string>

// A file without a place on any disk, for code that wants a path. It goes with this object, also
// when the process is killed.
class CMemoryFile {
public:
    // Holds the text, under a name that only helps with debugging. Throws std::system_error when
    // there is no memory or no descriptor for it.
    CMemoryFile(const char* name, const std::string& text);

    // Where this process, and nobody else, can open it by name.
    [[nodiscard]] std::string Path() const;

    // What it holds now. Throws std::system_error when it cannot be read.
    [[nodiscard]] std::string Text() const;

private:
    history::CDescriptor m_descriptor;
};
