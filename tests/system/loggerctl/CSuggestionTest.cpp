#include "loggerctl/output/CSuggestion.h"

#include <gtest/gtest.h>

namespace {

struct Row {
    const char* m_pWord;
    const char* m_pNearest;
};

class CSuggestionRow : public testing::TestWithParam<Row> {};

TEST_P(CSuggestionRow, FindsTheNearestOrNothing) {
    const std::vector<std::string> candidates = {"cpu.count", "cpu.enable", "memory.enable", "/"};
    EXPECT_EQ(CSuggestion::Nearest(GetParam().m_pWord, candidates), GetParam().m_pNearest)
        << GetParam().m_pWord;
}

INSTANTIATE_TEST_SUITE_P(Words, CSuggestionRow,
                         testing::Values(Row{"cpu.enable", "cpu.enable"},
                                         Row{"cpu.enabel", "cpu.enable"},
                                         Row{"cpu.cout", "cpu.count"},
                                         Row{"memory.enabled", "memory.enable"},
                                         Row{"mem.enable", "memory.enable"}, Row{"x", "/"},
                                         Row{"zebra", ""}, Row{"threshold", ""}));

TEST(CSuggestion, IsNotMadeForWordsThatAreTooLong) {
    const std::string longest(256, 'a');
    EXPECT_EQ(CSuggestion::Nearest(longest, {longest + "b"}), longest + "b");
    EXPECT_EQ(CSuggestion::Nearest(longest + "a", {longest + "b"}), "");
}

TEST(CSuggestion, QuestionIsEmptyWithoutACandidate) {
    EXPECT_EQ(CSuggestion::Question("fs.count", {}), "");
    EXPECT_EQ(CSuggestion::Question("a\nb", {"a\nc"}), " Did you mean 'a\\x0Ac'?");
}

} // namespace
