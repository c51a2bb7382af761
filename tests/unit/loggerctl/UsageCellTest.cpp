#include "loggerctl/commands/SettingsView.h"

#include <gtest/gtest.h>

#include <climits>
#include <ostream>

namespace {

using output::TextStyle;

struct CCellRow {
    int m_percent;
    int m_threshold;
    bool m_monitored;
    const char* m_wanted;
    output::TextStyle m_style;
};

std::ostream& operator<<(std::ostream& out, const CCellRow& row) {
    return out << row.m_percent << " % of " << row.m_threshold;
}

class UsageCellTest : public testing::TestWithParam<CCellRow> {};

TEST_P(UsageCellTest, ShowsUseAgainstTheThreshold) {
    const CCellRow& row = GetParam();
    const output::CTable::Cell cell =
        commands::UsageCell(row.m_percent, row.m_threshold, row.m_monitored, false);
    EXPECT_EQ(cell.m_text, row.m_wanted);
    EXPECT_EQ(static_cast<int>(cell.m_style), static_cast<int>(row.m_style));
}

INSTANTIATE_TEST_SUITE_P(
    Usages, UsageCellTest,
    testing::Values(
        CCellRow{0, 80, true, "................|...   0 %", output::TextStyle::Good},
        CCellRow{50, 80, true, "##########......|...  50 %", output::TextStyle::Good},
        CCellRow{71, 80, true, "##############..|...  71 %", output::TextStyle::Good},
        CCellRow{72, 80, true, "##############..|...  72 %", output::TextStyle::Warning},
        CCellRow{79, 80, true, "################|...  79 %", output::TextStyle::Warning},
        CCellRow{80, 80, true, "################|...  80 % over", output::TextStyle::Bad},
        CCellRow{100, 80, true, "################|### 100 % over", output::TextStyle::Bad},
        CCellRow{100, 80, false, "################|### 100 %", output::TextStyle::Dim},
        CCellRow{10, 100, true, "##.................|  10 %", output::TextStyle::Good},
        CCellRow{10, 1, true, "|#..................  10 % over", output::TextStyle::Bad},
        CCellRow{10, 150, true, "##..................  10 %", output::TextStyle::Good},
        CCellRow{0, 5, true, ".|..................   0 %", output::TextStyle::Good},
        CCellRow{10, INT_MAX, true, "##..................  10 %", output::TextStyle::Good},
        CCellRow{10, INT_MIN, true, "##..................  10 % over", output::TextStyle::Bad},
        CCellRow{10, -1, false, "##..................  10 %", output::TextStyle::Dim}));

TEST(UsageCell, UsesBlocksWithUtf8) {
    EXPECT_EQ(commands::UsageCell(20, 50, true, true).m_text, "████░░░░░░│░░░░░░░░░  20 %");
}

} // namespace
