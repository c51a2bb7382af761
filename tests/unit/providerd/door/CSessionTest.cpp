#include "providerd/door/CSession.h"

#include "history/CDescriptor.h"
#include "providerd/FrameTransfer.h"
#include "tests/unit/providerd/door/CFakeAccounts.h"

#include <gtest/gtest.h>

#include <sys/socket.h>

#include <array>
#include <new>
#include <regex>

using history::CDescriptor;
using messages::CallResult;
using messages::Right;
using providerd::CFinishedCall;

namespace {

// A session on a thread of its own, and the other side of its connection. The calls that it makes
// are recorded, and answered with m_finished.
class Session : public testing::Test {
protected:
    Session() {
        FillAccounts(&m_accounts);
        providerd::CSettings settings;
        settings.m_changingGroups = {"kzm-changers"};
        m_authentication =
            std::make_unique<providerd::CAuthentication>(&m_accounts, settings, m_time.Times());
        std::array<int, 2> ends{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        m_client = CDescriptor(ends[0]);
        m_thread = std::thread([this, socket = ends[1]] {
            const CDescriptor owned(socket);
            const auto run = [this](const providerd::CMethodCall& call) {
                m_calls.push_back(call.m_method + " " + call.m_inParameters + " " +
                                  call.m_origin.m_user + " " + call.m_origin.m_sudoUser + " " +
                                  call.m_origin.m_from);
                if (m_lacksMemory) {
                    throw std::bad_alloc();
                }
                return m_finished;
            };
            providerd::CSession(m_authentication.get(), run).Serve(owned.Get());
        });
    }
    ~Session() override {
        m_client.Close();
        m_thread.join();
    }

    void Send(const std::string& bytes) const { providerd::SendFrame(m_client.Get(), bytes, {}); }
    std::string Received() const {
        std::string payload;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        return providerd::ReceiveFrame(m_client.Get(), &payload, deadline) ==
                       providerd::Transfer::Done
                   ? payload
                   : "ended";
    }
    // The answer's frame.
    static std::string PayloadOf(const std::string& frame) { return frame.substr(4); }

    std::string Call(const std::string& user, const std::string& password,
                     const std::string& method) const {
        Send(Encode(messages::CCallRequest{{user, password}, kPeer, method, "in"}));
        return Received();
    }
    std::string Check(const std::string& user, const std::string& password) const {
        Send(Encode(messages::CCheckRequest{{user, password}, kPeer}));
        return Received();
    }

    CFakeAccounts m_accounts;
    CFakeTime m_time;
    std::unique_ptr<providerd::CAuthentication> m_authentication;
    CFinishedCall m_finished{{CallResult::Done, 0x80000003, "out"}};
    bool m_lacksMemory = false; // where a call was made
    std::vector<std::string> m_calls;
    CDescriptor m_client;
    std::thread m_thread;
};

struct CCallRow {
    const char* m_user;
    const char* m_password;
    const char* m_method;
    CallResult m_result;
};

const CCallRow kCallRows[] = {
    {"reader", "right", "GetParameter", CallResult::Done},
    {"reader", "right", "SetParameter", CallResult::NotAllowed},
    {"reader", "right", "getparameter", CallResult::NoMethod},
    {"reader", "wrong", "GetParameter", CallResult::WrongCredentials},
    {"reader", "wrong", "NoMethod", CallResult::WrongCredentials},
    {"reader", "", "GetParameter", CallResult::WrongCredentials},
    {"", "right", "GetParameter", CallResult::WrongCredentials},
    {"", "", "GetParameter", CallResult::WrongCredentials},
    {"locked", "right", "GetParameter", CallResult::WrongCredentials},
    {"guest", "right", "GetParameter", CallResult::NotAllowed},
    {"guest", "right", "SetParameter", CallResult::NotAllowed},
    {"changer", "right", "GetParameter", CallResult::Done},
    {"changer", "right", "SetParameter", CallResult::Done},
    {"changer", "wrong", "SetParameter", CallResult::WrongCredentials},
    {"superuser", "right", "SetParameter", CallResult::Done},
    {"superuser", "right", "", CallResult::NoMethod},
};

TEST_F(Session, CallsForThoseWhoMay) {
    for (const CCallRow& row : kCallRows) {
        const CFinishedCall wanted =
            row.m_result == CallResult::Done ? m_finished : CFinishedCall(row.m_result);
        m_calls.clear();
        EXPECT_EQ(Call(row.m_user, row.m_password, row.m_method), PayloadOf(*wanted.m_frame))
            << row.m_user << " " << row.m_password << " " << row.m_method;
        std::vector<std::string> calls;
        if (row.m_result == CallResult::Done) {
            calls = {std::string(row.m_method) + " in " + row.m_user + "  192.0.2.1"};
        }
        EXPECT_EQ(m_calls, calls) << row.m_user << " " << row.m_method;
    }
}

TEST_F(Session, ChecksEveryRequestByItself) {
    EXPECT_EQ(Check("changer", "right"),
              PayloadOf(Encode(messages::CCheckAnswer{true, Right::Change})));
    EXPECT_EQ(Check("changer", "wrong"), PayloadOf(Encode(messages::CCheckAnswer{})));
    EXPECT_EQ(Check("guest", "right"),
              PayloadOf(Encode(messages::CCheckAnswer{true, Right::None})));
    EXPECT_EQ(Call("", "", "SetParameter"),
              PayloadOf(Encode(messages::CCallAnswer{CallResult::WrongCredentials, 0, ""})));
    EXPECT_EQ(m_calls, std::vector<std::string>());
}

TEST_F(Session, WritesALineForEachCallAndEachRefusal) {
    testing::internal::CaptureStderr();
    Check("reader", "right");
    Check("reader", "mistyped");
    Call("changer", "right", "SetParameter");
    Call("guest", "right", "GetParameter");
    Call("changer", "mistyped", "SetParameter");
    Call("locked", "right", "SetParameter");
    const std::string logged = testing::internal::GetCapturedStderr();
    EXPECT_EQ(
        std::regex_replace(logged, std::regex(" ms=[0-9]+"), ""),
        R"(user="reader" peer="192.0.2.1" operation="check" result="wrong credentials" reason="no such password"
user="changer" peer="192.0.2.1" operation="SetParameter" result="done" return=0x80000003
user="guest" peer="192.0.2.1" operation="GetParameter" result="not allowed"
user="changer" peer="192.0.2.1" operation="SetParameter" result="wrong credentials" reason="no such password"
user="locked" peer="192.0.2.1" operation="SetParameter" result="wrong credentials" reason="account is locked"
)");
}

TEST_F(Session, HandsOnWhatTheQueueAnswers) {
    for (const CallResult result :
         {CallResult::NotAvailable, CallResult::QueueFull, CallResult::ShuttingDown,
          CallResult::NotKept, CallResult::TimedOut, CallResult::Died, CallResult::Failed}) {
        m_finished = CFinishedCall(result);
        EXPECT_EQ(Call("reader", "right", "GetParameter"),
                  PayloadOf(Encode(messages::CCallAnswer{result, 0, ""})));
    }
}

TEST_F(Session, ACallThatThereIsNoMemoryForLeavesItsLine) {
    m_lacksMemory = true;
    testing::internal::CaptureStderr();
    EXPECT_EQ(Call("changer", "right", "SetParameter"),
              PayloadOf(Encode(messages::CCallAnswer{CallResult::Died, 0, ""})));
    EXPECT_EQ(testing::internal::GetCapturedStderr().find(
                  R"(user="changer" peer="192.0.2.1" operation="SetParameter" )"
                  R"(result="worker died" ms=)"),
              0U);
}

TEST_F(Session, AnOutputThatHasNoFrameFails) {
    messages::CCallAnswer answer{CallResult::Done, 0, std::string(messages::kObjectBytes, 'x')};
    m_finished = CFinishedCall(answer);
    EXPECT_TRUE(Call("reader", "right", "GetParameter") == PayloadOf(Encode(answer)));
    answer.m_outParameters += 'x';
    m_finished = CFinishedCall(answer);
    EXPECT_TRUE(Call("reader", "right", "GetParameter") ==
                PayloadOf(Encode(messages::CCallAnswer{})));
}

TEST_F(Session, RequestsThatArriveTogetherAreAnsweredInTheirOrder) {
    const auto check = [](const char* user) {
        return Encode(messages::CCheckRequest{{user, "right"}, kPeer});
    };
    Send(check("reader") + check("changer"));
    EXPECT_EQ(Received(), PayloadOf(Encode(messages::CCheckAnswer{true, Right::Read})));
    EXPECT_EQ(Received(), PayloadOf(Encode(messages::CCheckAnswer{true, Right::Change})));
}

TEST_F(Session, EndsAtWhatIsNoRequest) {
    EXPECT_NE(Check("reader", "right"), "ended");
    Send(Encode(messages::CCheckAnswer{}));
    EXPECT_EQ(Received(), "ended");
}

TEST_F(Session, EndsWhenTheDoorIsShut) {
    m_authentication->Stop();
    EXPECT_EQ(Call("reader", "right", "GetParameter"),
              PayloadOf(Encode(messages::CCallAnswer{CallResult::ShuttingDown, 0, ""})));
    EXPECT_EQ(Check("reader", "right"), "ended");
}

} // namespace
