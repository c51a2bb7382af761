#include "loggerctl/agent/ProviderCall.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

using output::ExitCode;

struct COutcomeRow {
    const char* m_error;
    HRESULT m_status;
    bool m_output;
    std::uint32_t m_methodResult;
    output::ExitCode m_code;
};

std::ostream& operator<<(std::ostream& out, const COutcomeRow& row) {
    return out << row.m_error << ", status " << row.m_status << ", output " << row.m_output
               << ", result " << row.m_methodResult;
}

class ToExitCodeTest : public testing::TestWithParam<COutcomeRow> {};

TEST_P(ToExitCodeTest, IsThatOfTheOutcome) {
    const COutcomeRow& row = GetParam();
    CCallOutcome outcome;
    outcome.m_sError = row.m_error;
    outcome.m_status = row.m_status;
    outcome.m_uiMethodResult = row.m_methodResult;
    if (row.m_output) {
        outcome.m_output = std::make_unique<IWbemClassObject>();
    }
    EXPECT_EQ(static_cast<int>(agent::ToExitCode(outcome)), static_cast<int>(row.m_code));
}

constexpr std::uint32_t kFailure = 0x80000001;
constexpr std::uint32_t kException = 0x80000002;

INSTANTIATE_TEST_SUITE_P(
    Outcomes, ToExitCodeTest,
    testing::Values(COutcomeRow{"", 0, true, 0, output::ExitCode::Success},
                    COutcomeRow{"", 0, true, 176, output::ExitCode::NotInstalled},
                    COutcomeRow{"", 0, true, kFailure, output::ExitCode::Failure},
                    COutcomeRow{"", 0, true, 1, output::ExitCode::Failure},
                    COutcomeRow{"", 0, true, 0x80000003, output::ExitCode::Failure},
                    COutcomeRow{"", WbemResult::kFailed, true, kException,
                                output::ExitCode::Exception},
                    COutcomeRow{"", 0, true, kException, output::ExitCode::Exception},
                    COutcomeRow{"", WbemResult::kFailed, true, 0, output::ExitCode::Failure},
                    COutcomeRow{"", WbemResult::kNotSupported, false, 0, output::ExitCode::Failure},
                    COutcomeRow{"", 0, false, 0, output::ExitCode::Failure},
                    COutcomeRow{"", 0, false, kException, output::ExitCode::Failure},
                    COutcomeRow{"two statuses", 0, true, 0, output::ExitCode::Failure},
                    COutcomeRow{"two statuses", 0, true, 176, output::ExitCode::Failure}));

} // namespace
