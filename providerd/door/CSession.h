#pragma once

#include "providerd/MethodCall.h"
#include "providerd/door/CAuthentication.h"
#include "serverbase/Messages.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace providerd {

// What is said on one connection with the front end: requests, each with its answer. Every request
// is checked by itself, whatever was asked before.
class CSession {
public:
    // Makes a call of somebody who may make it.
    using RunCall = std::function<CFinishedCall(CMethodCall)>;

    CSession(CAuthentication* authentication, RunCall run)
        : m_authentication(authentication),
          m_run(std::move(run)) {}

    // Answers until the other side ends the connection, or says what is no request, which is
    // logged. The socket stays the caller's.
    void Serve(int socket) const;

private:
    // The answer's frame; nothing when there is none, and the connection ends.
    [[nodiscard]] std::optional<std::string> Answer(std::string_view payload) const;
    [[nodiscard]] std::optional<std::string> AnswerTo(const messages::CCheckRequest& request) const;
    [[nodiscard]] std::optional<std::string> AnswerTo(const messages::CCallRequest& request) const;
    [[nodiscard]] CFinishedCall Call(const messages::CCallRequest& request,
                                     messages::Right right) const;

    CAuthentication* m_authentication;
    RunCall m_run;
};

} // namespace providerd
