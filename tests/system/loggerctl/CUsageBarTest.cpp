#include "loggerctl/output/CUsageBar.h"

#include <gtest/gtest.h>

#include <climits>
#include <ostream>

namespace {

struct Row {
    int m_iPercent;
    int m_iThreshold;
    bool m_bMonitored;
    const char* m_pText;
    TextStyle m_style;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.m_iPercent << " % of " << row.m_iThreshold;
}

class CUsageBarRow : public testing::TestWithParam<Row> {};

TEST_P(CUsageBarRow, ShowsUseAgainstTheThreshold) {
    const Row& row = GetParam();
    const CTable::Cell cell =
        CUsageBar::Cell(row.m_iPercent, row.m_iThreshold, row.m_bMonitored, false);
    EXPECT_EQ(cell.m_sText, row.m_pText);
    EXPECT_EQ(static_cast<int>(cell.m_style), static_cast<int>(row.m_style));
}

INSTANTIATE_TEST_SUITE_P(
    Usages, CUsageBarRow,
    testing::Values(Row{0, 80, true, "................|...   0 %", TextStyle::Good},
                    Row{50, 80, true, "##########......|...  50 %", TextStyle::Good},
                    Row{71, 80, true, "##############..|...  71 %", TextStyle::Good},
                    Row{72, 80, true, "##############..|...  72 %", TextStyle::Warning},
                    Row{79, 80, true, "################|...  79 %", TextStyle::Warning},
                    Row{80, 80, true, "################|...  80 % over", TextStyle::Bad},
                    Row{100, 80, true, "################|### 100 % over", TextStyle::Bad},
                    Row{100, 80, false, "################|### 100 %", TextStyle::Dim},
                    Row{10, 100, true, "##.................|  10 %", TextStyle::Good},
                    Row{10, 1, true, "|#..................  10 % over", TextStyle::Bad},
                    Row{10, 150, true, "##..................  10 %", TextStyle::Good},
                    Row{0, 5, true, ".|..................   0 %", TextStyle::Good},
                    Row{10, INT_MAX, true, "##..................  10 %", TextStyle::Good},
                    Row{10, INT_MIN, true, "##..................  10 % over", TextStyle::Bad},
                    Row{10, -1, false, "##..................  10 %", TextStyle::Dim}));

TEST(CUsageBar, UsesBlocksWithUtf8) {
    EXPECT_EQ(CUsageBar::Cell(20, 50, true, true).m_sText, "████░░░░░░│░░░░░░░░░  20 %");
}

} // namespace
