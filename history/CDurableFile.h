#pragma once

#include <sys/types.h>

#include <ctime>
#include <string>

// A file's contents, and what belongs to the file besides them.
struct CFileImage {
    std::string m_sText;
    uid_t m_owner = 0;
    gid_t m_group = 0;
    mode_t m_mode = 0644;       // the permission bits, the set-id and sticky bits included
    std::timespec m_modified{}; // m_modified.tv_nsec may be UTIME_NOW
    bool m_bMissing = false;    // there was no such file; the text is empty

    // Contents, owner, group and mode; the time does not count.
    [[nodiscard]] bool IsSame(const CFileImage& other) const;
};

// Whole files, read and written so that they are on disk when a function returns. The functions
// return 0 or an error number. A folder is given by its descriptor; AT_FDCWD stands for any path.
class CDurableFile {
public:
    enum class Links { Follow, Refuse };

    // Reads a regular file. EISDIR for a directory, EINVAL for another kind of file, ELOOP for a
    // symbolic link that is refused. *image is left alone on failure.
    static int Read(int folder, const std::string& name, Links links, CFileImage* image);

    // Makes the file anew, in place of one of that name, with everything that the image holds. What
    // stood there is removed, never written through. On failure there is no file of that name.
    static int Create(int folder, const std::string& name, const CFileImage& image);

    // Writes the folder's own entries to disk.
    static int SyncFolder(int folder);
};
