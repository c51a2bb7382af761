#include "loggerctl/record/CMemoryFile.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <sstream>
#include <system_error>

CMemoryFile::CMemoryFile(const char* name, const std::string& text)
    : m_descriptor(memfd_create(name, MFD_CLOEXEC)) {
    if (m_descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), "a copy in memory");
    }
    std::ofstream file(Path());
    file << text;
    file.close();
    if (!file) {
        close(m_descriptor);
        throw std::system_error(ENOMEM, std::generic_category(), "a copy in memory");
    }
}

CMemoryFile::~CMemoryFile() {
    close(m_descriptor);
}

std::string CMemoryFile::Path() const {
    return "/proc/self/fd/" + std::to_string(m_descriptor);
}

std::string CMemoryFile::Text() const {
    std::ifstream file(Path());
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}
