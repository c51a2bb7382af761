#include "loggerctl/output/COutput.h"

#include "history/CDescriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

// Some file systems report only on closing that there was no room.
int CloseCopy(int descriptor) {
    const int copy = dup(descriptor);
    return copy >= 0 && close(copy) == 0 ? 0 : errno;
}

} // namespace

void COutput::SecureStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0) {
            // The lowest free number is given out: this stream's own. The wrong way round, so that
            // using it is an error.
            open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

bool COutput::Write(const std::string& text) {
    int error = CDescriptor::WriteAll(STDOUT_FILENO, text);
    if (error == 0) {
        error = CloseCopy(STDOUT_FILENO);
    }
    if (error != 0) {
        WriteError(std::string("The output cannot be written: ") + std::strerror(error) + ".");
    }
    return error == 0;
}

void COutput::WriteError(const std::string& headline, const std::vector<std::string>& details) {
    std::string text = "loggerctl: " + headline + '\n';
    for (const std::string& detail : details) {
        text += "  " + detail + '\n';
    }
    CDescriptor::WriteAll(STDERR_FILENO, text);
}
