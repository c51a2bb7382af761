#include "tests/fuzz/support/CFileInMemory.h"

#include <algorithm>
#include <new>
#include <vector>

using std::string;
using Mode = std::ios_base::openmode;

namespace {

// A target runs on one thread.
std::vector<CFileInMemory*>& All() {
    static std::vector<CFileInMemory*> files;
    return files;
}

} // namespace

CFileInMemory::CFileInMemory(const char* name, const string& text)
    : m_sPath(string("in memory/") + name),
      m_sText(text) {
    All().push_back(this);
}

CFileInMemory::~CFileInMemory() {
    All().erase(std::find(All().begin(), All().end(), this));
}

CFileInMemory* CFileInMemory::Find(const string& path) {
    const auto found = std::find_if(All().begin(), All().end(),
                                    [&path](const auto* file) { return file->m_sPath == path; });
    return found == All().end() ? nullptr : *found;
}

CFileInMemory* CFileInMemory::Find(const std::streambuf* opened) {
    const auto found = std::find_if(All().begin(), All().end(), [opened](const auto* file) {
        return &file->m_buffer == opened;
    });
    return found == All().end() ? nullptr : *found;
}

std::streambuf* CFileInMemory::Open(Mode mode) {
    m_bWriting = (mode & std::ios::out) != 0;
    m_buffer = std::stringbuf(m_bWriting ? "" : m_sText, mode);
    return &m_buffer;
}

void CFileInMemory::Close() {
    if (m_bWriting) {
        m_sText = m_buffer.str();
    }
    m_bWriting = false;
}

// The linker gives these their names, which are those of the standard library behind "__wrap_" and
// "__real_".
#define IFSTREAM_MAKE                                                                              \
    _ZNSt14basic_ifstreamIcSt11char_traitsIcEEC1ERKNSt7__cxx1112basic_stringIcS1_SaIcEEESt13_Ios_Openmode
#define FSTREAM_MAKE                                                                               \
    _ZNSt13basic_fstreamIcSt11char_traitsIcEEC1ERKNSt7__cxx1112basic_stringIcS1_SaIcEEESt13_Ios_Openmode
#define FSTREAM_OPEN                                                                               \
    _ZNSt13basic_fstreamIcSt11char_traitsIcEE4openERKNSt7__cxx1112basic_stringIcS1_SaIcEEESt13_Ios_Openmode
#define FSTREAM_CLOSE _ZNSt13basic_fstreamIcSt11char_traitsIcEE5closeEv
#define JOIN(left, right) left##right
#define WRAP(name) JOIN(__wrap_, name)
#define REAL(name) JOIN(__real_, name)

extern "C" {
void REAL(IFSTREAM_MAKE)(void* stream, const string& path, Mode mode);
void REAL(FSTREAM_MAKE)(void* stream, const string& path, Mode mode);
void REAL(FSTREAM_OPEN)(void* stream, const string& path, Mode mode);
void REAL(FSTREAM_CLOSE)(void* stream);
void WRAP(IFSTREAM_MAKE)(void* stream, const string& path, Mode mode);
void WRAP(FSTREAM_MAKE)(void* stream, const string& path, Mode mode);
void WRAP(FSTREAM_OPEN)(void* stream, const string& path, Mode mode);
void WRAP(FSTREAM_CLOSE)(void* stream);
}

void WRAP(IFSTREAM_MAKE)(void* stream, const string& path, Mode mode) {
    CFileInMemory* const file = CFileInMemory::Find(path);
    if (file == nullptr) {
        return REAL(IFSTREAM_MAKE)(stream, path, mode);
    }
    auto* const made = new (stream) std::ifstream;
    made->std::ios::rdbuf(file->Open(mode | std::ios::in));
}

void WRAP(FSTREAM_MAKE)(void* stream, const string& path, Mode mode) {
    CFileInMemory* const file = CFileInMemory::Find(path);
    if (file == nullptr) {
        return REAL(FSTREAM_MAKE)(stream, path, mode);
    }
    auto* const made = new (stream) std::fstream;
    made->std::ios::rdbuf(file->Open(mode));
}

void WRAP(FSTREAM_OPEN)(void* stream, const string& path, Mode mode) {
    CFileInMemory* const file = CFileInMemory::Find(path);
    if (file == nullptr) {
        return REAL(FSTREAM_OPEN)(stream, path, mode);
    }
    static_cast<std::fstream*>(stream)->std::ios::rdbuf(file->Open(mode));
}

void WRAP(FSTREAM_CLOSE)(void* stream) {
    const std::ios* const opened = static_cast<std::fstream*>(stream);
    CFileInMemory* const file = CFileInMemory::Find(opened->rdbuf());
    if (file == nullptr) {
        return REAL(FSTREAM_CLOSE)(stream);
    }
    file->Close();
}
