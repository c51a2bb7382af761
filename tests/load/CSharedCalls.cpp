#include "tests/load/CSharedCalls.h"

#include <sys/mman.h>

#include <memory>
#include <new>

CSharedCalls::CSharedCalls(int callers, int callsPerCaller)
    : m_iCallers(callers),
      m_iCallsPerCaller(callsPerCaller) {
    void* memory = mmap(nullptr, Count() * sizeof(CallEntry), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    m_pEntries = static_cast<CallEntry*>(memory);
    std::uninitialized_default_construct_n(m_pEntries, Count());
}

CSharedCalls::~CSharedCalls() {
    munmap(m_pEntries, Count() * sizeof(CallEntry));
}

CallEntry* CSharedCalls::Row(int caller) const {
    return m_pEntries + static_cast<std::ptrdiff_t>(caller) * m_iCallsPerCaller;
}

std::vector<CallEntry> CSharedCalls::All() const {
    return {m_pEntries, m_pEntries + Count()};
}

std::size_t CSharedCalls::Count() const {
    return static_cast<std::size_t>(m_iCallers) * static_cast<std::size_t>(m_iCallsPerCaller);
}
