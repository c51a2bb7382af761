#include "history/CDescriptor.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace history {

CDescriptor::~CDescriptor() {
    Close();
}

CDescriptor::CDescriptor(CDescriptor&& other) noexcept
    : m_descriptor(std::exchange(other.m_descriptor, -1)) {}

CDescriptor& CDescriptor::operator=(CDescriptor&& other) noexcept {
    CDescriptor before(std::move(*this));
    std::swap(m_descriptor, other.m_descriptor);
    return *this;
}

int CDescriptor::Close() {
    if (!IsOpen()) {
        return 0;
    }
    return close(std::exchange(m_descriptor, -1)) == 0 ? 0 : errno;
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

} // namespace history
