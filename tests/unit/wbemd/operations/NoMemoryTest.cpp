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

string OutcomeText(const Outcome& outcome) {
    const auto* answer = std::get_if<CHttpAnswer>(&outcome);
    return answer == nullptr ? std::get<wbemd::CPendingCall>(outcome).m_inParameters
                             : std::to_string(answer->m_status) + "\n" + answer->m_body;
}

constexpr int kMany = 10; // allocations

// The good answer, or the one without memory; once all allocations have failed, the good one. What
// is done before each has all the memory that it needs. How many allocations there are.
int ExpectNothingElse(
    const std::function<Outcome()>& ask, const string& withoutMemory,
    const std::function<void()>& before = [] {}) {
    before();
    const string good = OutcomeText(ask());
    int unmet = 0;
    for (int n = 1; unmet == 0; ++n) {
        Outcome outcome;
        before();
        {
            const CFailingCall failing("operator new", ENOMEM, n);
            outcome = ask();
            unmet = CFailingCall::IsMet() ? 0 : n;
        }
        const string text = OutcomeText(outcome);
        EXPECT_TRUE(text == good || (unmet == 0 && text == withoutMemory)) << n << "\n" << text;
        if (text == withoutMemory) {
            EXPECT_FALSE(std::get<CHttpAnswer>(outcome).m_keepOpen);
        }
    }
    return unmet - 1;
}

const string kTryAgain = "503\nThe server is out of memory. Try again later.\n";

TEST(NoMemory, ForAnAnswer) {
    const CRequestText request =
        requests::Intrinsic("EnumerateInstances", requests::ClassName("CIM_Namespace"), "interop");
    const int count = ExpectNothingElse(
        [&] {
            return asking::Operations().Answer(request.m_head, request.m_body,
                                               messages::Right::Read);
        },
        kTryAgain);
    EXPECT_GE(count, kMany);
}

TEST(NoMemory, ForACall) {
    const CRequestText request = requests::Method(
        "SetParameter",
        requests::InParameter("<VALUE>" + requests::Escape(samples::SettingsText()) + "</VALUE>"));
    const int count = ExpectNothingElse(
        [&] {
            return asking::Operations().Answer(request.m_head, request.m_body,
                                               messages::Right::Change);
        },
        kTryAgain);
    EXPECT_GE(count, kMany);
}

wbemd::CPendingCall Asked() {
    const CRequestText request = requests::Method("GetParameter", "");
    return std::get<wbemd::CPendingCall>(
        asking::Operations().Answer(request.m_head, request.m_body, messages::Right::Read));
}

messages::CCallAnswer Settings() {
    IWbemClassObject output;
    output.Put("LoggerConf", samples::Settings());
    return {messages::CallResult::Done, 0, messages::EncodeObject(output)};
}

Outcome FinishedOutcome(const wbemd::CPendingCall& call, const messages::CCallAnswer& answer) {
    try {
        return asking::Operations().Finish(call, answer);
    } catch (const std::bad_alloc&) {
        return call.m_withoutMemory;
    }
}

// The answer was made before the call.
TEST(NoMemory, ForTheEndOfACall) {
    const wbemd::CPendingCall call = Asked();
    const messages::CCallAnswer answer = Settings();
    const messages::CCallAnswer other = {messages::CallResult::Done, 1, ""};
    const string withoutMemory = OutcomeText(call.m_withoutMemory);
    EXPECT_NE(withoutMemory.find("<MESSAGE ID=\"1001\""), string::npos) << withoutMemory;
    EXPECT_NE(string::npos,
              withoutMemory.find("<METHODRESPONSE NAME=\"GetParameter\"><ERROR CODE=\"1\" "
                                 "DESCRIPTION=\"The method was called, but the "
                                 "server is out of memory to tell how that went. Read the settings "
                                 "before anything else.\">"))
        << withoutMemory;
    const auto finish = [&] { return FinishedOutcome(call, answer); };
    EXPECT_GE(ExpectNothingElse(finish, withoutMemory, [&] { FinishedOutcome(call, other); }),
              kMany);
    const int again = ExpectNothingElse(finish, withoutMemory);
    EXPECT_TRUE(0 < again && again < kMany) << again << ": it was written anew";
}

} // namespace
