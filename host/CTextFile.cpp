#include "host/CTextFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace {

class CDescriptor {
public:
    explicit CDescriptor(int descriptor) : m_iDescriptor(descriptor) {}
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;
    ~CDescriptor() {
        if (m_iDescriptor >= 0) {
            close(m_iDescriptor);
        }
    }
    [[nodiscard]] int Get() const { return m_iDescriptor; }

private:
    int m_iDescriptor;
};

std::nullopt_t FailForErrno(std::string* reason) {
    *reason = std::strerror(errno);
    return std::nullopt;
}

} // namespace

std::optional<std::string> CTextFile::Read(const std::string& path, std::size_t maximumSize,
                                           std::string* reason) {
    // O_NONBLOCK: a pipe in the file's place must be refused, not waited for.
    const CDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    if (file.Get() < 0 || fstat(file.Get(), &status) != 0) {
        return FailForErrno(reason);
    }
    if (!S_ISREG(status.st_mode)) {
        *reason = "it is not a regular file";
        return std::nullopt;
    }

    std::string text;
    std::array<char, 65536> buffer;
    for (;;) {
        const ssize_t count = read(file.Get(), buffer.data(), buffer.size());
        if (count == 0) {
            return text;
        }
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            return FailForErrno(reason);
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
        if (text.size() > maximumSize) {
            *reason = "it is longer than " + std::to_string(maximumSize) + " bytes";
            return std::nullopt;
        }
    }
}
