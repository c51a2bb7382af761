#include "providerd/door/Audit.h"

#include <array>
#include <cstdio>

namespace providerd {

namespace {

using messages::CallResult;

constexpr char kWrongCredentials[] = "wrong credentials";

std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char character : text) {
        if (character == '"' || character == '\\') {
            quoted += '\\';
        }
        quoted += character;
    }
    return quoted + "\"";
}

const char* WordsOf(CallResult result) {
    switch (result) {
    case CallResult::Done:
        return "done";
    case CallResult::WrongCredentials:
        return kWrongCredentials;
    case CallResult::NotAllowed:
        return "not allowed";
    case CallResult::NoMethod:
        return "no such method";
    case CallResult::NotAvailable:
        return "provider not available";
    case CallResult::QueueFull:
        return "too many calls wait";
    case CallResult::ShuttingDown:
        return "shutting down";
    case CallResult::NotKept:
        return "settings could not be kept";
    case CallResult::TimedOut:
        return "timed out";
    case CallResult::Died:
        return "worker died";
    default:
        return "failed";
    }
}

std::string Hexadecimal(std::uint32_t value) {
    std::array<char, sizeof("0x80000000")> text{};
    std::snprintf(text.data(), text.size(), "0x%08X", value);
    return text.data();
}

std::string Beginning(const CAuditedRequest& request) {
    return "user=" + Quoted(request.m_user) + " peer=" + Quoted(request.m_peer) +
           " operation=" + Quoted(request.m_operation);
}

std::string Time(const CAuditedRequest& request) {
    return " ms=" + std::to_string(request.m_time.count());
}

} // namespace

std::string CallLine(const CAuditedRequest& request, const CFinishedCall& call) {
    std::string line = Beginning(request) + " result=" + Quoted(WordsOf(call.m_result));
    if (call.m_result == CallResult::Done) {
        line += " return=" + Hexadecimal(call.m_uiReturnValue);
    }
    line += Time(request);
    return call.m_historyId.empty() ? line : line + " history=" + call.m_historyId;
}

std::string RefusalLine(const CAuditedRequest& request, const std::string& reason) {
    return Beginning(request) + " result=" + Quoted(kWrongCredentials) +
           " reason=" + Quoted(reason) + Time(request);
}

} // namespace providerd
