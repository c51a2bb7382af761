#include "settings/LoggerTrace.h"

#include "tests/support/CTraceCapture.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

TEST(LoggerTrace, AnswerThatIsNotBelowZeroIsNoFailure) {
    const CTraceCapture trace;
    for (const HRESULT answer : {0, 1, INT_MAX}) {
        EXPECT_TRUE(LoggerTrace::IsDone("Operation", "call", answer)) << answer;
    }
    EXPECT_EQ(TraceLines{}, trace.Lines());
}

TEST(LoggerTrace, AnswerBelowZeroIsTraced) {
    const CTraceCapture trace;
    for (const HRESULT answer : {-1, INT_MIN}) {
        EXPECT_FALSE(LoggerTrace::IsDone("Operation", "call", answer)) << answer;
    }
    EXPECT_EQ((TraceLines{{2, "Operation call is FAILED ffffffff"},
                          {2, "Operation call is FAILED 80000000"}}),
              trace.Lines());
}

} // namespace
