#include "tests/system/door/CDoor.h"

#include "KzmPaths.h"
#include "providerd/FrameTransfer.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>

#include <cstdio>
#include <filesystem>

namespace fs = std::filesystem;
using std::string;

namespace {

constexpr char kPeer[] = "192.0.2.7";

const char* NameOf(messages::CallResult result) {
    static const char* const kNames[] = {
        "Done",         "WrongCredentials", "NotAllowed", "NoMethod", "NotAvailable", "QueueFull",
        "ShuttingDown", "NotKept",          "TimedOut",   "Died",     "Failed"};
    return kNames[static_cast<std::size_t>(result)];
}

void Link(const char* file, const char* path) {
    fs::create_directories(fs::path(path).parent_path());
    fs::create_symlink(file, path);
}

} // namespace

const char* const CDoor::kConfiguration = "ChangingGroups=kzm-changers\n";

CDoor::CDoor(const string& configuration) {
    Configure(configuration);
    Link(PROVIDER_LIBRARY, KzmPaths::kProviderLibrary);
    Link(CLASS_DEFINITIONS, KzmPaths::kClassDefinitions);
}

bool CDoor::Start() {
    m_daemon = std::make_unique<CDaemonProcess>(PROVIDERD_PROGRAM, CDaemonProcess::Words(),
                                                m_accounts.Environment());
    return m_daemon->AwaitTold("READY=1");
}

void CDoor::Configure(const string& text) {
    fs::create_directories(fs::path(KzmPaths::kProviderdConfig).parent_path());
    WriteFile(KzmPaths::kProviderdConfig, text);
}

CDoorClient::CDoorClient() : m_socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    string(KzmPaths::kProviderdSocket).copy(address.sun_path, sizeof address.sun_path - 1);
    m_connected =
        connect(Socket(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

void CDoorClient::Send(const string& bytes) const {
    providerd::SendFrame(Socket(), bytes, {});
}

std::optional<string> CDoorClient::Receive() const {
    string payload;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    const auto received = providerd::ReceiveFrame(Socket(), &payload, deadline);
    EXPECT_NE(received, providerd::Transfer::TimedOut) << "neither an answer nor an end";
    return received == providerd::Transfer::Done ? std::optional<string>(payload) : std::nullopt;
}

string CDoorClient::CheckFrame(const string& user, const string& password) {
    return Encode(messages::CCheckRequest{{user, password}, kPeer});
}

string CDoorClient::Check(const string& user, const string& password) const {
    Send(CheckFrame(user, password));
    const auto payload = Receive();
    if (!payload) {
        return "ended";
    }
    const auto answer = messages::DecodeCheckAnswer(*payload);
    if (!answer) {
        return "no answer";
    }
    static const char* const kNames[] = {"none", "read", "change"};
    return answer->m_authenticated ? kNames[static_cast<std::size_t>(answer->m_right)] : "wrong";
}

string CDoorClient::Call(const string& user, const string& password, const string& method,
                         const string& inParameters) const {
    Send(Encode(messages::CCallRequest{{user, password}, kPeer, method, inParameters}));
    const auto payload = Receive();
    if (!payload) {
        return "ended";
    }
    const auto answer = messages::DecodeCallAnswer(*payload);
    if (!answer) {
        return "no answer";
    }
    if (answer->m_result != messages::CallResult::Done) {
        return NameOf(answer->m_result);
    }
    std::array<char, 16> value{};
    std::snprintf(value.data(), value.size(), " 0x%08X", answer->m_uiReturnValue);
    return string("Done") + value.data();
}
