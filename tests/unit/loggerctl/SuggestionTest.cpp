#include "loggerctl/record/Suggestion.h"

#include <gtest/gtest.h>

namespace {

struct CWordRow {
    const char* m_word;
    const char* m_nearest;
};

class NearestTest : public testing::TestWithParam<CWordRow> {};

TEST_P(NearestTest, FindsTheNearestOrNothing) {
    const std::vector<std::string> candidates = {"cpu.count", "cpu.enable", "memory.enable", "/"};
    EXPECT_EQ(record::Nearest(GetParam().m_word, candidates), GetParam().m_nearest)
        << GetParam().m_word;
}

INSTANTIATE_TEST_SUITE_P(
    Words, NearestTest,
    testing::Values(CWordRow{"cpu.enable", "cpu.enable"}, CWordRow{"cpu.enabel", "cpu.enable"},
                    CWordRow{"cpu.cout", "cpu.count"}, CWordRow{"memory.enabled", "memory.enable"},
                    CWordRow{"mem.enable", "memory.enable"}, CWordRow{"x", "/"},
                    CWordRow{"zebra", ""}, CWordRow{"threshold", ""}));

TEST(Suggestion, OfEqualsIsTheOneThatBeginsMostAlikeAndThenTheFirst) {
    EXPECT_EQ(record::Nearest("fs.count", {"cs.count", "fs.counts"}), "fs.counts");
    EXPECT_EQ(record::Nearest("abc", {"abd", "abe"}), "abd");
}

TEST(Suggestion, IsNotMadeForWordsThatAreTooLong) {
    const std::string longest(256, 'a');
    EXPECT_EQ(record::Nearest(longest, {longest + "b"}), longest + "b");
    EXPECT_EQ(record::Nearest(longest + "a", {longest + "b"}), "");
}

TEST(Suggestion, QuestionIsEmptyWithoutACandidate) {
    EXPECT_EQ(record::Question("fs.count", {}), "");
    EXPECT_EQ(record::Question("a\nb", {"a\nc"}), " Did you mean 'a\\x0Ac'?");
}

} // namespace
