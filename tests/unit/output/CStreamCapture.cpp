#include "tests/unit/output/CStreamCapture.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>

namespace {

int OpenFile(int* reader) {
    const int file = memfd_create("stream", MFD_CLOEXEC);
    *reader = open(("/proc/self/fd/" + std::to_string(file)).c_str(), O_RDONLY | O_CLOEXEC);
    return file;
}

int OpenTerminal(int* reader) {
    struct winsize size {};
    size.ws_col = 80;
    size.ws_row = 40;
    struct termios settings {};
    cfmakeraw(&settings);
    int terminal = -1;
    EXPECT_EQ(openpty(reader, &terminal, nullptr, &settings, &size), 0);
    EXPECT_EQ(fcntl(*reader, F_SETFL, O_NONBLOCK), 0);
    return terminal;
}

} // namespace

CStreamCapture::CStreamCapture(int stream, Kind kind) : m_stream(stream), m_former(dup(stream)) {
    const int writer = kind == Kind::File ? OpenFile(&m_reader) : OpenTerminal(&m_reader);
    EXPECT_EQ(dup2(writer, m_stream), m_stream);
    close(writer);
}

CStreamCapture::~CStreamCapture() {
    dup2(m_former, m_stream);
    close(m_former);
    close(m_reader);
}

const std::string& CStreamCapture::Text() {
    std::array<char, 4096> buffer{};
    ssize_t count = 0;
    while ((count = read(m_reader, buffer.data(), buffer.size())) > 0) {
        m_text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return m_text;
}
