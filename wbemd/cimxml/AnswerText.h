#pragma once

#include "wbemd/cimxml/CimError.h"

#include <string>
#include <string_view>

namespace wbemd {

// What an answer repeats of its request, as the request spells it.
struct CAnsweredRequest {
    bool m_isIntrinsic = false;
    std::string_view m_messageId;
    std::string_view m_method;
};

// The whole body of an answer. The content is what METHODRESPONSE or IRETURNVALUE holds, as XML.
std::string WriteAnswer(const CAnsweredRequest& request, std::string_view content);
std::string WriteError(const CAnsweredRequest& request, const CCimError& error);

// The text as it is said to a client: on one line, in printable ASCII, and not longer than a person
// reads, however long the names are that it repeats.
std::string Sentence(std::string_view text);

} // namespace wbemd
