#pragma once

#include "providerd/MethodCall.h"
#include "serverbase/Messages.h"

#include <chrono>
#include <string>

// The lines by which an administrator sees who did what. Their texts are in quotes, with a
// backslash in front of quotes and backslashes; a password is never in one.
namespace providerd {

struct CAuditedRequest {
    std::string m_user;
    std::string m_peer;
    std::string m_operation; // a method's name, or kCheckOperation
    std::chrono::milliseconds m_time{0};
};
inline constexpr char kCheckOperation[] = "check";

// The line of a call: with its result, also when it was not made.
std::string CallLine(const CAuditedRequest& request, const CFinishedCall& call);
// The line of wrong credentials.
std::string RefusalLine(const CAuditedRequest& request, const std::string& reason);

} // namespace providerd
