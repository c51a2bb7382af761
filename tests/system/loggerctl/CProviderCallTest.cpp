#include "loggerctl/agent/CProviderCall.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

struct Row {
    const char* m_pError;
    HRESULT m_status;
    bool m_bOutput;
    std::uint32_t m_uiMethodResult;
    ExitCode m_exitCode;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.m_pError << ", status " << row.m_status << ", output " << row.m_bOutput
               << ", result " << row.m_uiMethodResult;
}

class CProviderCallRow : public testing::TestWithParam<Row> {};

TEST_P(CProviderCallRow, OutcomeHasItsExitCode) {
    const Row& row = GetParam();
    CCallOutcome outcome;
    outcome.m_sError = row.m_pError;
    outcome.m_status = row.m_status;
    outcome.m_uiMethodResult = row.m_uiMethodResult;
    if (row.m_bOutput) {
        outcome.m_output = std::make_unique<IWbemClassObject>();
    }
    EXPECT_EQ(static_cast<int>(CProviderCall::ToExitCode(outcome)),
              static_cast<int>(row.m_exitCode));
}

constexpr std::uint32_t kFailure = 0x80000001;
constexpr std::uint32_t kException = 0x80000002;

INSTANTIATE_TEST_SUITE_P(
    Outcomes, CProviderCallRow,
    testing::Values(
        Row{"", 0, true, 0, ExitCode::Success}, Row{"", 0, true, 176, ExitCode::NotInstalled},
        Row{"", 0, true, kFailure, ExitCode::Failure}, Row{"", 0, true, 1, ExitCode::Failure},
        Row{"", 0, true, 0x80000003, ExitCode::Failure},
        Row{"", WbemResult::kFailed, true, kException, ExitCode::Exception},
        Row{"", 0, true, kException, ExitCode::Exception},
        Row{"", WbemResult::kFailed, true, 0, ExitCode::Failure},
        Row{"", WbemResult::kNotSupported, false, 0, ExitCode::Failure},
        Row{"", 0, false, 0, ExitCode::Failure}, Row{"", 0, false, kException, ExitCode::Failure},
        Row{"two statuses", 0, true, 0, ExitCode::Failure},
        Row{"two statuses", 0, true, 176, ExitCode::Failure}));

} // namespace
