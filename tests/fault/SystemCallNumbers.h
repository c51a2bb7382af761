#pragma once

#include <sys/syscall.h>

#include <vector>

// System calls that do the same, of which not every machine has all.
namespace SystemCallNumbers {

inline const std::vector<long> kStarting = {
    SYS_clone,
    SYS_clone3,
#ifdef SYS_vfork
    SYS_vfork,
#endif
};
inline const std::vector<long> kPolling = {
#ifdef SYS_poll
    SYS_poll,
#endif
    SYS_ppoll};
inline const std::vector<long> kReading = {SYS_read, SYS_readv};
inline const std::vector<long> kWriting = {SYS_write, SYS_writev, SYS_pwrite64};
inline const std::vector<long> kStatus = {SYS_newfstatat, SYS_fstat};

} // namespace SystemCallNumbers
