#pragma once

// The steps of CSession, in the order of a request.

#include "serverbase/ServiceManager.h"
#include "wbemd/http/CSession.h"

#include <algorithm>
#include <ctime>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace wbemd {

inline void CSession::Serve() {
    if (!m_transport.HasTls()) {
        NextRequest();
        return;
    }
    CutAfter(m_shared.m_settings.m_handshakeTime);
    m_transport.Handshake([self = shared_from_this()](const ErrorCode& error) {
        if (!error) {
            self->NextRequest();
        }
    });
}

inline void CSession::NextRequest() {
    m_plan = {};
    m_looked = 0;
    m_sentContinue = false;
    if (!m_input.empty()) {
        BeginRequest();
        return;
    }
    m_input.shrink_to_fit();
    CutAfter(m_shared.m_settings.m_idleTime);
    Read(kReadBytes, &CSession::BeginRequest);
}

inline void CSession::BeginRequest() {
    m_requestEnd = Clock::now() + m_shared.m_settings.m_requestTime;
    CutAt(m_requestEnd);
    OnHeadBytes();
}

inline void CSession::OnHeadBytes() {
    const CHeadExtent extent = FindHeadEnd(m_input, m_looked);
    m_looked = m_input.size();
    if (extent.m_state == CHeadExtent::State::Incomplete) {
        Read(kReadBytes, &CSession::OnHeadBytes);
        return;
    }
    m_isBegun = true;
    ++m_shared.m_begun;
    if (m_shared.m_stopping) {
        Answer(Refusal(Status::Unavailable));
    } else if (extent.m_state != CHeadExtent::State::Complete) {
        const bool isTooLong = extent.m_state == CHeadExtent::State::TooLong;
        Answer(Refusal(isTooLong ? Status::HeaderTooLarge : Status::BadRequest));
    } else if (const auto head = ReadHead(std::string_view(m_input).substr(0, extent.m_length))) {
        m_input.erase(0, extent.m_length);
        OnHead(*head);
    } else {
        Answer(Refusal(static_cast<Status>(head.error())));
    }
}

inline void CSession::OnHead(const CHttpHead& head) {
    m_plan = PlanRequest(head, m_shared.m_settings.m_bodyBytes);
    m_missing = m_plan.m_bodyBytes;
    if (m_plan.m_refusal) {
        Answer(std::move(*m_plan.m_refusal));
    } else if (auto credentials = ReadCredentials(head)) {
        m_head = RequestHeadOf(head);
        TakeCredentials(std::move(*credentials));
    } else {
        Answer(WrongCredentials());
    }
}

// Who has read reads again, as a rule, and then the call itself has its credentials checked.
inline void CSession::TakeCredentials(messages::CCredentials credentials) {
    const bool readsOn = std::exchange(m_hasRead, false) && m_credentials == credentials;
    m_credentials = std::move(credentials);
    m_isChecked = false;
    if (readsOn) {
        TakeBody();
    } else {
        AskForCredentials(&CSession::OnChecked);
    }
}

// The time that the answer takes is not the client's.
inline void CSession::Ask(std::string frame, std::size_t answerBytes, Duration limit,
                          void (CSession::*then)(CReply)) {
    auto done = [self = shared_from_this(), then](CReply reply) {
        self->m_question.reset();
        self->CutNever();
        ((*self).*then)(std::move(reply));
    };
    const auto question = m_shared.m_link.Prepare(std::move(frame), answerBytes, std::move(done));
    m_question = question;
    CutAfter(limit);
    question->Start();
}

inline void CSession::AskForCredentials(void (CSession::*then)(CReply)) {
    m_askTime = Clock::now();
    Ask(messages::Encode(messages::CCheckRequest{m_credentials, m_peer}), kCheckAnswerBytes,
        m_shared.m_settings.m_checkTime, then);
}

inline void CSession::OnChecked(CReply reply) {
    m_requestEnd += Clock::now() - m_askTime;
    CutAt(m_requestEnd);
    OnCredentials(reply, &CSession::TakeBody);
}

// The body is here already, and what it asks for depends on the right.
inline void CSession::OnCheckedLate(CReply reply) {
    OnCredentials(reply, &CSession::Decide);
}

inline void CSession::OnCredentials(const CReply& reply, void (CSession::*then)()) {
    const auto answer = reply.m_state == CReply::State::Answered
                            ? messages::DecodeCheckAnswer(reply.m_payload)
                            : std::nullopt;
    if (reply.m_state == CReply::State::Unknown) {
        Answer(Refusal(Status::Unavailable, kSilentProviderd));
    } else if (!answer) {
        Answer(Refusal(Status::Unavailable, kNoProviderd));
    } else if (!answer->m_authenticated) {
        Answer(WrongCredentials());
    } else {
        m_right = answer->m_right;
        m_isChecked = true;
        (this->*then)();
    }
}

