#pragma once

#include "serverbase/Messages.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>

namespace wbemd {

// Remembers what was written last of a method's answer. Who share a reading are answered the same,
// and what is written of it takes longer than all else that the front end does for them.
//
// A text is found by all that it was written of, compared byte for byte, so it is what would be
// written anew: nothing can be out of date, and nobody gets what he was not just answered. Any
// number of threads.
class CLastContent {
public:
    using Text = std::shared_ptr<const std::string>;

    // Of the answer and its text together; one with more is not kept.
    static constexpr std::size_t kMostBytes = std::size_t{4} * 1024 * 1024;

    // What was kept for this answer of this method. Null: write it.
    [[nodiscard]] Text Find(const std::string& method, const messages::CCallAnswer& answer) const;

    // In place of what was kept before. What is too long is not kept, and nothing in its place.
    void Keep(const std::string& method, const messages::CCallAnswer& answer, const Text& text);

private:
    struct CEntry {
        std::string m_method;
        messages::CCallAnswer m_answer;
        Text m_text;
    };
    using Entry = std::shared_ptr<const CEntry>;

    void Exchange(Entry entry);

    mutable std::mutex m_mutex; // guards the pointer; what it points to never changes
    Entry m_entry;
};

} // namespace wbemd
