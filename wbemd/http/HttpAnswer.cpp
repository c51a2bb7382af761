#include "wbemd/http/HttpAnswer.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

namespace wbemd {

namespace {

struct CStatusText {
    unsigned m_status;
    const char* m_phrase;
    const char* m_sentence; // of a refusal
};

constexpr CStatusText kStatusTexts[] = {
    {200, "OK", ""},
    {400, "Bad Request", "The request is not well-formed HTTP."},
    {401, "Unauthorized", ""},
    {404, "Not Found", "Requests go to /cimom."},
    {405, "Method Not Allowed", "Requests are sent with POST."},
    {411, "Length Required", "The request must say its length with Content-Length."},
    {413, "Content Too Large", "The request is too long."},
    {415, "Unsupported Media Type", "Requests are application/xml in UTF-8."},
    {417, "Expectation Failed", "Only 100-continue can be expected."},
    {431, "Request Header Fields Too Large", "The head of the request is too long."},
    {501, "Not Implemented", "Requests are sent with POST."},
    {503, "Service Unavailable", "The server is busy or shutting down. Try again later."},
    {505, "HTTP Version Not Supported", "Requests are HTTP/1.1 or HTTP/1.0."}};

// The last row stands for what is not in the table.
constexpr CStatusText kUnknown = {0, "Unknown", "The request cannot be answered."};

const CStatusText& TextOf(unsigned status) {
    const auto* const found =
        std::find_if(std::begin(kStatusTexts), std::end(kStatusTexts),
                     [&](const CStatusText& text) { return text.m_status == status; });
    return found == std::end(kStatusTexts) ? kUnknown : *found;
}

// Those after which nothing of the request can be left on its way unseen.
bool StaysOpen(Status status) {
    return status == Status::NotFound || status == Status::MethodNotAllowed ||
           status == Status::NotImplemented;
}

// As HTTP writes dates, whatever the language of the process.
std::string DateText(std::time_t now) {
    constexpr std::array kDays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    constexpr std::array kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                    "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    constexpr int kFirstYear = 1900;
    constexpr std::size_t kSize = 64;
    std::tm time{};
    gmtime_r(&now, &time);
    std::array<char, kSize> text{};
    std::snprintf(text.data(), text.size(), "%s, %02d %s %04d %02d:%02d:%02d GMT",
                  kDays.at(static_cast<std::size_t>(time.tm_wday)), time.tm_mday,
                  kMonths.at(static_cast<std::size_t>(time.tm_mon)), time.tm_year + kFirstYear,
                  time.tm_hour, time.tm_min, time.tm_sec);
    return text.data();
}

} // namespace

CHttpAnswer Refusal(Status status) {
    return Refusal(status, TextOf(static_cast<unsigned>(status)).m_sentence);
}

CHttpAnswer Refusal(Status status, const std::string& reason) {
    CHttpAnswer answer;
    answer.m_status = static_cast<unsigned>(status);
    answer.m_keepOpen = StaysOpen(status);
    answer.m_headers.emplace_back("Content-Type", "text/plain; charset=\"utf-8\"");
    if (status == Status::MethodNotAllowed) {
        answer.m_headers.emplace_back("Allow", "POST");
    }
    answer.m_body = reason + "\n";
    return answer;
}

std::string WriteHead(const CHttpAnswer& answer, bool keepOpen, std::time_t now) {
    std::string text = "HTTP/1.1 " + std::to_string(answer.m_status) + " ";
    text.append(TextOf(answer.m_status).m_phrase).append("\r\n");
    text.append("Date: ").append(DateText(now)).append("\r\n");
    for (const auto& [name, value] : answer.m_headers) {
        text.append(name).append(": ").append(value).append("\r\n");
    }
    text.append("Content-Length: ").append(std::to_string(answer.m_body.size())).append("\r\n");
    if (!keepOpen) {
        text.append("Connection: close\r\n");
    }
    return text.append("\r\n");
}

} // namespace wbemd
