#include "serverbase/Messages.h"

#include <gtest/gtest.h>

using namespace messages;
using std::string;

namespace {

// A message's frame with the message's payload taken out and encoded once more.
struct CMessageRow {
    const char* m_name;
    string m_frame;
    string m_payload;
    string (*m_reencoded)(std::string_view payload); // empty: it is refused
};

template <class Message>
string Reencoded(const std::optional<Message>& message) {
    return message ? Encode(*message) : string();
}
string Request(std::string_view payload) {
    const auto request = DecodeRequest(payload);
    return request ? std::visit([](const auto& message) { return Encode(message); }, *request) : "";
}
string CheckAnswer(std::string_view payload) {
    return Reencoded(DecodeCheckAnswer(payload));
}
string CallAnswer(std::string_view payload) {
    return Reencoded(DecodeCallAnswer(payload));
}

const CCredentials kUser{"user", string("p\0w", 3)};
const string kUserBytes("\4\0\0\0user\3\0\0\0p\0w", 15);

const CMessageRow kMessageRows[] = {
    {"a check", Encode(CCheckRequest{kUser, "::1"}), "\1" + kUserBytes + string("\3\0\0\0::1", 7),
     Request},
    {"an empty check", Encode(CCheckRequest{}), string("\1\0\0\0\0\0\0\0\0\0\0\0\0", 13), Request},
    {"a call", Encode(CCallRequest{kUser, "::1", "Get", "in"}),
     "\2" + kUserBytes + string("\3\0\0\0::1\3\0\0\0Get\2\0\0\0in", 20), Request},
    {"not authenticated", Encode(CCheckAnswer{}), string("\3\0\0", 3), CheckAnswer},
    {"without a right", Encode(CCheckAnswer{true, Right::None}), string("\3\1\0", 3), CheckAnswer},
    {"who may change", Encode(CCheckAnswer{true, Right::Change}), "\3\1\2", CheckAnswer},
    {"done", Encode(CCallAnswer{CallResult::Done, 0x80000001, "out"}),
     string("\4\0\1\0\0\x80\3\0\0\0out", 13), CallAnswer},
    {"failed", Encode(CCallAnswer{}), string("\4\x0A\0\0\0\0\0\0\0\0", 10), CallAnswer},
};

string Frame(const string& payload) {
    return string(1, static_cast<char>(payload.size())) + string(3, '\0') + payload;
}

TEST(Messages, HaveTheseBytes) {
    for (const CMessageRow& row : kMessageRows) {
        EXPECT_EQ(row.m_frame, Frame(row.m_payload)) << row.m_name;
    }
}

TEST(Messages, AreReadBack) {
    for (const CMessageRow& row : kMessageRows) {
        EXPECT_EQ(row.m_reencoded(row.m_payload), row.m_frame) << row.m_name;
    }
}

TEST(Messages, AreRefusedAsOthers) {
    for (const CMessageRow& row : kMessageRows) {
        for (const auto& decode : {Request, CheckAnswer, CallAnswer}) {
            EXPECT_EQ(decode(row.m_payload).empty(), decode != row.m_reencoded) << row.m_name;
        }
    }
}

TEST(Messages, EveryTruncationIsRefused) {
    for (const CMessageRow& row : kMessageRows) {
        for (std::size_t size = 0; size < row.m_payload.size(); ++size) {
            EXPECT_EQ(row.m_reencoded(row.m_payload.substr(0, size)), "") << row.m_name << size;
        }
        EXPECT_EQ(row.m_reencoded(row.m_payload + '\0'), "") << row.m_name << ", and a byte";
    }
}

TEST(Messages, FieldsArriveWhereTheyBelong) {
    const auto request = std::get<CCallRequest>(
        *DecodeRequest("\2" + kUserBytes + string("\3\0\0\0::1\3\0\0\0Get\2\0\0\0in", 20)));
    EXPECT_EQ(request.m_credentials.m_user, "user");
    EXPECT_EQ(request.m_credentials.m_password, string("p\0w", 3));
    EXPECT_EQ(request.m_peer, "::1");
    EXPECT_EQ(request.m_method, "Get");
    EXPECT_EQ(request.m_inParameters, "in");
    const auto answer = *DecodeCallAnswer(string("\4\0\1\0\0\x80\3\0\0\0out", 13));
    EXPECT_EQ(answer.m_result, CallResult::Done);
    EXPECT_EQ(answer.m_uiReturnValue, 0x80000001);
    EXPECT_EQ(answer.m_outParameters, "out");
}

TEST(Messages, UnknownValuesAreRefused) {
    EXPECT_EQ(Request(string("\0\0\0\0\0\0\0\0\0\0\0\0\0", 13)), "");
    EXPECT_EQ(Request(string("\5\0\0\0\0\0\0\0\0\0\0\0\0", 13)), "");
    EXPECT_EQ(CheckAnswer(string("\3\2\0", 3)), "") << "a third truth value";
    EXPECT_EQ(CheckAnswer("\3\1\3"), "") << "an unknown right";
    EXPECT_EQ(CheckAnswer(string("\3\0\1", 3)), "") << "a right of nobody";
    EXPECT_EQ(CallAnswer(string("\4\x0B\0\0\0\0\0\0\0\0", 10)), "") << "an unknown result";
}

TEST(Messages, LimitsAreExact) {
    const auto isRead = [](const string& frame) {
        return DecodeRequest(std::string_view(frame).substr(std::min<std::size_t>(frame.size(), 4)))
            .has_value();
    };
    const string text(kCredentialBytes, 'x');
    const string peer(kPeerBytes, 'x');
    const string method(kMethodBytes, 'x');
    const string object(kObjectBytes, 'x');
    EXPECT_TRUE(isRead(Encode(CCheckRequest{{text, text}, peer})));
    EXPECT_FALSE(isRead(Encode(CCheckRequest{{text + "x", text}, peer})));
    EXPECT_FALSE(isRead(Encode(CCheckRequest{{text, text + "x"}, peer})));
    EXPECT_FALSE(isRead(Encode(CCheckRequest{{text, text}, peer + "x"})));
    EXPECT_TRUE(isRead(Encode(CCallRequest{{text, text}, peer, method, object})));
    EXPECT_FALSE(isRead(Encode(CCallRequest{{text + "x", text}, peer, method, object})));
    EXPECT_FALSE(isRead(Encode(CCallRequest{{text, text + "x"}, peer, method, object})));
    EXPECT_FALSE(isRead(Encode(CCallRequest{{text, text}, peer + "x", method, ""})));
    EXPECT_FALSE(isRead(Encode(CCallRequest{{text, text}, peer, method + "x", object})));
    EXPECT_FALSE(isRead(Encode(CCallRequest{{text, text}, peer, method, object + "x"})));
}

} // namespace
