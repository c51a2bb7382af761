#include "providerd/WorkMessages.h"

#include <gtest/gtest.h>

using messages::CallResult;
using providerd::CWorkAnswer;
using providerd::CWorkRequest;
using providerd::DecodeWorkAnswer;
using providerd::DecodeWorkRequest;

namespace {

const std::string kBytes("in\0\xFF", 4);

CWorkRequest Request() {
    return {"SetParameter", kBytes, "user", "192.0.2.1", 121000};
}

CWorkAnswer Answer() {
    return {CallResult::Done, 0x80000001U, kBytes, "20261121-083000-001"};
}

// A frame's payload.
std::string PayloadOf(const std::string& frame) {
    return frame.substr(messages::kFrameHeaderBytes);
}

TEST(WorkMessages, ReadARequestAsItWasWritten) {
    const auto request = DecodeWorkRequest(PayloadOf(Encode(Request())));
    ASSERT_TRUE(request);
    EXPECT_EQ("SetParameter", request->m_method);
    EXPECT_EQ(kBytes, request->m_inParameters);
    EXPECT_EQ("user", request->m_user);
    EXPECT_EQ("192.0.2.1", request->m_peer);
    EXPECT_EQ(121000U, request->m_time);
}

TEST(WorkMessages, ReadAnAnswerAsItWasWritten) {
    for (int result = 0; result <= static_cast<int>(CallResult::Failed); ++result) {
        CWorkAnswer written = Answer();
        written.m_result = static_cast<CallResult>(result);
        const auto answer = DecodeWorkAnswer(PayloadOf(Encode(written)));
        ASSERT_TRUE(answer) << result;
        EXPECT_EQ(written.m_result, answer->m_result);
        EXPECT_EQ(0x80000001U, answer->m_returnValue);
        EXPECT_EQ(kBytes, answer->m_outParameters);
        EXPECT_EQ("20261121-083000-001", answer->m_historyId);
    }
}

TEST(WorkMessages, TakeNothingElse) {
    const std::string request = PayloadOf(Encode(Request()));
    for (std::size_t size = 0; size < request.size(); ++size) {
        EXPECT_FALSE(DecodeWorkRequest(request.substr(0, size))) << size;
    }
    EXPECT_FALSE(DecodeWorkRequest(request + "x"));
    std::string answer = PayloadOf(Encode(Answer()));
    for (std::size_t size = 0; size < answer.size(); ++size) {
        EXPECT_FALSE(DecodeWorkAnswer(answer.substr(0, size))) << size;
    }
    EXPECT_FALSE(DecodeWorkAnswer(answer + "x"));
    answer.front() = static_cast<char>(static_cast<int>(CallResult::Failed) + 1);
    EXPECT_FALSE(DecodeWorkAnswer(answer));
}

} // namespace
