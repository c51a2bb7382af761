#pragma once

#include "history/CDescriptor.h"
#include "serverbase/CMemoryBudget.h"
#include "serverbase/Frames.h"
#include "wbemd/http/Asio.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace wbemd {

// How a question to the daemon that calls the provider went.
struct CReply {
    enum class State {
        Unreachable, // the question was not sent as a whole, so nothing was done for it
        Broken,      // it was, and the connection ended without an answer
        Unknown,     // it was, and there is no answer in time
        NoMemory,    // it was, and there is no memory for the answer
        Answered
    };
    State m_state;
    std::string m_payload;             // of the answer
    daemon_base::CMemoryShare m_share; // that the payload has, unless it is short
};

// Connections to the daemon that calls the provider, each of which carries one question at a time.
// Some are kept. Nothing is ever sent twice.
class CProviderdLink {
public:
    class CQuestion;
    using Done = std::function<void(CReply)>;

    // What is not short of the answers has its share of the memory.
    CProviderdLink(asio::io_context& io, std::string path, daemon_base::CMemoryBudget& memory)
        : m_io(io),
          m_path(std::move(path)),
          m_memory(memory) {}

    // A question that is a frame, to be started. An answer of at most so many bytes is read at
    // once, a longer one bit by bit. `done` is called once, on the loop's thread.
    std::shared_ptr<CQuestion> Prepare(std::string frame, std::size_t answerBytes, Done done);
    // Closes what is kept.
    void Clear() { m_idle.clear(); }

private:
    // A kept connection that the other side has not closed, or one that is not open.
    CLocalSocket TakeSocket();
    // A new connection: 0 or an error number. EAGAIN: too many wait for theirs.
    int Connect(CLocalSocket* socket) const;
    void Keep(CLocalSocket socket);

    static constexpr std::size_t kKept = 128; // each has a thread of its own on the other side

    asio::io_context& m_io;
    std::string m_path;
    daemon_base::CMemoryBudget& m_memory;
    std::vector<CLocalSocket> m_idle;
};

// One question on its way. It keeps itself alive until it is answered.
class CProviderdLink::CQuestion : public std::enable_shared_from_this<CQuestion> {
public:
    CQuestion(CProviderdLink& link, std::string frame, std::size_t answerBytes, Done done)
        : m_link(link),
          m_answerBytes(messages::kFrameHeaderBytes + answerBytes),
          m_socket(link.TakeSocket()),
          m_timer(link.m_io),
          m_frame(std::move(frame)),
          m_done(std::move(done)),
          m_share(link.m_memory) {}

    // Sends it. It may end before this returns.
    void Start() {
        if (m_socket.is_open()) {
            Write(Fresh::No);
        } else {
            Connect();
        }
    }
    // Ends it without an answer. Its connection is closed: an answer that comes late is nobody's.
    void GiveUp() {
        Close();
        End(m_isSent ? CReply::State::Unknown : CReply::State::Unreachable);
    }

private:
    enum class Fresh { No, Yes }; // whether the connection is a new one

    // The daemon's queue of connections may be full for a moment.
    static constexpr int kConnectTries = 100;
    static constexpr std::chrono::milliseconds kConnectPause{20};

    [[nodiscard]] bool HasEnded() const { return m_done == nullptr; }

    void Connect() {
        if (HasEnded()) {
            return;
        }
        const int error = m_link.Connect(&m_socket);
        if (error == 0) {
            Write(Fresh::Yes);
        } else if (error == EAGAIN && ++m_tries < kConnectTries) {
            m_timer.expires_after(kConnectPause);
            m_timer.async_wait([self = shared_from_this()](const ErrorCode&) { self->Connect(); });
        } else {
            End(CReply::State::Unreachable);
        }
    }

    void Write(Fresh fresh) {
        asio::async_write(
            m_socket, asio::buffer(m_frame),
            [self = shared_from_this(), fresh](const ErrorCode& error, std::size_t written) {
                if (self->HasEnded()) {
                    return;
                }
                if (!error) {
                    self->m_isSent = true;
                    std::string().swap(self->m_frame);
                    self->Read();
                } else if (written == 0 && fresh == Fresh::No) {
                    self->Connect();
                } else {
                    self->End(CReply::State::Unreachable);
                }
            });
    }