inline void CSession::TakeBody() {
    if (!m_bodyShare.Take(m_missing)) {
        Answer(Refusal(Status::Unavailable));
        return;
    }
    m_body.reserve(m_missing);
    if (m_plan.m_expectsContinue) {
        SendContinue();
    } else {
        ReadBody();
    }
}

inline void CSession::SendContinue() {
    m_sentContinue = true;
    m_output = kContinue;
    Write(&m_output, &CSession::ReadBody);
}

inline void CSession::ReadBody() {
    CutAt(m_requestEnd);
    const std::size_t count = std::min(m_missing, m_input.size());
    m_body.append(m_input, 0, count);
    m_input.erase(0, count);
    m_missing -= count;
    if (m_missing != 0) {
        Read(std::min(m_missing, kBodyReadBytes), &CSession::ReadBody);
    } else {
        Decide();
    }
}

// Without memory nothing was called.
inline void CSession::Decide() {
    CutNever();
    Compute(
        m_body.size(),
        [this] { return Decision(m_shared.m_operations.Answer(m_head, m_body, m_right)); },
        [] { return Decision(Refusal(Status::Unavailable, kNoAnswer)); },
        [this](Decision decision) { OnDecision(std::move(decision)); });
}

inline void CSession::OnDecision(Decision decision) {
    auto* const call = std::get_if<CPendingCall>(&decision);
    if (!m_isChecked && (call == nullptr || call->m_changes)) {
        AskForCredentials(&CSession::OnCheckedLate);
    } else if (call == nullptr) {
        auto& answer = std::get<CHttpAnswer>(decision);
        const bool hasRoom = m_answerShare.TakeIfLong(answer.m_body.size());
        Answer(hasRoom ? std::move(answer) : Refusal(Status::Unavailable));
    } else {
        DropBody();
        m_call = std::move(*call);
        Call();
    }
}

inline void CSession::DropBody() {
    std::string().swap(m_body);
    m_bodyShare.Release();
}

inline void CSession::Call() {
    messages::CCallRequest request;
    request.m_credentials = m_credentials;
    request.m_peer = m_peer;
    request.m_method = m_call.m_method;
    request.m_inParameters = std::move(m_call.m_inParameters);
    Ask(messages::Encode(request), kCallAnswerBytes, m_shared.m_settings.m_callTime,
        &CSession::OnCalled);
}

// Without memory the answer is the one that was made before the call.
inline void CSession::OnCalled(CReply reply) {
    if (reply.m_state == CReply::State::Unreachable) {
        Answer(Refusal(Status::Unavailable, kNoProviderd));
        return;
    }
    if (reply.m_state == CReply::State::NoMemory) {
        Answer(std::move(m_call.m_withoutMemory));
        return;
    }
    m_answerShare = std::move(reply.m_share);
    m_hasRead = !m_call.m_changes && reply.m_state == CReply::State::Answered;
    const std::size_t bytes = reply.m_payload.size();
    Compute(
        bytes, [this, given = std::move(reply)] { return Finish(given); },
        [this] { return std::move(m_call.m_withoutMemory); },
        [this](CHttpAnswer finished) { OnFinished(std::move(finished)); });
}

inline void CSession::OnFinished(CHttpAnswer answer) {
    m_hasRead = m_hasRead && answer.m_status == CHttpAnswer::kOk;
    const bool hasRoom = m_answerShare.TakeIfLong(answer.m_body.size());
    Answer(std::move(hasRoom ? answer : m_call.m_withoutMemory));
}

inline CHttpAnswer CSession::Finish(const CReply& reply) const {
    std::optional<messages::CCallAnswer> answer;
    if (reply.m_state == CReply::State::Answered) {
        answer = messages::DecodeCallAnswer(reply.m_payload);
    }
    if (!answer) {
        answer.emplace();
        answer->m_result = reply.m_state == CReply::State::Unknown ? messages::CallResult::Unknown
                                                                   : messages::CallResult::Died;
    }
    return m_shared.m_operations.Finish(m_call, *answer);
}

// Computes what short texts ask for at once, and has the worker compute the rest, so that nobody
// waits for the loop. The session touches nothing meanwhile. `otherwise` gives the result where the
// work cannot; where that cannot, either, the connection is given up.
template <class Work, class Otherwise, class Then>
void CSession::Compute(std::size_t bytes, Work work, Otherwise otherwise, Then then) {
    if (bytes <= daemon_base::kShortBytes) {
        then(ResultOf(work, otherwise));
        return;
    }
    using Result = std::invoke_result_t<Work>;
    const auto result = std::make_shared<std::optional<Result>>();
    // The worker needs no memory to end the wait. The session ends on the loop's thread.
    const auto wait = std::make_shared<CTimer>(m_shared.m_io, Clock::time_point::max());
    wait->async_wait(
        [self = shared_from_this(), result, then = std::move(then)](const ErrorCode&) mutable {
            if (*result) {
                then(std::move(**result));
            }
        });
    asio::post(m_shared.m_worker, [work = std::move(work), otherwise, result, wait]() mutable {
        try {
            result->emplace(ResultOf(work, otherwise));
        } catch (const std::exception& exception) {
            daemon_base::LogException("A connection was given up", exception);
        }
        wait->cancel();
    });
}

