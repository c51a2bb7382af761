#include "host/CTextFile.h"

#include "comlib/ThreadCancellation.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>

namespace {

std::nullopt_t FailForErrno(std::string* reason) {
    *reason = std::strerror(errno);
    return std::nullopt;
}

} // namespace

std::optional<std::string> CTextFile::Read(const std::string& path, std::size_t maximumSize,
                                           std::string* reason) {
    const CCancellationGuard guard;
    // O_NONBLOCK: a pipe in the file's place must be refused, not waited for.
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) {
        return FailForErrno(reason);
    }
    const std::unique_ptr<const int, void (*)(const int*)> closing(
        &file, [](const int* descriptor) { close(*descriptor); });
    struct stat status = {};
    if (fstat(file, &status) != 0) {
        return FailForErrno(reason);
    }
    if (!S_ISREG(status.st_mode)) {
        *reason = "it is not a regular file";
        return std::nullopt;
    }

    std::string text;
    std::array<char, 65536> buffer;
    for (;;) {
        const ssize_t count = read(file, buffer.data(), buffer.size());
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
