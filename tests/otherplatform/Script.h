#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

// What this platform was asked to do, and what it is told to answer. One for the whole process.
//
// Every operation of this platform first notes itself here, in words; a test compares the whole
// list, and can make any operation throw or fail.
struct CScript {
    std::vector<std::string> m_notes;

    // Called with each note, after it was taken down; what it throws comes out of the operation.
    std::function<void(const std::string& note)> m_onNote;

    // Counts the operations on properties; the one of this number fails, or throws (0: none does).
    int m_iPropertyCalls = 0;
    int m_iFailingPropertyCall = 0;
    bool m_bFailingPropertyThrows = false;

    // What the platform's objects answer.
    bool m_bHasVendor = true;
    std::function<int(const std::string& command)> m_onCommand = [](const std::string&) {
        return 0;
    };
    int m_iForwardedStatus = 0;

    void Note(std::string note) {
        m_notes.push_back(std::move(note));
        if (const auto onNote = m_onNote) { // a copy: it may replace itself
            onNote(m_notes.back());
        }
    }

    static CScript& Get() {
        static CScript script;
        return script;
    }
    static void Reset() { Get() = CScript(); }
};
