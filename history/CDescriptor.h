#pragma once

#include <string>

// Owns a file descriptor and closes it.
class CDescriptor {
public:
    explicit CDescriptor(int descriptor = -1) : m_iDescriptor(descriptor) {}
    ~CDescriptor();
    CDescriptor(CDescriptor&& other) noexcept;
    CDescriptor& operator=(CDescriptor&& other) noexcept;
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;

    [[nodiscard]] bool IsOpen() const { return m_iDescriptor >= 0; }
    [[nodiscard]] int Get() const { return m_iDescriptor; }

    // Closes it now. Returns 0, or the error that the file system reports only on closing.
    int Close();

    // Writes the whole text to any descriptor, however often that takes. Returns 0 or an error
    // number; a part of the text may be written then.
    static int WriteAll(int descriptor, const std::string& text);

private:
    int m_iDescriptor;
};
