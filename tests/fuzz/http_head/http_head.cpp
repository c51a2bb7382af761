// Heads of HTTP requests. The input is what comes over a connection. Beside a plain reader of our
// own stands one that others wrote: what is taken here must be the same request to both.

#include "tests/fuzz/http_head/CBeastHead.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/FuzzTarget.h"
#include "wbemd/http/Credentials.h"
#include "wbemd/http/HeadChecks.h"
#include "wbemd/http/HttpHead.h"

#include <cstring>
#include <string>

using std::string;
using std::string_view;
using wbemd::CHeadExtent;
using wbemd::CHttpHead;

namespace {

using State = CHeadExtent::State;

constexpr std::size_t kBodyBytes = 100;

// The end of a head, looked for byte by byte.
CHeadExtent PlainEnd(string_view text) {
    for (std::size_t i = 0; i < text.size() && i < wbemd::kHeadBytes; ++i) {
        if (text[i] != '\n') {
            continue;
        }
        if (i == 0 || text[i - 1] != '\r') {
            return {State::Malformed, 0};
        }
        if (i >= 3 && text[i - 2] == '\n' && text[i - 3] == '\r') {
            return {State::Complete, i + 1};
        }
    }
    return {text.size() < wbemd::kHeadBytes ? State::Incomplete : State::TooLong, 0};
}

bool IsIn(char c, const char* characters) {
    return c != '\0' && std::strchr(characters, c) != nullptr;
}

bool IsName(string_view text) {
    constexpr char kNameCharacters[] =
        "!#$%&'*+-.^_`|~0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (const char c : text) {
        if (!IsIn(c, kNameCharacters)) {
            return false;
        }
    }
    return !text.empty();
}

bool IsControl(char c) {
    return (c >= 0 && c < ' ') || c == 0x7F;
}

// A line "NAME: VALUE" of the grammar of HTTP/1.1, without what it calls obsolete.
bool IsField(string_view line) {
    const std::size_t colon = line.find(':');
    if (colon == string_view::npos || !IsName(line.substr(0, colon))) {
        return false;
    }
    for (const char c : line.substr(colon + 1)) {
        if (IsControl(c) && c != '\t') {
            return false;
        }
    }
    return true;
}

bool IsRequestLine(string_view line) {
    const std::size_t first = line.find(' ');
    const std::size_t last = line.rfind(' ');
    if (first == string_view::npos || first + 1 >= last || !IsName(line.substr(0, first))) {
        return false;
    }
    for (const char c : line.substr(first + 1, last - first - 1)) {
        if (c <= ' ' || c == 0x7F) {
            return false; // bytes of 0x80 and more are negative
        }
    }
    const string_view version = line.substr(last + 1);
    return version == "HTTP/1.0" || version == "HTTP/1.1";
}

bool IsHead(string_view text) {
    if (text.substr(0, 2) == "\r\n") {
        text.remove_prefix(2);
    }
    bool isFirst = true;
    bool isGood = true;
    while (text.size() > 2) {
        const std::size_t end = text.find("\r\n");
        const string_view line = text.substr(0, end);
        isGood = isGood && (isFirst ? IsRequestLine(line) : IsField(line));
        isFirst = false;
        text.remove_prefix(end + 2);
    }
    return isGood && !isFirst;
}

string TextOf(const CHttpHead& head) {
    string text = head.m_method + " " + head.m_target;
    text += head.m_isHttp10 ? " HTTP/1.0\r\n" : " HTTP/1.1\r\n";
    for (const auto& [name, value] : head.m_fields) {
        text.append(name).append(":").append(value).append("\r\n");
    }
    return text + "\r\n";
}

string Encode(const string& bytes) {
    constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        unsigned bits = 0;
        for (std::size_t k = i; k < i + 3; ++k) {
            bits = bits << 8 | (k < bytes.size() ? static_cast<unsigned char>(bytes[k]) : 0);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            text += i + k > bytes.size() ? '=' : kAlphabet[bits >> (18 - 6 * k) & 63];
        }
    }
    return text;
}

void CheckCredentials(const CHttpHead& head) {
    if (const auto credentials = wbemd::ReadCredentials(head)) {
        const string value = head.Find("authorization").value_or("");
        const string encoded = Encode(credentials->m_user + ":" + credentials->m_password);
        CProperty::Require(head.Count("AUTHORIZATION") == 1, "there is one field of credentials");
        CProperty::Require(value.size() > encoded.size() &&
                               value.substr(value.size() - encoded.size()) == encoded,
                           "credentials are written in one way");
        CProperty::Require(!credentials->m_user.empty() &&
                               credentials->m_user.find(':') == string::npos,
                           "a user has a name without a colon");
    }
}

