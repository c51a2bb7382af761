// Part of every program and library that counts the lines it runs. The counts are written at an
// ordinary end; this has them written when a process ends itself at once, too, as child processes
// and given-up commands do. The linker sends those calls here (--wrap).

#include <cstdlib>

extern "C" {
void __gcov_dump(); // of this program or library alone
void __real__exit(int status) __attribute__((noreturn));
void __real__Exit(int status) __attribute__((noreturn));
}

namespace {

using Dump = void (*)();
constexpr int kMost = 16;

} // namespace

// One for the whole process: the first definition that the loader finds.
__attribute__((visibility("default"), weak)) Dump allCounts[kMost] = {};

namespace {

Dump* Find(Dump wanted) {
    for (Dump& entry : allCounts) {
        if (entry == wanted) {
            return &entry;
        }
    }
    std::abort();
}

__attribute__((constructor)) void Enter() {
    *Find(nullptr) = __gcov_dump;
}

__attribute__((destructor)) void Leave() {
    *Find(__gcov_dump) = nullptr;
}

void WriteCounts() {
    for (const Dump dump : allCounts) {
        if (dump != nullptr) {
            dump();
        }
    }
}

} // namespace

extern "C" {
__attribute__((noreturn)) void __wrap__exit(int status) {
    WriteCounts();
    __real__exit(status);
}

__attribute__((noreturn)) void __wrap__Exit(int status) {
    WriteCounts();
    __real__Exit(status);
}
}
