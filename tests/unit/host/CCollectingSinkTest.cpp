#include "host/CCollectingSink.h"

#include "comlib/CIWbemUtil.h"
#include "tests/support/TableTest.h"

#include <functional>

using std::string;

namespace {

constexpr unsigned long kFailedStatus = 0x80041001UL;

IWbemClassObject MakeOutput(unsigned long result) {
    IWbemClassObject output;
    CIWbemUtil::setReturnValueToIWbemClassObject(&output, result);
    return output;
}

// What a provider does to its sink, in one letter a step: O delivers an output object, 2 delivers
// two at once, V delivers one without a return value, N a null object, A no array, M a negative
// count, E an empty list; S reports success, F failure, P a positive status.
void Play(const string& steps, IWbemObjectSink& sink) {
    for (const char step : steps) {
        IWbemClassObject output = MakeOutput(7);
        IWbemClassObject bare;
        IWbemClassObject* outputs[] = {&output, &output};
        IWbemClassObject* bares[] = {&bare};
        IWbemClassObject* nulls[] = {nullptr};
        const std::pair<char, std::function<void()>> actions[] = {
            {'O', [&] { sink.Indicate(1, outputs); }},
            {'2', [&] { sink.Indicate(2, outputs); }},
            {'V', [&] { sink.Indicate(1, bares); }},
            {'N', [&] { sink.Indicate(1, nulls); }},
            {'A', [&] { sink.Indicate(1, nullptr); }},
            {'M', [&] { sink.Indicate(-1, outputs); }},
            {'E', [&] { sink.Indicate(0, nullptr); }},
            {'S', [&] { sink.SetStatus(0, 0, nullptr, nullptr); }},
            {'F', [&] { sink.SetStatus(0, kFailedStatus, nullptr, nullptr); }},
            {'P', [&] { sink.SetStatus(0, 1, nullptr, nullptr); }},
        };
        for (const auto& [letter, action] : actions) {
            if (letter == step) {
                action();
            }
        }
    }
}

struct SinkRow {
    string name;
    string steps;
    string error; // a part of it; none at all when empty
    HRESULT status;
    bool hasOutput;
};
std::ostream& operator<<(std::ostream& out, const SinkRow& row) {
    return out << row.steps;
}

class SinkRules : public testing::TestWithParam<SinkRow> {};

TEST_P(SinkRules, AreChecked) {
    const SinkRow& row = GetParam();
    CCollectingSink sink;
    Play(row.steps, sink);
    const CCallOutcome outcome = sink.TakeOutcome();

    EXPECT_EQ(row.error.empty(), outcome.m_sError.empty()) << outcome.m_sError;
    EXPECT_NE(string::npos, outcome.m_sError.find(row.error)) << outcome.m_sError;
    EXPECT_EQ(row.status, outcome.m_status);
    EXPECT_EQ(row.hasOutput, outcome.m_output != nullptr);
}

constexpr HRESULT kOk = WbemResult::kSuccess;
constexpr HRESULT kFail = WbemResult::kFailed;

INSTANTIATE_TEST_SUITE_P(Kept, SinkRules,
                         testing::Values(SinkRow{"ObjectThenSuccess", "OS", "", kOk, true},
                                         SinkRow{"ObjectThenPositiveStatus", "OP", "", 1, true},
                                         SinkRow{"EmptyListsAreHarmless", "EOES", "", kOk, true},
                                         SinkRow{"FailureAlone", "F", "", kFail, false},
                                         SinkRow{"ObjectThenFailure", "OF", "", kFail, true},
                                         SinkRow{"FailureNeedsNoReturnValue", "VF", "", kFail,
                                                 true}),
                         RowName<SinkRow>);

INSTANTIATE_TEST_SUITE_P(
    Broken, SinkRules,
    testing::Values(
        SinkRow{"Nothing", "", "returned without calling SetStatus", kFail, false},
        SinkRow{"NoStatus", "O", "returned without calling SetStatus", kFail, true},
        SinkRow{"StatusTwice", "OSS", "called SetStatus more than once", kOk, true},
        SinkRow{"FirstOfTwoStatusesCounts", "OSF", "SetStatus more than once", kOk, true},
        SinkRow{"SuccessWithoutObject", "S", "without delivering an output object", kOk, false},
        SinkRow{"PositiveWithoutObject", "P", "without delivering an output object", 1, false},
        SinkRow{"EmptyListOnly", "ES", "without delivering an output object", kOk, false},
        SinkRow{"TwoObjects", "OOS", "more than one output object", kOk, true},
        SinkRow{"TwoObjectsAtOnce", "2S", "more than one output object", kOk, true},
        SinkRow{"ObjectAfterStatus", "FO", "called Indicate after SetStatus", kFail, false},
        SinkRow{"ObjectTooLate", "SO", "called Indicate after SetStatus", kOk, false},
        SinkRow{"NullObject", "NF", "gave Indicate a null object", kFail, false},
        SinkRow{"NoArray", "AF", "without an array of objects", kFail, false},
        SinkRow{"NegativeCount", "MF", "a negative count", kFail, false},
        SinkRow{"NoReturnValue", "VS", "without an unsigned 32-bit ReturnValue", kOk, true},
        SinkRow{"FirstViolationIsReported", "NOOSS", "gave Indicate a null object", kOk, true}),
    RowName<SinkRow>);

TEST(CollectingSink, CopiesTheObjectAndTakesItsReturnValue) {
    CCollectingSink sink;
    {
        IWbemClassObject output = MakeOutput(2147483649UL);
        CIWbemUtil::setStringToIWbemClassObject(&output, "Text", "as delivered");
        IWbemClassObject* objects[] = {&output};
        EXPECT_EQ(WbemResult::kSuccess, sink.Indicate(1, objects));
        CIWbemUtil::setStringToIWbemClassObject(&output, "Text", "changed afterwards");
    }
    sink.SetStatus(0, 0, nullptr, nullptr);
    const CCallOutcome outcome = sink.TakeOutcome();
    EXPECT_EQ(2147483649U, outcome.m_uiMethodResult);
    string text;
    CIWbemUtil::getStringFromIWbemClassObject(outcome.m_output.get(), "Text", &text);
    EXPECT_EQ("as delivered", text);
}

TEST(CollectingSink, TakesTheLow32BitsOfAStatus) {
    for (const unsigned long status : {0x80041001UL, 0xFFFFFFFF80041001UL}) {
        SCOPED_TRACE(status);
        CCollectingSink sink;
        sink.SetStatus(0, status, nullptr, nullptr);
        EXPECT_EQ(WbemResult::kFailed, sink.TakeOutcome().m_status);
    }
}

TEST(CollectingSink, AnswersViolationsWithFailures) {
    CCollectingSink sink;
    IWbemClassObject output = MakeOutput(0);
    IWbemClassObject* objects[] = {&output};
    IWbemClassObject* nulls[] = {nullptr};
    EXPECT_EQ(WbemResult::kInvalidParameter, sink.Indicate(1, nulls));
    EXPECT_EQ(WbemResult::kInvalidParameter, sink.Indicate(1, nullptr));
    EXPECT_EQ(WbemResult::kInvalidParameter, sink.Indicate(-1, objects));
    EXPECT_EQ(WbemResult::kSuccess, sink.Indicate(1, objects));
    EXPECT_EQ(WbemResult::kFailed, sink.Indicate(1, objects));
    EXPECT_EQ(WbemResult::kSuccess, sink.SetStatus(0, 0, nullptr, nullptr));
    EXPECT_EQ(WbemResult::kFailed, sink.SetStatus(0, 0, nullptr, nullptr));
    EXPECT_EQ(WbemResult::kFailed, sink.Indicate(1, objects));
}

} // namespace
