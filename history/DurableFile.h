#pragma once

#include <sys/types.h>

#include <ctime>
#include <string>

namespace history {

// A file's contents, and what belongs to the file besides them.
struct CFileImage {
    std::string m_text;
    uid_t m_owner = 0;
    gid_t m_group = 0;
    mode_t m_mode = 0644;       // the permission bits, the set-id and sticky bits included
    std::timespec m_modified{}; // m_modified.tv_nsec may be UTIME_NOW
    bool m_missing = false;     // there was no such file; nothing else is told then

    // Contents, owner, group and mode; the time does not count. All missing files are the same.
    [[nodiscard]] bool IsSame(const CFileImage& other) const;
};

// Whole files, read and written so that they are on disk when a function returns. Functions that
// return an int return 0 or an error number. A folder is given by its descriptor; AT_FDCWD stands
// for any path.
enum class Links { Follow, Refuse };

// Reads a regular file. EISDIR for a directory, EINVAL for another kind of file, ELOOP for a
// symbolic link that is refused. *image is left alone on failure.
int ReadImage(int folder, const std::string& name, Links links, CFileImage* image);

// Makes the file anew, in place of one of that name, with everything that the image holds. What
// stood there is removed, never written through. On failure there is no file of that name.
int WriteImage(int folder, const std::string& name, const CFileImage& image);

// Writes the folder's own entries to disk.
int SyncFolder(int folder);

} // namespace history
