#include "providerd/WorkMessages.h"

#include <gtest/gtest.h>

using messages::CallResult;
using providerd::CWorkAnswer;
using providerd::CWorkNote;
using providerd::CWorkRequest;
using providerd::DecodeWorkerMessage;
using providerd::DecodeWorkRequest;

namespace {

const std::string kBytes("in\0\xFF", 4);

CWorkRequest Request() {
    return {"SetParameter", kBytes, "user", "192.0.2.1", 121000};
}

CWorkAnswer Answer() {
    return {CallResult::Done, 0x80000001U, kBytes};
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
        const auto message = DecodeWorkerMessage(PayloadOf(Encode(written)));
        ASSERT_TRUE(message) << result;
        const auto* const answer = std::get_if<CWorkAnswer>(&*message);
        ASSERT_NE(nullptr, answer) << result;
        EXPECT_EQ(written.m_result, answer->m_result);
        EXPECT_EQ(0x80000001U, answer->m_returnValue);
        EXPECT_EQ(kBytes, answer->m_outParameters);
    }
}

TEST(WorkMessages, ReadANoteAsItWasWritten) {
    const auto message = DecodeWorkerMessage(PayloadOf(Encode(CWorkNote{"20261121-083000-001"})));
    ASSERT_TRUE(message);
    const auto* const note = std::get_if<CWorkNote>(&*message);
    ASSERT_NE(nullptr, note);
    EXPECT_EQ("20261121-083000-001", note->m_historyId);
}

TEST(WorkMessages, TakeNothingElse) {
    const std::string request = PayloadOf(Encode(Request()));
    for (std::size_t size = 0; size < request.size(); ++size) {
        EXPECT_FALSE(DecodeWorkRequest(request.substr(0, size))) << size;
    }
    EXPECT_FALSE(DecodeWorkRequest(request + "x"));
    for (const std::string& message :
         {PayloadOf(Encode(Answer())), PayloadOf(Encode(CWorkNote{"1"}))}) {
        for (std::size_t size = 0; size < message.size(); ++size) {
            EXPECT_FALSE(DecodeWorkerMessage(message.substr(0, size))) << size;
        }
        EXPECT_FALSE(DecodeWorkerMessage(message + "x"));
        EXPECT_FALSE(DecodeWorkerMessage("\3" + message.substr(1)));
    }
    std::string answer = PayloadOf(Encode(Answer()));
    answer[1] = static_cast<char>(static_cast<int>(CallResult::Failed) + 1);
    EXPECT_FALSE(DecodeWorkerMessage(answer));
}

} // namespace
