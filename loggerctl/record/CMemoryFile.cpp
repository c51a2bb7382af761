#include "loggerctl/record/CMemoryFile.h"

#include "history/DurableFile.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <cerrno>
#include <system_error>

namespace {

std::system_error Failure(int error) {
    return {error, std::generic_category(), "a copy in memory"};
}

} // namespace

CMemoryFile::CMemoryFile(const char* name, const std::string& text)
    : m_descriptor(memfd_create(name, MFD_CLOEXEC)) {
    if (!m_descriptor.IsOpen()) {
        throw Failure(errno);
    }
    const int error = history::CDescriptor::WriteAll(m_descriptor.Get(), text);
    if (error != 0) {
        throw Failure(error);
    }
}

std::string CMemoryFile::Path() const {
    return "/proc/self/fd/" + std::to_string(m_descriptor.Get());
}

std::string CMemoryFile::Text() const {
    history::CFileImage image;
    const int error = history::ReadImage(AT_FDCWD, Path(), history::Links::Follow, &image);
    if (error != 0) {
        throw Failure(error);
    }
    return image.m_text;
}
