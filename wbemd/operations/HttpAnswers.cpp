#include "wbemd/operations/HttpAnswers.h"

namespace wbemd {

namespace {

constexpr char kContentType[] = "Content-Type";
constexpr char kPlainText[] = "text/plain; charset=\"utf-8\"";

constexpr unsigned kUnavailable = 503;
constexpr unsigned kUnauthorized = 401;

CHttpAnswer PlainAnswer(unsigned status, const std::string& sentence) {
    CHttpAnswer answer;
    answer.m_status = status;
    answer.m_headers.emplace_back(kContentType, kPlainText);
    answer.m_body = sentence + "\n";
    return answer;
}

} // namespace

CHttpAnswer CimAnswer(std::string body) {
    CHttpAnswer answer;
    answer.m_headers.emplace_back(kContentType, "application/xml; charset=\"utf-8\"");
    answer.m_headers.emplace_back("CIMOperation", "MethodResponse");
    answer.m_body = std::move(body);
    return answer;
}

CHttpAnswer RefusalAnswer(const CRefusal& refusal) {
    CHttpAnswer answer = PlainAnswer(refusal.m_status, Sentence(refusal.m_text));
    if (!refusal.m_cimError.empty()) {
        answer.m_headers.emplace_back("CIMError", refusal.m_cimError);
    }
    return answer;
}

CHttpAnswer NoMemoryAnswer(const char* sentence) {
    CHttpAnswer answer = PlainAnswer(kUnavailable, sentence);
    answer.m_keepOpen = false;
    return answer;
}

CHttpAnswer WrongCredentials() {
    CHttpAnswer answer =
        PlainAnswer(kUnauthorized, "A user and a password that are right are needed.");
    answer.m_headers.emplace_back("WWW-Authenticate", "Basic realm=\"kzmwbemd\"");
    return answer;
}

} // namespace wbemd
