#include "loggerctl/CDescriptor.h"

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
