#include "tests/support/CFailingCall.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <ctime>
#include <new>

namespace {

// What is to fail; threads of the program may make calls meanwhile.
std::string failing;
std::atomic<int> callsToGo{0};
int failure = 0;
bool isSyncing = true;

bool IsToFail(const char* name) {
    if (callsToGo <= 0 || failing != name || --callsToGo != 0) {
        return false;
    }
    errno = failure;
    return true;
}

mode_t ModeOf(int flags, va_list arguments) {
    return (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
}

} // namespace

// The linker sends the program's calls here (--wrap).
#define FAILING_CALL(result, failed, name, parameters, arguments)                                  \
    result __real_##name parameters;                                                               \
    result __wrap_##name parameters {                                                              \
        return IsToFail(#name) ? (failed) : __real_##name arguments;                               \
    }

extern "C" {
FAILING_CALL(ssize_t, -1, read, (int file, void* bytes, size_t count), (file, bytes, count))
FAILING_CALL(ssize_t, -1, write, (int file, const void* bytes, size_t count), (file, bytes, count))
FAILING_CALL(int, -1, fstat, (int file, struct stat* status), (file, status))
FAILING_CALL(int, -1, fstatat, (int folder, const char* name, struct stat* status, int flags),
             (folder, name, status, flags))
FAILING_CALL(int, -1, fchmod, (int file, mode_t mode), (file, mode))
FAILING_CALL(int, -1, chmod, (const char* path, mode_t mode), (path, mode))
FAILING_CALL(int, -1, futimens, (int file, const timespec* times), (file, times))
int __real_fsync(int file);
int __wrap_fsync(int file) {
    if (IsToFail("fsync")) {
        return -1;
    }
    return isSyncing ? __real_fsync(file) : 0;
}
FAILING_CALL(int, -1, flock, (int file, int operation), (file, operation))
FAILING_CALL(int, -1, mkdirat, (int folder, const char* name, mode_t mode), (folder, name, mode))
FAILING_CALL(int, -1, unlinkat, (int folder, const char* name, int flags), (folder, name, flags))
FAILING_CALL(int, -1, renameat, (int from, const char* name, int to, const char* newName),
             (from, name, to, newName))
FAILING_CALL(int, -1, timer_create, (clockid_t clock, sigevent* event, timer_t* timer),
             (clock, event, timer))
FAILING_CALL(DIR*, nullptr, fdopendir, (int folder), (folder))
FAILING_CALL(int, -1, pipe, (int* ends), (ends))
FAILING_CALL(void*, MAP_FAILED, mmap,
             (void* place, size_t size, int access, int flags, int file, off_t begin),
             (place, size, access, flags, file, begin))
FAILING_CALL(int, -1, signalfd, (int file, const sigset_t* signals, int flags),
             (file, signals, flags))

void* __real__Znwm(std::size_t size);
void* __wrap__Znwm(std::size_t size) {
    if (IsToFail("operator new")) {
        throw std::bad_alloc();
    }
    return __real__Znwm(size);
}

int __real_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return IsToFail("open") ? -1 : __real_open(path, flags, mode);
}

int __real_openat(int folder, const char* path, int flags, ...);
int __wrap_openat(int folder, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return IsToFail("openat") ? -1 : __real_openat(folder, path, flags, mode);
}
}

CFailingCall::CFailingCall(const std::string& name, int error, int n) {
    failing = name;
    failure = error;
    callsToGo = n;
}

CFailingCall::~CFailingCall() {
    callsToGo = 0;
}

bool CFailingCall::IsMet() {
    return callsToGo == 0;
}

CNoSyncing::CNoSyncing() {
    isSyncing = false;
}

CNoSyncing::~CNoSyncing() {
    isSyncing = true;
}
