#include "wbemd/http/HeadChecks.h"

#include "wbemd/http/HttpAnswer.h"

#include <tl/expected.hpp>

#include <algorithm>
#include <limits>
#include <string>
#include <string_view>

namespace wbemd {

using std::string_view;

namespace {

constexpr string_view kPath = "/cimom";
constexpr string_view kHost = "Host";
constexpr string_view kContentLength = "Content-Length";
constexpr string_view kTransferEncoding = "Transfer-Encoding";
constexpr string_view kExpect = "Expect";
constexpr string_view kConnection = "Connection";

using Length = tl::expected<std::size_t, Status>;

// A number that is greater than any length counts as the greatest.
Length ReadNumber(string_view text) {
    constexpr std::size_t kBase = 10;
    constexpr std::size_t kMaximum = std::numeric_limits<std::size_t>::max();
    if (text.empty() || text.find_first_not_of("0123456789") != string_view::npos) {
        return tl::make_unexpected(Status::BadRequest);
    }
    std::size_t number = 0;
    for (const char digit : text) {
        const auto value = static_cast<std::size_t>(digit - '0');
        if (number > (kMaximum - value) / kBase) {
            return kMaximum;
        }
        number = number * kBase + value;
    }
    return number;
}

Length ReadLength(const CHttpHead& head) {
    const std::size_t count = head.Count(kContentLength);
    if (head.Count(kTransferEncoding) != 0 || count == 0) {
        return tl::make_unexpected(Status::LengthRequired);
    }
    return count == 1 ? ReadNumber(*head.Find(kContentLength))
                      : tl::make_unexpected(Status::BadRequest);
}

// Without a length a request that is refused has no body, unless it says that it has.
Length LengthToSkip(const CHttpHead& head, const Length& length) {
    const bool isBare = head.Count(kContentLength) + head.Count(kTransferEncoding) == 0;
    return isBare ? Length(0) : length;
}

bool HasGoodHost(const CHttpHead& head) {
    const std::size_t count = head.Count(kHost);
    if (count == 0) {
        return head.m_isHttp10;
    }
    return count == 1 && !head.Find(kHost)->empty();
}

// Words that another program might read in another way leave open what happens to the connection.
bool HasGoodConnection(const CHttpHead& head) {
    return head.HasOnlyTokens(kConnection);
}

// 100-continue is the one that is known. HTTP/1.0 knows none, and ignores it.
bool HasGoodExpectation(const CHttpHead& head) {
    const std::optional<std::string> expected = head.Find(kExpect);
    return !expected || IsSameName(*expected, "100-continue");
}

std::optional<Status> FirstProblem(const CHttpHead& head, const Length& length,
                                   std::size_t maximum) {
    if (head.m_target != kPath) {
        return Status::NotFound;
    }
    if (head.m_method != "POST") {
        return head.m_method == "M-POST" ? Status::NotImplemented : Status::MethodNotAllowed;
    }
    if (!HasGoodHost(head) || !HasGoodConnection(head)) {
        return Status::BadRequest;
    }
    if (!length) {
        return length.error();
    }
    if (*length > maximum) {
        return Status::ContentTooLarge;
    }
    if (!head.m_isHttp10 && !HasGoodExpectation(head)) {
        return Status::ExpectationFailed;
    }
    return std::nullopt;
}

} // namespace

CRequestPlan PlanRequest(const CHttpHead& head, std::size_t maximumBodyBytes) {
    const Length length = ReadLength(head);
    const Length toSkip = LengthToSkip(head, length);
    CRequestPlan plan;
    plan.m_bodyBytes = toSkip.value_or(0);
    plan.m_expectsContinue = !head.m_isHttp10 && head.Count(kExpect) != 0;
    plan.m_keepOpen = !head.m_isHttp10 && !head.HasToken(kConnection, "close") && toSkip &&
                      *toSkip <= maximumBodyBytes && HasGoodConnection(head);
    if (const std::optional<Status> status = FirstProblem(head, length, maximumBodyBytes)) {
        plan.m_refusal = Refusal(*status);
        if (head.m_method == "HEAD") {
            plan.m_refusal->m_body.clear(); // whose answers have no body
        }
    }
    return plan;
}

CRequestHead RequestHeadOf(const CHttpHead& head) {
    return {head.Find("Content-Type"), head.Find("Content-Encoding"), head.Find("CIMOperation"),
            head.Find("CIMMethod"), head.Find("CIMObject")};
}

} // namespace wbemd
