#include "host/XmlExcess.h"

#include <algorithm>

namespace {

// Goes from tag to tag.
class CTagScanner {
public:
    CTagScanner(std::string_view text, const CXmlLimits& limits) : m_text(text), m_limits(limits) {}

    std::optional<CXmlExcess> Find();

private:
    [[nodiscard]] bool IsAt(std::string_view begin) const {
        return m_text.substr(m_at, begin.size()) == begin;
    }
    // Goes behind the next `end` that follows so many bytes.
    void SkipBehind(std::string_view end, std::size_t bytes);
    // Goes behind a start tag. Why it is beyond the limits; empty when it is not.
    std::string ScanTag();
    // The same for an attribute's value, from its first quote.
    std::string ScanValue(std::size_t attributes);

    std::string_view m_text;
    const CXmlLimits& m_limits;
    std::size_t m_at = 0;
};

std::optional<CXmlExcess> CTagScanner::Find() {
    while ((m_at = m_text.find('<', m_at)) != std::string_view::npos) {
        if (IsAt("<!--")) {
            SkipBehind("-->", 4);
        } else if (IsAt("<![CDATA[")) {
            SkipBehind("]]>", 9);
        } else if (IsAt("<?")) {
            SkipBehind("?>", 2);
        } else if (IsAt("</")) {
            ++m_at;
        } else if (IsAt("<!")) {
            return std::nullopt;
        } else {
            const std::size_t begin = m_at;
            std::string reason = ScanTag();
            if (!reason.empty()) {
                return CXmlExcess{begin, std::move(reason)};
            }
        }
    }
    return std::nullopt;
}

void CTagScanner::SkipBehind(std::string_view end, std::size_t bytes) {
    const std::size_t found = m_text.find(end, m_at + bytes);
    m_at = found == std::string_view::npos ? m_text.size() : found + end.size();
}

std::string CTagScanner::ScanTag() {
    std::size_t attributes = 0;
    for (++m_at; m_at < m_text.size();) {
        const char character = m_text[m_at];
        if (character == '>' || character == '<') {
            return {};
        }
        if (character != '"' && character != '\'') {
            ++m_at;
            continue;
        }
        std::string reason = ScanValue(++attributes);
        if (!reason.empty()) {
            return reason;
        }
    }
    return {};
}

std::string CTagScanner::ScanValue(std::size_t attributes) {
    if (attributes > m_limits.m_uiAttributesOfElement) {
        return "an element has more than " + std::to_string(m_limits.m_uiAttributesOfElement) +
               " attributes";
    }
    const std::size_t begin = m_at + 1;
    const std::size_t end = std::min(m_text.find(m_text[m_at], begin), m_text.size());
    if (end - begin > m_limits.m_uiAttributeBytes) {
        return "an attribute's value is longer than " +
               std::to_string(m_limits.m_uiAttributeBytes) + " bytes";
    }
    m_at = end + 1;
    return {};
}

} // namespace

std::optional<CXmlExcess> FindXmlExcess(std::string_view text, const CXmlLimits& limits) {
    return CTagScanner(text, limits).Find();
}
