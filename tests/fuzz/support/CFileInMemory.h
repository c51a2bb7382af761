#pragma once

#include <fstream>
#include <sstream>
#include <string>

// A file that is no file, for code that opens streams by path: the linker leads the opening and
// closing of std::ifstream and std::fstream here (-Wl,--wrap, see CMakeLists.txt), so that what
// they read and write is a text of this process. No call of the system is made. Other paths are
// opened as ever.
class CFileInMemory {
public:
    // Holds the text, at the path of this name, as long as the object lives.
    CFileInMemory(const char* name, const std::string& text);
    ~CFileInMemory();
    CFileInMemory(const CFileInMemory&) = delete;
    CFileInMemory& operator=(const CFileInMemory&) = delete;

    [[nodiscard]] const std::string& Path() const { return m_sPath; }

    // What it holds now; what is being written is there once the stream is closed.
    [[nodiscard]] const std::string& Text() const { return m_sText; }

    // For the wrapped functions: null for another path. One stream is open at a time.
    static CFileInMemory* Find(const std::string& path);
    std::streambuf* Open(std::ios_base::openmode mode);
    static CFileInMemory* Find(const std::streambuf* opened);
    void Close();

private:
    std::string m_sPath;
    std::string m_sText;
    std::stringbuf m_buffer;
    bool m_bWriting = false;
};
