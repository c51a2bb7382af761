#include "history/CDescriptor.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

CDescriptor::~CDescriptor() {
    Close();
}

CDescriptor::CDescriptor(CDescriptor&& other) noexcept
    : m_iDescriptor(std::exchange(other.m_iDescriptor, -1)) {}

CDescriptor& CDescriptor::operator=(CDescriptor&& other) noexcept {
    std::swap(m_iDescriptor, other.m_iDescriptor);
    return *this;
}

int CDescriptor::Close() {
    if (!IsOpen()) {
        return 0;
    }
    return close(std::exchange(m_iDescriptor, -1)) == 0 ? 0 : errno;
}

int CDescriptor::WriteAll(int descriptor, const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return 0;
}
