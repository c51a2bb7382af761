#include "providerd/door/Audit.h"

#include <gtest/gtest.h>

using messages::CallResult;
using providerd::CAuditedRequest;
using providerd::CFinishedCall;
using std::chrono::milliseconds;

namespace {

const CAuditedRequest kRequest{"user", "::1", "GetParameter", milliseconds(12)};
constexpr char kBeginning[] = R"(user="user" peer="::1" operation="GetParameter" result=)";

struct CResultRow {
    CallResult m_result;
    const char* m_words;
};

const CResultRow kResultRows[] = {
    {CallResult::Done, R"("done" return=0x80000001)"},
    {CallResult::WrongCredentials, R"("wrong credentials")"},
    {CallResult::NotAllowed, R"("not allowed")"},
    {CallResult::NoMethod, R"("no such method")"},
    {CallResult::NotAvailable, R"("provider not available")"},
    {CallResult::QueueFull, R"("too many calls wait")"},
    {CallResult::ShuttingDown, R"("shutting down")"},
    {CallResult::NotKept, R"("settings could not be kept")"},
    {CallResult::TimedOut, R"("timed out")"},
    {CallResult::Died, R"("worker died")"},
    {CallResult::Failed, R"("failed")"},
};

TEST(Audit, OfACall) {
    for (const CResultRow& row : kResultRows) {
        EXPECT_EQ(providerd::CallLine(kRequest, CFinishedCall({row.m_result, 0x80000001, "out"})),
                  std::string(kBeginning) + row.m_words + " ms=12");
    }
    EXPECT_EQ(providerd::CallLine(kRequest,
                                  CFinishedCall({CallResult::Done, 0, ""}, "20261121-083000-001")),
              std::string(kBeginning) + R"("done" return=0x00000000 ms=12)"
                                        " history=20261121-083000-001");
    EXPECT_EQ(providerd::CallLine(kRequest,
                                  CFinishedCall({CallResult::Died, 0, ""}, "20261121-083000-001")),
              std::string(kBeginning) + R"("worker died" ms=12 history=20261121-083000-001)");
}

TEST(Audit, OfARefusalCannotBeForged) {
    const CAuditedRequest request{R"(a" result="done\)", R"(")", providerd::kCheckOperation,
                                  milliseconds(0)};
    EXPECT_EQ(providerd::RefusalLine(request, R"(a "reason")"),
              R"(user="a\" result=\"done\\" peer="\"" operation="check")"
              R"( result="wrong credentials" reason="a \"reason\"" ms=0)");
}

} // namespace