    void Read() {
        if (m_answer.size() == m_known) {
            m_answer.resize(m_known + m_answerBytes);
        }
        m_socket.async_read_some(
            asio::buffer(&m_answer[m_known], m_answer.size() - m_known),
            [self = shared_from_this()](const ErrorCode& error, std::size_t count) {
                self->m_known += count;
                self->OnRead(error);
            });
    }

    void OnRead(const ErrorCode& error) {
        if (HasEnded()) {
            return;
        }
        if (error || !TakeLength()) {
            End(CReply::State::Broken);
        } else if (!HasRoom()) {
            Close();
            End(CReply::State::NoMemory);
        } else if (m_wanted == 0 || m_known < m_wanted) {
            Read();
        } else {
            OnAnswer();
        }
    }

    // Looks for the answer's length as soon as it can be known. False: it is none.
    bool TakeLength() {
        if (m_wanted != 0 || m_known < messages::kFrameHeaderBytes) {
            return true;
        }
        const auto length = messages::DecodeFrameLength(
            std::string_view(m_answer).substr(0, messages::kFrameHeaderBytes));
        if (length) {
            m_wanted = messages::kFrameHeaderBytes + *length;
        }
        return length.has_value();
    }

    // Makes room for the whole answer, once its length is known. False: there is no memory for it.
    bool HasRoom() {
        if (m_wanted > m_answer.size() && !m_share.TakeIfLong(m_wanted)) {
            return false;
        }
        try {
            m_answer.resize(std::max(m_answer.size(), m_wanted));
            return true;
        } catch (const std::bad_alloc&) {
            return false;
        }
    }

    void OnAnswer() {
        if (m_known == m_wanted) { // else more came than was asked for
            m_link.Keep(std::move(m_socket));
        }
        m_answer.resize(m_wanted);
        m_answer.erase(0, messages::kFrameHeaderBytes);
        End(CReply::State::Answered);
    }

    void Close() {
        ErrorCode ignored;
        m_socket.close(ignored);
    }

    void End(CReply::State state) {
        const bool isAnswered = state == CReply::State::Answered;
        if (const Done done = std::exchange(m_done, nullptr)) {
            done({state, isAnswered ? std::move(m_answer) : "", std::move(m_share)});
        }
    }

    CProviderdLink& m_link;
    const std::size_t m_answerBytes;
    CLocalSocket m_socket;
    CTimer m_timer;
    std::string m_frame;
    Done m_done; // empty once it was called
    daemon_base::CMemoryShare m_share;
    bool m_isSent = false;    // as a whole
    std::string m_answer;     // room for it
    std::size_t m_known = 0;  // bytes of it that came
    std::size_t m_wanted = 0; // bytes of the whole answer; 0: not known yet
    int m_tries = 0;
};

inline std::shared_ptr<CProviderdLink::CQuestion>
CProviderdLink::Prepare(std::string frame, std::size_t answerBytes, Done done) {
    return std::make_shared<CQuestion>(*this, std::move(frame), answerBytes, std::move(done));
}

inline CLocalSocket CProviderdLink::TakeSocket() {
    while (!m_idle.empty()) {
        CLocalSocket socket = std::move(m_idle.back());
        m_idle.pop_back();
        char byte = 0;
        const ssize_t count = recv(socket.native_handle(), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
        if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            return socket;
        }
    }
    return CLocalSocket(m_io);
}

// A local connection is made at once or not at all: nothing of it waits.
inline int CProviderdLink::Connect(CLocalSocket* socket) const {
    const asio::local::stream_protocol::endpoint address(m_path);
    history::CDescriptor opened(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!opened.IsOpen() ||
        connect(opened.Get(), address.data(), static_cast<socklen_t>(address.size())) != 0) {
        return errno;
    }
    ErrorCode error;
    socket->close(error);
    socket->assign(asio::local::stream_protocol(), opened.Get(), error);
    if (!error) {
        opened.Release();
    }
    return error.value();
}

inline void CProviderdLink::Keep(CLocalSocket socket) {
    if (m_idle.size() < kKept) {
        m_idle.push_back(std::move(socket));
    }
}

} // namespace wbemd
