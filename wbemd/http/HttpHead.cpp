#include "wbemd/http/HttpHead.h"

#include <algorithm>

namespace wbemd {

using std::string_view;

namespace {

constexpr unsigned kBadRequest = 400;
constexpr unsigned kVersionNotSupported = 505;

constexpr string_view kLineEnd = "\r\n";
constexpr string_view kBlanks = " \t";
constexpr string_view kHeadEnd = "\r\n\r\n";

char ToLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool IsTokenCharacter(char c) {
    constexpr string_view kMarks = "!#$%&'*+-.^_`|~";
    const char lower = ToLower(c);
    return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') ||
           kMarks.find(c) != string_view::npos;
}

bool IsToken(string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), IsTokenCharacter);
}

bool IsControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < ' ' || byte == 0x7F;
}

bool IsTarget(string_view text) {
    return !text.empty() && std::none_of(text.begin(), text.end(), [](char c) {
        return IsControl(c) || c == ' ' || static_cast<unsigned char>(c) >= 0x80;
    });
}

bool IsValue(string_view text) {
    return std::none_of(text.begin(), text.end(), [](char c) { return IsControl(c) && c != '\t'; });
}

string_view Trim(string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// The text before the separator, which is taken away with it; the whole text where there is none.
string_view TakeUntil(string_view* text, string_view separator) {
    const std::size_t at = text->find(separator);
    const string_view taken = text->substr(0, at);
    text->remove_prefix(at == string_view::npos ? text->size() : at + separator.size());
    return taken;
}

// 0 for HTTP/1.1 and HTTP/1.0, else the status of the refusal.
unsigned ReadVersion(string_view text, CHttpHead* head) {
    constexpr string_view kName = "HTTP/";
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (text.size() != kName.size() + 3 || text.substr(0, kName.size()) != kName ||
        !isDigit(text[5]) || text[6] != '.' || !isDigit(text[7])) {
        return kBadRequest;
    }
    head->m_isHttp10 = text == "HTTP/1.0";
    return head->m_isHttp10 || text == "HTTP/1.1" ? 0 : kVersionNotSupported;
}

unsigned ReadRequestLine(string_view line, CHttpHead* head) {
    head->m_method = TakeUntil(&line, " ");
    head->m_target = TakeUntil(&line, " ");
    if (!IsToken(head->m_method) || !IsTarget(head->m_target)) {
        return kBadRequest;
    }
    return ReadVersion(line, head);
}

bool ReadField(string_view line, CHttpHead* head) {
    const std::size_t colon = line.find(':');
    if (colon == string_view::npos || !IsToken(line.substr(0, colon))) {
        return false; // folded lines are among it, and blanks before the colon
    }
    const string_view value = Trim(line.substr(colon + 1));
    head->m_fields.emplace_back(line.substr(0, colon), value);
    return IsValue(value);
}

} // namespace

bool IsSameName(string_view left, string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char l, char r) { return ToLower(l) == ToLower(r); });
}

std::size_t CHttpHead::Count(string_view name) const {
    return static_cast<std::size_t>(
        std::count_if(m_fields.begin(), m_fields.end(),
                      [&](const auto& field) { return IsSameName(field.first, name); }));
}

std::optional<std::string> CHttpHead::Find(string_view name) const {
    std::optional<std::string> joined;
    for (const auto& [fieldName, value] : m_fields) {
        if (IsSameName(fieldName, name)) {
            joined = joined ? *joined + ", " + value : value;
        }
    }
    return joined;
}

bool CHttpHead::HasToken(string_view name, string_view token) const {
    const std::string words = Find(name).value_or("");
    string_view rest = words;
    while (!rest.empty()) {
        if (IsSameName(Trim(TakeUntil(&rest, ",")), token)) {
            return true;
        }
    }
    return false;
}

bool CHttpHead::HasOnlyTokens(string_view name) const {
    const std::string words = Find(name).value_or("");
    string_view rest = words;
    while (!rest.empty()) {
        const string_view word = Trim(TakeUntil(&rest, ","));
        if (!word.empty() && !IsToken(word)) {
            return false;
        }
    }
    return true;
}

CHeadExtent FindHeadEnd(string_view text, std::size_t known) {
    using State = CHeadExtent::State;
    const string_view head = text.substr(0, kHeadBytes);
    for (std::size_t at = head.find('\n', known); at != string_view::npos;
         at = head.find('\n', at + 1)) {
        if (at == 0 || head[at - 1] != '\r') {
            return {State::Malformed, 0};
        }
        const std::size_t end = at + 1;
        if (end >= kHeadEnd.size() &&
            head.substr(end - kHeadEnd.size(), kHeadEnd.size()) == kHeadEnd) {
            return {State::Complete, end};
        }
    }
    return {text.size() < kHeadBytes ? State::Incomplete : State::TooLong, 0};
}

tl::expected<CHttpHead, unsigned> ReadHead(string_view text) {
    CHttpHead head;
    if (text.substr(0, kLineEnd.size()) == kLineEnd) {
        text.remove_prefix(kLineEnd.size());
    }
    const unsigned status = ReadRequestLine(TakeUntil(&text, kLineEnd), &head);
    if (status != 0) {
        return tl::make_unexpected(status);
    }
    for (string_view line = TakeUntil(&text, kLineEnd); !line.empty();
         line = TakeUntil(&text, kLineEnd)) {
        if (!ReadField(line, &head)) {
            return tl::make_unexpected(kBadRequest);
        }
    }
    return head;
}

} // namespace wbemd
