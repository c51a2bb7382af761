#include "history/CFileReplacement.h"

#include "loggerctl/agent/CFileProblem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <utility>

namespace fs = std::filesystem;

namespace {

// Where the file itself stands. A link without a file at its end is an error: the end of a chain of
// such links is nobody's intention.
int FindFile(const std::string& path, fs::path* file) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        *file = path;
        return errno == ENOENT ? 0 : errno;
    }
    std::error_code error;
    *file = fs::canonical(path, error);
    return error.value();
}

} // namespace

CFileReplacement::CFileReplacement(std::string path) : m_sPath(std::move(path)) {}

CFileReplacement::~CFileReplacement() {
    if (!m_sWaiting.empty()) {
        unlinkat(m_folder.Get(), m_sWaiting.c_str(), 0);
    }
}

bool CFileReplacement::Prepare(const CFileImage& image, std::string* error) {
    fs::path file;
    int number = FindFile(m_sPath, &file);
    if (number == 0) {
        m_folder =
            CDescriptor(open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        number = m_folder.IsOpen() ? 0 : errno;
    }
    if (number == 0) {
        m_sName = file.filename().string();
        const std::string waiting = "." + m_sName + ".loggerctl-new";
        number = CDurableFile::Create(m_folder.Get(), waiting, image);
        m_sWaiting = number == 0 ? waiting : "";
    }
    if (number != 0) {
        *error = CFileProblem::Refused(m_sPath, "replaced", number);
    }
    return number == 0;
}

bool CFileReplacement::Commit(std::string* error) {
    if (renameat(m_folder.Get(), m_sWaiting.c_str(), m_folder.Get(), m_sName.c_str()) != 0) {
        *error = CFileProblem::Refused(m_sPath, "replaced", errno);
        return false;
    }
    m_sWaiting.clear();
    const int number = CDurableFile::SyncFolder(m_folder.Get());
    if (number != 0) {
        *error = CFileProblem::Refused(m_sPath, "written to disk", number);
    }
    return number == 0;
}
