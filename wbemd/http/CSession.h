#pragma once

#include "wbemd/http/CConnectionCount.h"
#include "wbemd/http/CProviderdLink.h"
#include "wbemd/http/CSettings.h"
#include "wbemd/http/CTransport.h"
#include "wbemd/http/Credentials.h"
#include "wbemd/http/HeadChecks.h"
#include "wbemd/http/HttpAnswer.h"
#include "wbemd/http/HttpHead.h"
#include "wbemd/operations/COperations.h"

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace wbemd {

inline constexpr char kNoProviderd[] =
    "The daemon that calls the provider cannot be reached. Try again later.";
inline constexpr char kSilentProviderd[] =
    "The daemon that calls the provider does not answer. Try again later.";
inline constexpr char kNoAnswer[] = "The server failed to answer. It may be short of memory.";

// What the sessions of a server share. Touched by the loop's thread alone.
struct CShared {
    CShared(const COperations& operations, asio::io_context& io, asio::thread_pool& worker,
            std::string providerdSocket)
        : m_operations(operations),
          m_io(io),
          m_worker(worker),
          m_link(io, std::move(providerdSocket), m_answers) {}

    // One of the requests that were begun is answered, or will never be.
    void EndRequest() {
        if (--m_begun == 0 && m_stopping) {
            m_onAllAnswered();
        }
    }

    const COperations& m_operations;
    asio::io_context& m_io;
    asio::thread_pool& m_worker;          // for what takes long
    daemon_base::CMemoryBudget m_bodies;  // of requests
    daemon_base::CMemoryBudget m_answers; // until the clients have taken them
    CProviderdLink m_link;
    CSettings m_settings;
    std::shared_ptr<asio::ssl::context> m_tls; // null when there is no https
    CConnectionCount m_count;
    CConnectionCount m_refused; // connections that are beyond the limit and told so
    std::size_t m_begun = 0;    // requests whose head was read and that are not answered yet
    bool m_stopping = false;
    std::function<void()> m_onAllAnswered;
};

// One connection of a client: its requests, one after the other. It keeps itself alive as long as
// something is under way on it.
class CSession : public std::enable_shared_from_this<CSession> {
public:
    // The place is the connection's as long as it lives.
    CSession(CShared& shared, CSocket socket, asio::ssl::context* tls, std::string peer,
             CConnectionCount::CPlace place)
        : m_shared(shared),
          m_place(std::move(place)),
          m_transport(std::move(socket), tls),
          m_peer(std::move(peer)),
          m_timer(shared.m_io),
          m_bodyShare(shared.m_bodies),
          m_answerShare(shared.m_answers) {}
    ~CSession() { EndRequest(); }
    CSession(const CSession&) = delete;
    CSession& operator=(const CSession&) = delete;

    void Serve();
    // Tells the client that there are too many.
    void RefuseAll() { Answer(Refusal(Status::Unavailable)); }

private:
    using Decision = std::variant<CHttpAnswer, CPendingCall>;
    using Duration = Clock::duration;

    static constexpr std::size_t kReadBytes = 4096;
    static constexpr std::size_t kBodyReadBytes = std::size_t{64} * 1024;
    static constexpr std::size_t kCheckAnswerBytes = 64;
    static constexpr std::size_t kCallAnswerBytes = std::size_t{32} * 1024; // most are shorter
    static constexpr std::chrono::seconds kGoodbyeTime{2};

    // The next request, from what has come and what comes.
    void NextRequest();
    void BeginRequest();
    void OnHeadBytes();
    void OnHead(const CHttpHead& head);

    // Its credentials and its body.
    void Ask(std::string frame, std::size_t answerBytes, Duration limit,
             void (CSession::*then)(CReply));
    void TakeCredentials(messages::CCredentials credentials);
    void AskForCredentials(void (CSession::*then)(CReply));
    void OnChecked(CReply reply);
    void OnCheckedLate(CReply reply);
    void OnCredentials(const CReply& reply, void (CSession::*then)());
    void TakeBody();
    void SendContinue();
    void ReadBody();

    // What it asks for.
    void Decide();
    void OnDecision(Decision decision);
    void DropBody();
    void Call();
    void OnCalled(CReply reply);
    void OnFinished(CHttpAnswer answer);
    [[nodiscard]] CHttpAnswer Finish(const CReply& reply) const;
    template <class Work, class Otherwise, class Then>
    void Compute(std::size_t bytes, Work work, Otherwise otherwise, Then then);
    template <class Work, class Otherwise>
    static std::invoke_result_t<Work> ResultOf(const Work& work, const Otherwise& otherwise);

    // Its answer, and what comes after it.
    void Answer(CHttpAnswer answer);
    void Write(std::string* text, void (CSession::*then)());
    void WriteBody();
    void AfterAnswer();
    void SkipBody();
    void EndRequest();
    void SayGoodbye();
    void Linger();

    // Reads at most this many bytes behind what has come in.
    void Read(std::size_t bytes, void (CSession::*then)());

    // The connection is cut at this time, unless another one is set before. While something is
    // asked of the daemon, that is given up in place of it.
    void CutAt(Clock::time_point time);
    void CutAfter(Duration time) { CutAt(Clock::now() + time); }
    void CutNever() { CutAt(Clock::time_point::max()); }
    void StartTimer();
    void OnCutTime();

    CShared& m_shared;
    const CConnectionCount::CPlace m_place;
    CTransport m_transport;
    std::string m_peer;

    std::weak_ptr<CProviderdLink::CQuestion> m_question; // that is on its way
    Clock::time_point m_askTime;                         // of the last question
    CTimer m_timer;
    Clock::time_point m_cutTime = Clock::time_point::max();
    Clock::time_point m_timerTime = Clock::time_point::max(); // when the timer looks at it
    Clock::time_point m_requestEnd;                           // when the request must have come

    std::string m_input;      // what came and was not taken yet
    std::size_t m_looked = 0; // bytes of it that are known to hold no end of a head
    bool m_isBegun = false;   // counted as a begun request
    bool m_sentContinue = false;
    CRequestPlan m_plan;
    CRequestHead m_head;
    messages::CCredentials m_credentials;
    bool m_isChecked = false; // they are right; until then nothing is answered by what they may do
    bool m_hasRead = false;   // the last call with them read the settings
    messages::Right m_right = messages::Right::None;
    std::size_t m_missing = 0; // bytes of the request's body that have not come, or not been taken
    daemon_base::CMemoryShare m_bodyShare;
    std::string m_body;
    CPendingCall m_call;

    std::string m_output;
    std::string m_outputBody;                // of a long answer
    daemon_base::CMemoryShare m_answerShare; // from what providerd said to what the client takes
    std::size_t m_written = 0;
    int m_untaken = 0; // bytes that the client had not taken when that was looked at last
    bool m_keepOpen = false;
};

} // namespace wbemd
