#pragma once

#include "host/CXmlDocument.h"

#include <tl/expected.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace wbemd {

// A request that is no operation: it is refused with an HTTP status.
struct CRefusal {
    unsigned m_status = 400;
    std::string_view m_cimError; // of the header CIMError; empty: there is none
    std::string m_text;          // one sentence for people
};

// What a request's envelope says. The names are as they were sent.
struct CCimRequest {
    std::string m_messageId;
    bool m_isIntrinsic = false;
    std::string m_method;
    std::string m_namespace; // without slashes at its ends
    std::string m_class;     // of an extrinsic method
    bool m_isOfInstance = false;
    // Each PARAMVALUE or IPARAMVALUE, owned by the document. It has a NAME; what it holds has not
    // been looked at.
    std::vector<const CXmlElement*> m_parameters;
};

// The body of a request as a document. Throws std::bad_alloc alone.
tl::expected<CXmlDocument, CRefusal> ParseRequest(std::string_view body);

// The request that the document is. The versions, and whether it is one request, are looked at
// before anything else.
tl::expected<CCimRequest, CRefusal> ReadRequest(const CXmlElement& root);

// A namespace without the slashes at its ends.
std::string_view StripSlashes(std::string_view path);

} // namespace wbemd
