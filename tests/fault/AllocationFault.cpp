#include "tests/fault/AllocationFault.h"

#include <cerrno>
#include <cstddef>

extern "C" {
// The C library's own functions under the names that it gives them for this purpose.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
}

namespace {

// Plain numbers: they are in use before any object is made. One thread alone opens windows.
bool isInWindow = false;
int faultPoint = 0;
bool isForGood = false;
int allocations = 0;

bool IsToFail() {
    if (!isInWindow) {
        return false;
    }
    ++allocations;
    const bool isToFail =
        allocations == faultPoint || (isForGood && faultPoint != 0 && allocations > faultPoint);
    if (!isToFail) {
        return false;
    }
    errno = ENOMEM;
    return true;
}

void Open() {
    allocations = 0;
    isInWindow = true;
}

void Close(CObservation::Report* report) {
    isInWindow = false;
    report->m_iAllocations = allocations;
    report->m_bMet = faultPoint != 0 && allocations >= faultPoint;
}

} // namespace

#define EXPORTED __attribute__((visibility("default")))

extern "C" {

EXPORTED void* malloc(std::size_t size) {
    return IsToFail() ? nullptr : __libc_malloc(size);
}

EXPORTED void* calloc(std::size_t count, std::size_t size) {
    return IsToFail() ? nullptr : __libc_calloc(count, size);
}

EXPORTED void* realloc(void* block, std::size_t size) {
    return IsToFail() ? nullptr : __libc_realloc(block, size);
}
}

void AllocationFault::SetPoint(int point, Duration duration) {
    faultPoint = point;
    isForGood = duration == Duration::kForGood;
}

CMethodRun::Window AllocationFault::Window() {
    return {Open, Close};
}
