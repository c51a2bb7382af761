#include "wbemd/operations/CLastContent.h"

#include <utility>

namespace wbemd {

namespace {

bool IsSame(const messages::CCallAnswer& left, const messages::CCallAnswer& right) {
    return left.m_result == right.m_result && left.m_uiReturnValue == right.m_uiReturnValue &&
           left.m_outParameters == right.m_outParameters;
}

} // namespace

CLastContent::Text CLastContent::Find(const std::string& method,
                                      const messages::CCallAnswer& answer) const {
    Entry entry;
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        entry = m_entry;
    }
    const bool isFound =
        entry != nullptr && entry->m_method == method && IsSame(entry->m_answer, answer);
    return isFound ? entry->m_text : nullptr;
}

void CLastContent::Keep(const std::string& method, const messages::CCallAnswer& answer,
                        const Text& text) {
    const bool isShort = method.size() + answer.m_outParameters.size() + text->size() <= kMostBytes;
    Exchange(isShort ? std::make_shared<const CEntry>(CEntry{method, answer, text}) : nullptr);
}

// What was there goes once nobody waits for it any more.
void CLastContent::Exchange(Entry entry) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_entry.swap(entry);
}

} // namespace wbemd
