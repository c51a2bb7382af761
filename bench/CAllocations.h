#pragma once

#include <cstddef>

// Counts what the whole program allocates with operator new, the loaded libraries included.
class CAllocations {
public:
    // Since this object was made.
    CAllocations();
    [[nodiscard]] std::size_t Count() const;
    [[nodiscard]] std::size_t Bytes() const;

private:
    std::size_t m_countBefore;
    std::size_t m_bytesBefore;
};
