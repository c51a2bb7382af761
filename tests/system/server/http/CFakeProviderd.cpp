#include "tests/system/server/http/CFakeProviderd.h"

#include "KzmPaths.h"
#include "serverbase/Frames.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>

namespace fs = std::filesystem;
using std::string;

namespace {

constexpr std::chrono::seconds kQuestionPatience{10};

sockaddr_un Address() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    string(KzmPaths::kProviderdSocket).copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

// Exactly so many bytes; fewer at the end.
string ReadBytes(int socket, std::size_t count) {
    string bytes(count, '\0');
    const ssize_t got = recv(socket, bytes.data(), count, MSG_WAITALL);
    bytes.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
    return bytes;
}

std::optional<messages::Request> ReadRequest(int socket) {
    const string header = ReadBytes(socket, messages::kFrameHeaderBytes);
    if (header.size() != messages::kFrameHeaderBytes) {
        return std::nullopt;
    }
    return messages::DecodeRequest(ReadBytes(socket, *messages::DecodeFrameLength(header)));
}

void Send(int socket, const string& bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = send(socket, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (count < 0) {
            return;
        }
        done += static_cast<std::size_t>(count);
    }
}

string Said(const messages::CCredentials& credentials, const string& peer) {
    return credentials.m_user + " " + credentials.m_password + " " + peer;
}

string TextOf(const messages::Request& request) {
    if (const auto* const check = std::get_if<messages::CCheckRequest>(&request)) {
        return "check " + Said(check->m_credentials, check->m_peer);
    }
    const auto& call = std::get<messages::CCallRequest>(request);
    return "call " + Said(call.m_credentials, call.m_peer) + " " + call.m_method + " " +
           call.m_inParameters;
}

messages::CCheckAnswer CheckAnswer(const messages::CCheckRequest& request) {
    if (request.m_credentials.m_password != "right") {
        return {};
    }
    const bool isReader = request.m_credentials.m_user == "reader";
    return {true, isReader ? messages::Right::Read : messages::Right::Change};
}

} // namespace

CFakeProviderd::CFakeProviderd() : m_listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const sockaddr_un address = Address();
    fs::create_directories(fs::path(address.sun_path).parent_path());
    fs::remove(address.sun_path);
    constexpr int kBacklog = 64;
    EXPECT_EQ(bind(m_listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
              0);
    EXPECT_EQ(listen(m_listener.Get(), kBacklog), 0);
    m_acceptor = std::thread([this] { Accept(); });
}

CFakeProviderd::~CFakeProviderd() {
    Set(&m_isEnding, true);
    shutdown(m_listener.Get(), SHUT_RDWR);
    m_acceptor.join();
    HangUp();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
    for (const int socket : m_sockets) {
        close(socket);
    }
    fs::remove(KzmPaths::kProviderdSocket);
}

std::vector<string> CFakeProviderd::Asked() {
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_asked;
}

void CFakeProviderd::AwaitAsked(std::size_t count) {
    std::unique_lock<std::mutex> lock(m_mutex);
    EXPECT_TRUE(
        m_changed.wait_for(lock, kQuestionPatience, [&] { return m_asked.size() >= count; }))
        << m_asked.size() << " questions came";
}

void CFakeProviderd::Set(bool* flag, bool value) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    *flag = value;
    m_changed.notify_all();
}

void CFakeProviderd::Release() {
    Set(&m_holdsCalls, false);
    Set(&m_holdsChecks, false);
}

void CFakeProviderd::AnswerCalls(const messages::CCallAnswer& answer) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_hasCallAnswer = true;
    m_callAnswer = answer;
}

void CFakeProviderd::AnswerBytes(const string& bytes) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_bytes = bytes;
}

void CFakeProviderd::HangUp() {
    const std::lock_guard<std::mutex> guard(m_mutex);
    for (const int socket : m_sockets) {
        shutdown(socket, SHUT_RDWR);
    }
}

void CFakeProviderd::Accept() {
    for (;;) {
        const int socket = accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC);
        const std::lock_guard<std::mutex> guard(m_mutex);
        if (socket < 0 || m_isEnding) {
            return;
        }
        m_sockets.push_back(socket);
        m_threads.emplace_back([this, socket] { Serve(socket); });
    }
}

void CFakeProviderd::Serve(int socket) {
    for (auto request = ReadRequest(socket); request; request = ReadRequest(socket)) {
        if (!Answer(socket, *request)) {
            shutdown(socket, SHUT_RDWR);
            return;
        }
    }
}

bool CFakeProviderd::Answer(int socket, const messages::Request& request) {
    const auto* const check = std::get_if<messages::CCheckRequest>(&request);
    std::unique_lock<std::mutex> lock(m_mutex);
    m_asked.push_back(TextOf(request));
    m_changed.notify_all();
    m_changed.wait(
        lock, [&] { return m_isEnding || !(check != nullptr ? m_holdsChecks : m_holdsCalls); });
    if (check != nullptr ? m_diesOnChecks : m_diesOnCalls) {
        return false;
    }
    if (!m_bytes.empty()) {
        Send(socket, m_bytes);
    } else if (check != nullptr) {
        Send(socket, messages::Encode(CheckAnswer(*check)));
        m_changed.wait(lock, [&] { return m_isEnding || !m_stopsReading; });
    } else {
        Send(socket, CallAnswer(std::get<messages::CCallRequest>(request)));
    }
    return true;
}

string CFakeProviderd::CallAnswer(const messages::CCallRequest& request) {
    messages::CCallAnswer answer = m_callAnswer;
    if (!m_hasCallAnswer) {
        answer.m_result = messages::CallResult::Done;
        answer.m_outParameters = request.m_inParameters;
    }
    return messages::Encode(answer);
}
