// Each allocation of an answer fails once.

#include "tests/support/CAnswerCheck.h"
#include "tests/support/CFailingCall.h"
#include "tests/unit/wbemd/operations/Asking.h"
#include "tests/unit/wbemd/operations/Requests.h"
#include "tests/unit/wbemd/operations/SampleInstances.h"

#include "serverbase/Frames.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <new>

using std::string;
using wbemd::CHttpAnswer;
using Outcome = std::variant<CHttpAnswer, wbemd::CPendingCall>;

namespace {

string Text(const Outcome& outcome) {
    const auto* answer = std::get_if<CHttpAnswer>(&outcome);
    return answer == nullptr ? std::get<wbemd::CPendingCall>(outcome).m_inParameters
                             : std::to_string(answer->m_status) + "\n" + answer->m_body;
}

// The good answer, or the one without memory; once all allocations have failed, the good one.
void ExpectNothingElse(const std::function<Outcome()>& ask, const string& withoutMemory) {
    const string good = Text(ask());
    int unmet = 0;
    for (int n = 1; unmet == 0; ++n) {
        Outcome outcome;
        {
            const CFailingCall failing("operator new", ENOMEM, n);
            outcome = ask();
            unmet = CFailingCall::IsMet() ? 0 : n;
        }
        const string text = Text(outcome);
        EXPECT_TRUE(text == good || (unmet == 0 && text == withoutMemory)) << n << "\n" << text;
        if (text == withoutMemory) {
            EXPECT_FALSE(std::get<CHttpAnswer>(outcome).m_keepOpen);
        }
    }
    EXPECT_GT(unmet, 10);
}

const string kTryAgain = "503\nThe server is out of memory. Try again later.\n";

TEST(NoMemory, ForAnAnswer) {
    const CRequestText request =
        requests::Intrinsic("EnumerateInstances", requests::ClassName("CIM_Namespace"), "interop");
    ExpectNothingElse(
        [&] {
            return asking::Operations().Answer(request.m_head, request.m_body,
                                               messages::Right::Read);
        },
        kTryAgain);
}

TEST(NoMemory, ForACall) {
    const CRequestText request = requests::Method(
        "SetParameter",
        requests::InParameter("<VALUE>" + requests::Escape(samples::SettingsText()) + "</VALUE>"));
    ExpectNothingElse(
        [&] {
            return asking::Operations().Answer(request.m_head, request.m_body,
                                               messages::Right::Change);
        },
        kTryAgain);
}

// The answer was made before the call.
TEST(NoMemory, ForTheEndOfACall) {
    const CRequestText request = requests::Method("GetParameter", "");
    const auto asked =
        asking::Operations().Answer(request.m_head, request.m_body, messages::Right::Read);
    const auto& call = std::get<wbemd::CPendingCall>(asked);
    IWbemClassObject output;
    output.Put("LoggerConf", samples::Settings());
    const messages::CCallAnswer answer = {messages::CallResult::Done, 0,
                                          messages::EncodeObject(output)};
    const string withoutMemory = Text(call.m_withoutMemory);
    EXPECT_NE(string::npos,
              withoutMemory.find("<ERROR CODE=\"1\" DESCRIPTION=\"The method was called, but the "
                                 "server is out of memory to tell how that went. Read the settings "
                                 "before anything else.\">"))
        << withoutMemory;
    ExpectNothingElse(
        [&]() -> Outcome {
            try {
                return asking::Operations().Finish(call, answer);
            } catch (const std::bad_alloc&) {
                return call.m_withoutMemory;
            }
        },
        withoutMemory);
}

} // namespace
