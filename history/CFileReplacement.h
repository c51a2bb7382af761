#pragma once

#include "history/CDescriptor.h"
#include "history/DurableFile.h"
#include "history/Expected.h"

#include <string>

namespace history {

// Puts a new file in the place of another, in two steps: all that takes time or can fail for want
// of room or rights comes first, the exchange itself is one step that is done or not done.
//
// Where the path is a symbolic link, the file that it points to is replaced and the link stays. The
// new file waits beside the old one under the fixed name ".<name>.loggerctl-new"; what an
// interrupted replacement left there is overwritten by the next one.
class CFileReplacement {
public:
    explicit CFileReplacement(std::string path);
    // Removes the new file unless it is in place.
    ~CFileReplacement();
    CFileReplacement(const CFileReplacement&) = delete;
    CFileReplacement& operator=(const CFileReplacement&) = delete;

    // Whether the file at the path, which may be missing, could be replaced; touches nothing. A
    // problem comes back when its folder is missing or cannot be written, its file system is
    // read-only (EROFS), the file or its folder is immutable or append-only (EPERM), the file is
    // mounted by itself (EBUSY) or a directory (EISDIR), or a link leads nowhere (ENOENT).
    static Expected<void> Check(const std::string& path);

    // Writes the new file to disk. When it cannot be, nothing is left behind. The file at the path
    // stays as it is in any case.
    Expected<void> Prepare(const CFileImage& image);

    // Exchanges the files. When that fails before the exchange, the old file is still in place;
    // after it, the exchange may not survive a power failure.
    Expected<void> Commit();

private:
    std::string m_path;
    CDescriptor m_folder;  // of the file that is replaced
    std::string m_name;    // that file
    std::string m_waiting; // the new file while it exists
};

} // namespace history
