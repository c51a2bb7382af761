#pragma once

#include "history/CDescriptor.h"
#include "history/CDurableFile.h"

#include <string>

// Puts a new file in the place of another, in two steps: all that takes time or can fail for want
// of room or rights comes first, the exchange itself is one step that is done or not done.
//
// Where the path is a symbolic link, the file that it points to is replaced and the link stays. The
// new file waits beside the old one under the fixed name ".<name>.loggerctl-new"; what an
// interrupted replacement left there is overwritten by the next one.
//
// Errors are sentences that are safe to print.
class CFileReplacement {
public:
    explicit CFileReplacement(std::string path);
    // Removes the new file unless it is in place.
    ~CFileReplacement();
    CFileReplacement(const CFileReplacement&) = delete;
    CFileReplacement& operator=(const CFileReplacement&) = delete;

    // Writes the new file to disk. False, with *error, when it cannot be; nothing is left behind
    // then. The file at the path stays as it is.
    bool Prepare(const CFileImage& image, std::string* error);

    // Exchanges the files. False, with *error, when that fails: before the exchange the old file is
    // still in place; after it, the exchange may not survive a power failure.
    bool Commit(std::string* error);

private:
    std::string m_sPath;
    CDescriptor m_folder;   // of the file that is replaced
    std::string m_sName;    // that file
    std::string m_sWaiting; // the new file while it exists
};
