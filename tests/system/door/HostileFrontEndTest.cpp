// A front end that was taken over, or somebody in its place, says whatever it likes on the socket.

#include "KzmPaths.h"
#include "providerd/door/CSession.h"
#include "serverbase/Frames.h"
#include "tests/support/ProcessMemory.h"
#include "tests/support/SampleConf.h"
#include "tests/system/door/CDoor.h"

#include <gtest/gtest.h>

#include <grp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <random>

namespace fs = std::filesystem;
using std::string;

namespace {

// A change, as it would be made.
string ChangeFrame(const string& user, const string& password) {
    IWbemClassObject parameters;
    ChangedConf().ConvertToIWbemClassObject(&parameters);
    return Encode(messages::CCallRequest{
        {user, password}, "192.0.2.7", "SetParameter", messages::EncodeObject(parameters)});
}

// What comes back: the result of a call, "an answer to a check", or "ended".
string AnswerTo(const CDoorClient& client, const string& bytes) {
    client.Send(bytes);
    const auto payload = client.Receive();
    if (!payload) {
        return "ended";
    }
    const auto answer = messages::DecodeCallAnswer(*payload);
    return answer ? std::to_string(static_cast<int>(answer->m_result)) : "an answer to a check";
}

string ResultText(messages::CallResult result) {
    return std::to_string(static_cast<int>(result));
}

class HostileFrontEnd : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_door.Start()); }

    // Nothing was called, and the next one is served.
    void ExpectNothingDone() {
        EXPECT_EQ(m_door.m_root.VendorCalls(), std::vector<string>());
        EXPECT_FALSE(fs::exists(KzmPaths::kHistoryFolder));
        EXPECT_EQ(CDoorClient().Check("reader", kPassword), "read");
    }

    CDoor m_door;
};

struct CBytesRow {
    const char* m_name;
    string m_bytes;
    string m_answer;
};

TEST_F(HostileFrontEnd, ChangesNothingWithoutCredentials) {
    const string good = ChangeFrame("changer", kPassword);
    const string wrong = ResultText(messages::CallResult::WrongCredentials);
    const string refused = "ended";
    const CBytesRow rows[] = {
        {"none", ChangeFrame("", ""), wrong},
        {"a user without a password", ChangeFrame("changer", ""), wrong},
        {"a password without a user", ChangeFrame("", kPassword), wrong},
        {"another user's password", ChangeFrame("superuser", kPassword + "x"), wrong},
        {"a user who may only read", ChangeFrame("reader", kPassword),
         ResultText(messages::CallResult::NotAllowed)},
        {"a user that is too long", ChangeFrame(string(1025, 'x'), kPassword), refused},
        {"a password that is too long", ChangeFrame("changer", string(1025, 'x')), refused},
        {"a frame with something behind its request",
         string(1, static_cast<char>(good[0] + 1)) + good.substr(1) + "x", refused},
        {"a check with a call's fields", good.substr(0, 4) + "\1" + good.substr(5), refused},
        {"an answer that says done", Encode(messages::CCallAnswer{}), refused},
        {"an answer that says right", Encode(messages::CCheckAnswer{true, messages::Right::Change}),
         refused}};
    // Fewer than those who wait for their wrong password.
    for (const CBytesRow& row : rows) {
        const CDoorClient client;
        EXPECT_EQ(AnswerTo(client, row.m_bytes), row.m_answer) << row.m_name;
    }
    ExpectNothingDone();
}

// What was heard is said again: each time the credentials are looked at anew.
TEST_F(HostileFrontEnd, RepeatsACallAsLongAsItsCredentialsAreRight) {
    const CDoorClient client;
    const string call = ChangeFrame("changer", kPassword);
    const string done = ResultText(messages::CallResult::Done);
    EXPECT_EQ(AnswerTo(client, call), done);
    EXPECT_EQ(AnswerTo(client, call), done);
    auto users = CAccounts::FirstUsers();
    const auto changer = std::find_if(users.begin(), users.end(),
                                      [](const auto& user) { return user.m_name == "changer"; });
    changer->m_isUsable = false;
    m_door.m_accounts.SetUsers(users);
    const std::size_t before = m_door.m_root.VendorCalls().size();
    const string wrong = ResultText(messages::CallResult::WrongCredentials);
    EXPECT_EQ(AnswerTo(client, call), wrong);
    EXPECT_EQ(AnswerTo(CDoorClient(), call), wrong);
    EXPECT_EQ(m_door.m_root.VendorCalls().size(), before);
}

// One who is checked and one who calls are two, also on one connection.
TEST_F(HostileFrontEnd, GetsNothingByTheCheckOfAnother) {
    const CDoorClient client;
    EXPECT_EQ(client.Check("changer", kPassword), "change");
    const string wrong = ResultText(messages::CallResult::WrongCredentials);
    EXPECT_EQ(AnswerTo(client, ChangeFrame("changer", "")), wrong);
    EXPECT_EQ(AnswerTo(client, ChangeFrame("superuser", "")), wrong);
    EXPECT_EQ(AnswerTo(client, ChangeFrame("both", kPassword + "x")), wrong);
    ExpectNothingDone();
}

// What the process took at most until now. The sanitizers take more than it does.
void ExpectMemoryBelow(std::size_t bytes, pid_t process) {
#ifndef KZM_NO_FAULT_TRANSLATION
    EXPECT_LT(MemoryOf(process, "VmHWM"), bytes);
#else
    (void)bytes;
    (void)process;
#endif
}

