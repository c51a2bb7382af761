#pragma once

#include <string>
#include <utility>
#include <vector>

// Words as execve takes them. They are made before the fork: in the child of a process of several
// threads another one may have held the lock of the memory, and asking for some would never end.
class CExecWords {
public:
    explicit CExecWords(std::vector<std::string> words) : m_words(std::move(words)) {
        for (std::string& word : m_words) {
            m_pointers.push_back(word.data());
        }
        m_pointers.push_back(nullptr);
    }
    CExecWords(const CExecWords&) = delete;
    CExecWords& operator=(const CExecWords&) = delete;

    [[nodiscard]] char* First() const { return m_pointers.front(); }
    [[nodiscard]] char* const* All() const { return m_pointers.data(); }

private:
    std::vector<std::string> m_words;
    std::vector<char*> m_pointers;
};
