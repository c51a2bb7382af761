#pragma once

#include "wbemd/operations/COperations.h"

#include <string>

// A request to the operations of the management server as one text: a line for each header that
// they look at, an empty line, the body.
struct CRequestText {
    wbemd::CRequestHead m_head;
    std::string m_body;

    // Other headers are dropped. A text without an empty line has no body.
    static CRequestText Of(const std::string& text);
    [[nodiscard]] std::string Text() const;
};
