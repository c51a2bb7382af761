#pragma once

#include <cstddef>
#include <string>

namespace output {

// What can be shown on one of the process's output streams.
struct CTerminal {
    static constexpr std::size_t kDefaultColumns = 80;

    bool m_terminal = false;                 // a terminal: what it gets must be safe
    bool m_sequences = false;                // one that understands control sequences
    bool m_colour = false;                   // such a one, and NO_COLOR is unset or empty
    bool m_utf8 = false;                     // the locale's encoding
    std::size_t m_columns = kDefaultColumns; // its width; the default where it cannot be asked

    // Looks at a descriptor and at the environment.
    static CTerminal Of(int descriptor);
};

} // namespace output
