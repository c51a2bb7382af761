#pragma once

#include <cstddef>

// What this process uses of the machine now.
struct CProcessFigures {
    // Fails the running test when the system does not tell.
    static CProcessFigures Take();

    std::size_t m_uiResidentKb = 0;
    std::size_t m_uiHeapBytes = 0; // handed out by malloc and not given back; 0 under sanitizers
    std::size_t m_uiDescriptors = 0;
    bool m_bHasChildren = false; // running or waiting to be collected
};
