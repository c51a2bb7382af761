#pragma once

#include <string>
#include <utility>

namespace history {

// Owns a file descriptor and closes it.
class CDescriptor {
public:
    explicit CDescriptor(int descriptor = -1) : m_descriptor(descriptor) {}
    ~CDescriptor();
    CDescriptor(CDescriptor&& other) noexcept;
    // Closes the one that was owned before.
    CDescriptor& operator=(CDescriptor&& other) noexcept;
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;

    [[nodiscard]] bool IsOpen() const { return m_descriptor >= 0; }
    [[nodiscard]] int Get() const { return m_descriptor; }

    // Gives it away: the caller closes it.
    int Release() { return std::exchange(m_descriptor, -1); }

    // Closes it now. Returns 0, or the error that the file system reports only on closing.
    int Close();

    // Writes the whole text to any descriptor, however often that takes. Returns 0 or an error
    // number; a part of the text may be written then.
    static int WriteAll(int descriptor, const std::string& text);

private:
    int m_descriptor;
};

} // namespace history