TEST_F(HostileFrontEnd, HoldsNobodyUpWithHalfFrames) {
    constexpr int kMany = 50;
    const string call = ChangeFrame("changer", kPassword);
    const string longest("\0\0\0\2", 4); // says 32 MiB
    std::vector<CDoorClient> halves;
    halves.reserve(kMany);
    for (int i = 0; i < kMany; ++i) {
        halves.emplace_back();
        halves.back().Send(i % 2 == 0 ? longest + "x" : call.substr(0, call.size() / 2));
    }
    ExpectNothingDone();
    constexpr std::size_t kMiB = std::size_t{1} << 20;
    ExpectMemoryBelow(128 * kMiB, m_door.Daemon().Id()); // they said 800 MiB
    halves[1].Send(call.substr(call.size() / 2));
    EXPECT_NE(halves[1].Receive(), std::nullopt) << "once it is whole it is answered";
    halves.clear();
    EXPECT_NE(m_door.Daemon().AwaitLogged("what came is no frame, or broke off"), "");
}

TEST_F(HostileFrontEnd, HasMemoryTakenForAFewLongFramesAlone) {
    constexpr std::size_t kMany = 12;
    constexpr std::size_t kRoom = providerd::CSession::kRequestMemory / messages::kFrameBytes;
    const string header("\0\0\0\2", 4); // says 32 MiB
    std::vector<CDoorClient> clients(kMany);
    for (CDoorClient& client : clients) {
        client.Send(header + string(messages::kFrameBytes - 1, 'x'));
    }
    for (std::size_t i = kRoom; i < kMany; ++i) {
        EXPECT_EQ(clients[i].Receive(), std::nullopt) << "it is closed";
    }
    EXPECT_NE(m_door.Daemon().AwaitLogged("there is no room for one more"), "");
    // Twice, for texts that grow.
    ExpectMemoryBelow(2 * providerd::CSession::kRequestMemory, m_door.Daemon().Id());
    EXPECT_EQ(CDoorClient().Check("changer", kPassword), "change") << "what is short needs no room";
    clients.clear();
    for (std::size_t i = 0; i < kRoom; ++i) {
        EXPECT_NE(m_door.Daemon().AwaitLogged("what came is no frame, or broke off"), "");
    }
    const CDoorClient next;
    next.Send(header + string(messages::kFrameBytes, 'x'));
    EXPECT_NE(m_door.Daemon().AwaitLogged("33554432 bytes came that are no request"), "");
}

TEST_F(HostileFrontEnd, GetsNothingByGarbage) {
    constexpr int kTimes = 200;
    constexpr std::size_t kMostBytes = 300;
    std::mt19937 random(7); // the same each time
    const string call = ChangeFrame("reader", "wrong");
    for (int i = 0; i < kTimes; ++i) {
        string bytes = call.substr(0, 5 + random() % kMostBytes);
        const std::size_t size = bytes.size() - 4;
        bytes.replace(0, 4, {static_cast<char>(size & 0xFF), static_cast<char>(size >> 8), 0, 0});
        for (std::size_t k = 0; k < 1 + random() % 8; ++k) {
            bytes[4 + random() % size] = static_cast<char>(random());
        }
        const CDoorClient client;
        client.Send(bytes);
        shutdown(client.Socket(), SHUT_WR);
        EXPECT_EQ(client.Receive(), std::nullopt) << testing::PrintToString(bytes);
    }
    ExpectNothingDone();
}

// ---- Another user ----

constexpr uid_t kStranger = 65534;

// What a process of another user gets: 0, and *process is the one that did it: a connection that is
// ended before it answers. Else the error number of its connecting, or 255: an answer.
int ConnectAsStranger(pid_t* process) {
    const fs::path path = KzmPaths::kProviderdSocket;
    *process = fork();
    if (*process == 0) {
        // By a relative name: it may not walk to the folder.
        bool isReady = chdir(path.parent_path().c_str()) == 0 && setgroups(0, nullptr) == 0 &&
                       setresgid(kStranger, kStranger, kStranger) == 0 &&
                       setresuid(kStranger, kStranger, kStranger) == 0;
        const int made = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.filename().string().copy(address.sun_path, sizeof address.sun_path - 1);
        isReady = isReady &&
                  connect(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        if (!isReady) {
            _exit(errno);
        }
        const string frame = CDoorClient::CheckFrame("reader", kPassword);
        [[maybe_unused]] const auto sent = send(made, frame.data(), frame.size(), MSG_NOSIGNAL);
        char byte = 0;
        _exit(recv(made, &byte, 1, 0) > 0 ? 255 : 0);
    }
    int status = 0;
    waitpid(*process, &status, 0);
    return WEXITSTATUS(status);
}

TEST_F(HostileFrontEnd, OfAnotherUserIsNotHeard) {
    if (getuid() != 0) {
        GTEST_SKIP() << "only root can become somebody else";
    }
    pid_t process = 0;
    EXPECT_EQ(ConnectAsStranger(&process), EACCES) << "the socket's mode";
    ASSERT_EQ(chmod(KzmPaths::kProviderdSocket, 0666), 0);
    EXPECT_EQ(ConnectAsStranger(&process), 0);
    EXPECT_EQ(m_door.Daemon().AwaitLogged("A connection was closed"),
              "A connection was closed: process " + std::to_string(process) +
                  " of user ID 65534 is not kzmwbem.");
    ExpectNothingDone();
}

} // namespace