void CheckPlan(const CHttpHead& head) {
    const wbemd::CRequestPlan plan = wbemd::PlanRequest(head, kBodyBytes);
    const bool isChunked = head.Count("Transfer-Encoding") != 0;
    const std::size_t lengths = head.Count("Content-Length");
    CProperty::Require(!plan.m_keepOpen || (!isChunked && lengths <= 1 && !head.m_isHttp10),
                       "where the end of a request is unknown nothing follows it");
    if (!plan.m_refusal) {
        CProperty::Require(head.m_method == "POST" && head.m_target == "/cimom" && !isChunked &&
                               lengths == 1 && plan.m_bodyBytes <= kBodyBytes,
                           "what is taken is a POST to the path with a length");
        CProperty::Require(head.Count("Host") == 1 || (head.m_isHttp10 && head.Count("Host") == 0),
                           "what is taken names its host once");
    }
}

// Beast looks at what some fields say while it reads, and refuses what PlanRequest refuses later.
// It also knows Proxy-Connection, which no standard does.
void CheckProblem(const CBeastHead& other, const CHttpHead& head, const wbemd::CRequestPlan& plan) {
    if (other.m_problem == CBeastHead::Problem::BodyLength) {
        CProperty::Require(plan.m_refusal && !plan.m_keepOpen,
                           "a length that another reader refuses is refused");
        return;
    }
    CProperty::Require(other.m_problem == CBeastHead::Problem::FieldValue,
                       "another reader takes what is taken");
    const string& name = head.m_fields.at(other.m_fields.size()).first;
    if (wbemd::IsSameName(name, "Connection")) {
        CProperty::Require(plan.m_refusal && !plan.m_keepOpen,
                           "words that another reader refuses are refused");
        return;
    }
    CProperty::Require(wbemd::IsSameName(name, "Proxy-Connection"),
                       "another reader takes the values that are taken");
}

// Beast knows nothing of the empty line that is ignored before a head.
void CheckAgainstBeast(string_view text, std::size_t length, const CHttpHead& head) {
    const string_view ignored = "\r\n";
    if (text.substr(0, ignored.size()) == ignored) {
        text.remove_prefix(ignored.size());
        length -= ignored.size();
    }
    const CBeastHead other(text);
    const wbemd::CRequestPlan plan = wbemd::PlanRequest(head, kBodyBytes);
    if (other.m_problem != CBeastHead::Problem::None) {
        CheckProblem(other, head, plan);
        return;
    }
    CProperty::Require(other.m_length == length, "a head ends where it does for another reader");
    CProperty::Require(other.m_method == head.m_method && other.m_target == head.m_target &&
                           other.m_isHttp10 == head.m_isHttp10,
                       "a request asks what it does for another reader");
    CProperty::Require(other.m_fields == head.m_fields,
                       "the fields say what they do for another reader");
    if (!plan.m_refusal || plan.m_keepOpen) {
        CProperty::Require(other.m_bodyBytes.value_or(0) == plan.m_bodyBytes,
                           "a body ends where it does for another reader");
    }
    CProperty::Require(!plan.m_keepOpen || other.m_keepOpen || head.Count("Proxy-Connection") != 0,
                       "a connection stays open where it does for another reader");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const string text(data, data + size);
    const CHeadExtent extent = wbemd::FindHeadEnd(text, 0);
    const CHeadExtent plain = PlainEnd(text);
    CProperty::Require(extent.m_state == plain.m_state && extent.m_length == plain.m_length,
                       "a head ends where it ends");
    const std::size_t half = size / 2;
    if (wbemd::FindHeadEnd(string_view(text).substr(0, half), 0).m_state == State::Incomplete) {
        const CHeadExtent later = wbemd::FindHeadEnd(text, half);
        CProperty::Require(later.m_state == plain.m_state && later.m_length == plain.m_length,
                           "a head in two pieces ends where it ends");
    }
    if (extent.m_state != State::Complete) {
        return 0;
    }
    const string_view headText = string_view(text).substr(0, extent.m_length);
    const auto head = wbemd::ReadHead(headText);
    CProperty::Require(head.has_value() == IsHead(headText), "a head is taken when it is one");
    if (head) {
        const auto again = wbemd::ReadHead(TextOf(*head));
        CProperty::Require(again && again->m_method == head->m_method &&
                               again->m_target == head->m_target &&
                               again->m_fields == head->m_fields,
                           "what is written reads back equal");
        CheckCredentials(*head);
        CheckPlan(*head);
        CheckAgainstBeast(text, extent.m_length, *head);
    }
    return 0;
}
