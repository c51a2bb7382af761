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
inline const std::vector<long> kReading = {SYS_read, SYS_readv};
inline const std::vector<long> kWriting = {SYS_write, SYS_writev, SYS_pwrite64};
inline const std::vector<long> kRenaming = {SYS_renameat, SYS_renameat2
#ifdef SYS_rename
                                            ,
                                            SYS_rename
#endif
};
inline const std::vector<long> kRemoving = {SYS_unlinkat
#ifdef SYS_unlink
                                            ,
                                            SYS_unlink, SYS_rmdir
#endif
};
inline const std::vector<long> kMakingFolders = {SYS_mkdirat
#ifdef SYS_mkdir
                                                 ,
                                                 SYS_mkdir
#endif
};
inline const std::vector<long> kSettingModes = {SYS_fchmod, SYS_fchmodat, SYS_fchown
#ifdef SYS_chmod
                                                ,
                                                SYS_chmod
#endif
};
inline const std::vector<long> kDuplicating = {SYS_dup, SYS_dup3
#ifdef SYS_dup2
                                               ,
                                               SYS_dup2
#endif
};
// Of files, their file systems and whether they may be used.
inline const std::vector<long> kAsking = {SYS_newfstatat,
                                          SYS_fstat,
                                          SYS_statx,
                                          SYS_statfs,
                                          SYS_fstatfs,
                                          SYS_faccessat,
                                          SYS_faccessat2,
                                          SYS_readlinkat
#ifdef SYS_stat
                                          ,
                                          SYS_stat,
                                          SYS_lstat,
                                          SYS_access,
                                          SYS_readlink
#endif
};
inline const std::vector<long> kStatus = {SYS_newfstatat, SYS_fstat};

} // namespace SystemCallNumbers
