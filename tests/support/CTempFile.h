#pragma once

#include <string>

// A file that exists as long as this object, with a name of its own.
class CTempFile {
public:
    explicit CTempFile(const std::string& text);
    ~CTempFile();
    CTempFile(const CTempFile&) = delete;
    CTempFile& operator=(const CTempFile&) = delete;

    [[nodiscard]] const std::string& Path() const { return m_sPath; }

private:
    std::string m_sPath;
};
