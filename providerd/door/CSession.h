#pragma once

#include "providerd/MethodCall.h"
#include "providerd/door/CAuthentication.h"
#include "serverbase/CMemoryBudget.h"
#include "serverbase/Messages.h"

#include <functional>
#include <memory>
#include <string>

namespace providerd {

// What is said on one connection with the front end: requests, each with its answer. Every request
// is checked by itself, whatever was asked before. The copies of a session serve a connection each,
// and share the memory for requests.
class CSession {
public:
    // Of all requests that are being received or answered, but for the short ones.
    static constexpr std::size_t kRequestMemory = 4 * messages::kFrameBytes;

    // Makes a call of somebody who may make it.
    using RunCall = std::function<CFinishedCall(CMethodCall)>;

    CSession(CAuthentication* authentication, RunCall run)
        : m_authentication(authentication),
          m_run(std::move(run)) {}

    // Answers until the other side ends the connection, or says what is no request, or one that
    // there is no memory for; the last two are logged. The socket stays the caller's.
    void Serve(int socket) const;

private:
    // Null when there is no answer, and the connection ends. The payload is wiped.
    [[nodiscard]] Frame Answer(std::string* payload) const;
    [[nodiscard]] Frame AnswerTo(const messages::CCheckRequest& request) const;
    [[nodiscard]] Frame AnswerTo(messages::CCallRequest& request) const;
    // Takes the parameters away from the request.
    [[nodiscard]] CFinishedCall Call(messages::CCallRequest& request, messages::Right right) const;

    CAuthentication* m_authentication;
    RunCall m_run;
    std::shared_ptr<daemon_base::CMemoryBudget> m_memory =
        std::make_shared<daemon_base::CMemoryBudget>(kRequestMemory);
};

} // namespace providerd
