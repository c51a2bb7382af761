#pragma once

#include <cstddef>

// What can be shown on one of the process's output streams.
struct CTerminal {
    static constexpr std::size_t kDefaultColumns = 80;

    bool m_bTerminal = false;                // a terminal that understands control sequences
    bool m_bColour = false;                  // such a terminal, and NO_COLOR is unset or empty
    bool m_bUtf8 = false;                    // the locale's encoding
    std::size_t m_columns = kDefaultColumns; // its width; the default where it cannot be asked

    // Looks at a descriptor and at the environment.
    static CTerminal Of(int descriptor);
};
