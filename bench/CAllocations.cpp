#include "bench/CAllocations.h"

#include <cstdlib>
#include <new>

namespace {

std::size_t allocations = 0;
std::size_t allocatedBytes = 0;

} // namespace

void* operator new(std::size_t size) {
    ++allocations;
    allocatedBytes += size;
    void* memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

CAllocations::CAllocations() : m_countBefore(allocations), m_bytesBefore(allocatedBytes) {}

std::size_t CAllocations::Count() const {
    return allocations - m_countBefore;
}

std::size_t CAllocations::Bytes() const {
    return allocatedBytes - m_bytesBefore;
}
