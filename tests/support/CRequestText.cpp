#include "tests/support/CRequestText.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <utility>

using std::string;

namespace {

using Field = std::optional<string> wbemd::CRequestHead::*;

const std::array<std::pair<const char*, Field>, 5> kFields = {
    {{"Content-Type", &wbemd::CRequestHead::m_contentType},
     {"Content-Encoding", &wbemd::CRequestHead::m_contentEncoding},
     {"CIMOperation", &wbemd::CRequestHead::m_cimOperation},
     {"CIMMethod", &wbemd::CRequestHead::m_cimMethod},
     {"CIMObject", &wbemd::CRequestHead::m_cimObject}}};

void TakeLine(const string& line, wbemd::CRequestHead* head) {
    const std::size_t colon = line.find(": ");
    if (colon == string::npos) {
        return;
    }
    for (const auto& [name, field] : kFields) {
        if (strcasecmp(line.substr(0, colon).c_str(), name) == 0) {
            head->*field = line.substr(colon + 2);
        }
    }
}

} // namespace

CRequestText CRequestText::Of(const string& text) {
    CRequestText request;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        const string line = text.substr(at, end - at);
        at = std::min(end + 1, text.size());
        if (line.empty()) {
            break;
        }
        TakeLine(line, &request.m_head);
    }
    request.m_body = text.substr(at);
    return request;
}

string CRequestText::Text() const {
    string text;
    for (const auto& [name, field] : kFields) {
        if (const auto& value = m_head.*field) {
            text += string(name) + ": " + *value + "\n";
        }
    }
    return text + "\n" + m_body;
}
