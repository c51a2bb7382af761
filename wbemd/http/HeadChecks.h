#pragma once

#include "wbemd/http/HttpHead.h"
#include "wbemd/operations/COperations.h"

#include <cstddef>
#include <optional>

namespace wbemd {

// What a request's head asks for, as far as HTTP goes and up to its credentials.
struct CRequestPlan {
    // The answer, when the request is refused whoever sends it.
    std::optional<CHttpAnswer> m_refusal;
    std::size_t m_bodyBytes = 0;
    bool m_expectsContinue = false; // the client may wait for 100 before it sends the body
    // Whether another request can follow: the client wants it, and where this one ends is known.
    bool m_keepOpen = false;
};

// What fails first is answered: the path, the method, Host, Connection, the length,
// an expectation.
CRequestPlan PlanRequest(const CHttpHead& head, std::size_t maximumBodyBytes);

// The fields that the operations look at.
CRequestHead RequestHeadOf(const CHttpHead& head);

} // namespace wbemd