template <class Work, class Otherwise>
std::invoke_result_t<Work> CSession::ResultOf(const Work& work, const Otherwise& otherwise) {
    try {
        return work();
    } catch (const std::exception&) {
        return otherwise();
    }
}

inline void CSession::Answer(CHttpAnswer answer) {
    DropBody();
    // Without 100 the client may leave out the body: where the next request begins is unknown.
    const bool isEndKnown = m_missing == 0 || !m_plan.m_expectsContinue || m_sentContinue;
    m_keepOpen = answer.m_keepOpen && m_plan.m_keepOpen && isEndKnown && !m_shared.m_stopping;
    m_output = WriteHead(answer, m_keepOpen, std::time(nullptr));
    if (answer.m_body.size() <= daemon_base::kShortBytes) {
        m_output += answer.m_body;
    } else {
        m_outputBody = std::move(answer.m_body);
    }
    CutAfter(m_shared.m_settings.m_answerTime);
    Write(&m_output, &CSession::WriteBody);
}

inline void CSession::WriteBody() {
    Write(&m_outputBody, &CSession::AfterAnswer);
}

inline void CSession::Write(std::string* text, void (CSession::*then)()) {
    if (m_written == text->size()) {
        m_written = 0;
        text->clear();
        (this->*then)();
        return;
    }
    m_untaken = m_transport.Untaken();
    m_transport.WriteSome(
        asio::buffer(text->data() + m_written, text->size() - m_written),
        [self = shared_from_this(), text, then](const ErrorCode& error, std::size_t count) {
            if (!error) {
                self->m_written += count;
                self->CutAfter(self->m_shared.m_settings.m_answerTime);
                self->Write(text, then);
            }
        });
}

inline void CSession::AfterAnswer() {
    m_outputBody.shrink_to_fit();
    m_answerShare.Release();
    if (!m_keepOpen) {
        SayGoodbye();
        return;
    }
    EndRequest();
    CutAt(m_requestEnd);
    SkipBody();
}

// What is left of a body that nobody wants.
inline void CSession::SkipBody() {
    const std::size_t count = std::min(m_missing, m_input.size());
    m_input.erase(0, count);
    m_missing -= count;
    if (m_missing != 0) {
        Read(std::min(m_missing, kBodyReadBytes), &CSession::SkipBody);
    } else {
        NextRequest();
    }
}

inline void CSession::EndRequest() {
    if (std::exchange(m_isBegun, false)) {
        m_shared.EndRequest();
    }
}

inline void CSession::SayGoodbye() {
    CutAfter(kGoodbyeTime);
    if (m_transport.HasTls()) {
        m_transport.EndTls([self = shared_from_this()](const ErrorCode&) { self->Linger(); });
    } else {
        Linger();
    }
}

// A connection that is closed while the client still sends is reset, and the answer may be lost.
inline void CSession::Linger() {
    m_transport.EndSending();
    m_input.resize(kReadBytes);
    m_transport.ReadRest(asio::buffer(m_input),
                         [self = shared_from_this()](const ErrorCode& error, std::size_t) {
                             if (!error) {
                                 self->Linger();
                             }
                         });
}

inline void CSession::Read(std::size_t bytes, void (CSession::*then)()) {
    const std::size_t known = m_input.size();
    m_input.resize(known + bytes);
    m_transport.ReadSome(
        asio::buffer(&m_input[known], bytes),
        [self = shared_from_this(), known, then](const ErrorCode& error, std::size_t count) {
            self->m_input.resize(known + count);
            if (!error) {
                ((*self).*then)();
            }
        });
}

inline void CSession::CutAt(Clock::time_point time) {
    m_cutTime = time;
    if (time < m_timerTime) {
        StartTimer();
    }
}

// A time that is put off costs nothing: the timer finds out when it gets there.
inline void CSession::StartTimer() {
    m_timerTime = m_cutTime;
    m_timer.expires_at(m_timerTime);
    m_timer.async_wait([weak = weak_from_this()](const ErrorCode& error) {
        const std::shared_ptr<CSession> self = weak.lock();
        if (error || !self) {
            return;
        }
        self->m_timerTime = Clock::time_point::max();
        if (Clock::now() < self->m_cutTime) {
            self->CutAt(self->m_cutTime);
        } else {
            self->OnCutTime();
        }
    });
}

// A client that is slow frees room for more of its answer only now and then, and is not cut.
inline void CSession::OnCutTime() {
    if (const auto question = m_question.lock()) {
        question->GiveUp();
        return;
    }
    const int untaken = m_output.empty() && m_outputBody.empty() ? 0 : m_transport.Untaken();
    if (untaken < m_untaken && untaken != 0) {
        m_untaken = untaken;
        CutAfter(m_shared.m_settings.m_answerTime);
    } else {
        m_transport.Cut();
    }
}

} // namespace wbemd
