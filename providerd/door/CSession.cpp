#include "providerd/door/CSession.h"

#include "providerd/FrameTransfer.h"
#include "providerd/door/Audit.h"
#include "providerd/door/Rights.h"
#include "providerd/door/Secrets.h"
#include "serverbase/ServiceManager.h"

#include <new>
#include <utility>

namespace providerd {

namespace {

using daemon_base::Level;
using daemon_base::Log;
using messages::CallResult;
using messages::Right;
using Checked = CAuthentication::CAnswer;
using For = CAuthentication::For;

// How long a request takes.
class CStopwatch {
public:
    [[nodiscard]] std::chrono::milliseconds Time() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - m_begin);
    }

private:
    TimePoint m_begin = std::chrono::steady_clock::now();
};

void WipePassword(messages::Request* request) {
    std::visit([](auto& message) { Wipe(&message.m_credentials.m_password); }, *request);
}

} // namespace

void CSession::Serve(int socket) const {
    for (;;) {
        daemon_base::CMemoryShare share(*m_memory);
        std::string payload; // all of a usual one arrives in the same memory, and is wiped there
        const Transfer received = ReceiveFrame(socket, &payload, {}, &share);
        if (received == Transfer::Broken) {
            Log(Level::Warning, "A connection was closed: what came is no frame, or broke off.");
        }
        if (received == Transfer::NoRoom) {
            Log(Level::Warning, "A connection was closed: requests of " +
                                    std::to_string(kRequestMemory) +
                                    " bytes are in memory, and there is no room for one more.");
        }
        if (received != Transfer::Done) {
            Wipe(&payload);
            return;
        }
        const Frame frame = Answer(&payload);
        share.Release();
        if (frame == nullptr || SendFrame(socket, *frame, {}) != Transfer::Done) {
            return;
        }
    }
}

Frame CSession::Answer(std::string* payload) const {
    const std::size_t bytes = payload->size();
    std::optional<messages::Request> request = messages::DecodeRequest(*payload);
    Wipe(payload);
    payload->shrink_to_fit();
    if (!request) {
        Log(Level::Warning, "A connection was closed: " + std::to_string(bytes) +
                                " bytes came that are no request.");
        return nullptr;
    }
    Frame answer = std::visit([this](auto& message) { return AnswerTo(message); }, *request);
    WipePassword(&*request);
    return answer;
}

Frame CSession::AnswerTo(const messages::CCheckRequest& request) const {
    const CStopwatch stopwatch;
    const Checked checked =
        m_authentication->Check(request.m_credentials, request.m_peer, For::Reading);
    if (checked.m_kind == Checked::Kind::Stopped) {
        return nullptr;
    }
    const bool isRight = checked.m_kind == Checked::Kind::Right;
    if (!isRight) {
        Log(Level::Notice, RefusalLine({request.m_credentials.m_user, request.m_peer,
                                        kCheckOperation, stopwatch.Time()},
                                       checked.m_reason));
    }
    return std::make_shared<std::string>(Encode(messages::CCheckAnswer{isRight, checked.m_right}));
}

Frame CSession::AnswerTo(messages::CCallRequest& request) const {
    const CStopwatch stopwatch;
    const For purpose =
        NeededRight(request.m_method) == Right::Change ? For::Changing : For::Reading;
    const Checked checked = m_authentication->Check(request.m_credentials, request.m_peer, purpose);
    CAuditedRequest audited{request.m_credentials.m_user, request.m_peer, request.m_method, {}};
    if (checked.m_kind == Checked::Kind::Wrong) {
        audited.m_time = stopwatch.Time();
        Log(Level::Notice, RefusalLine(audited, checked.m_reason));
        return CFinishedCall(CallResult::WrongCredentials).m_frame;
    }
    const CFinishedCall finished = checked.m_kind == Checked::Kind::Stopped
                                       ? CFinishedCall(CallResult::ShuttingDown)
                                       : Call(request, checked.m_right);
    audited.m_time = stopwatch.Time();
    Log(Level::Info, CallLine(audited, finished));
    return finished.m_frame;
}

CFinishedCall CSession::Call(messages::CCallRequest& request, Right right) const {
    const Right needed = NeededRight(request.m_method);
    if (needed == Right::None) {
        return CFinishedCall(CallResult::NoMethod);
    }
    if (right < needed) {
        return CFinishedCall(CallResult::NotAllowed);
    }
    CMethodCall call{request.m_method, std::move(request.m_inParameters), {}};
    call.m_origin.m_user = request.m_credentials.m_user;
    call.m_origin.m_from = request.m_peer;
    try {
        return m_run(std::move(call));
    } catch (const std::bad_alloc&) { // it may have been made
        return CFinishedCall(CallResult::Died);
    }
}

} // namespace providerd
