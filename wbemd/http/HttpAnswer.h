#pragma once

#include "wbemd/operations/COperations.h"

#include <ctime>
#include <string>

// The answers that need nothing of CIM, and how an answer is written.
namespace wbemd {

// The statuses that are given here; the operations give others besides.
enum class Status : unsigned {
    BadRequest = 400,
    NotFound = 404,
    MethodNotAllowed = 405,
    LengthRequired = 411,
    ContentTooLarge = 413,
    ExpectationFailed = 417,
    HeaderTooLarge = 431,
    NotImplemented = 501,
    Unavailable = 503,
    VersionNotSupported = 505
};

// The whole answer with this status: a sentence for people, the headers that belong to it, and
// whether the connection stays open after it.
CHttpAnswer Refusal(Status status);
// The same, with the reason in place of the sentence.
CHttpAnswer Refusal(Status status, const std::string& reason);

// The status line and the headers, up to the empty line behind them. `now` is what Date says.
std::string WriteHead(const CHttpAnswer& answer, bool keepOpen, std::time_t now);

// What asks a client that waits before it sends its body to go on.
inline constexpr char kContinue[] = "HTTP/1.1 100 Continue\r\n\r\n";

} // namespace wbemd
