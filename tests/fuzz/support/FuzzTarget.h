#pragma once

#include <cstddef>
#include <cstdint>

// What every fuzz target defines: looks at one input. Returns 0; a broken property, a sanitizer's
// finding or an exception ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
