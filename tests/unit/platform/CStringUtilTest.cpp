#include "comlib/CStringUtil.h"
#include "tests/support/TableTest.h"

#include <gtest/gtest.h>

namespace {

struct SplitRow {
    const char* name;
    std::string m_sText;
    std::string m_sSeparator;
    std::list<std::string> m_pieces;
};

void PrintTo(const SplitRow& row, std::ostream* out) {
    *out << "\"" << row.m_sText << "\" at \"" << row.m_sSeparator << "\"";
}

class SplitTest : public testing::TestWithParam<SplitRow> {};

TEST_P(SplitTest, GivesThePiecesInOrderAndKeepsTheText) {
    std::string text = GetParam().m_sText;
    EXPECT_EQ(GetParam().m_pieces, CStringUtil::Split(text, GetParam().m_sSeparator));
    EXPECT_EQ(GetParam().m_sText, text);
}

const SplitRow kSplitRows[] = {
    {"EmptyText", "", ",", {""}},
    {"NoSeparatorInText", "abc", ",", {"abc"}},
    {"OneSeparator", "a,b", ",", {"a", "b"}},
    {"EmptyPieceBetween", "a,,b", ",", {"a", "", "b"}},
    {"LeadingSeparator", ",a", ",", {"", "a"}},
    {"TrailingSeparator", "a,", ",", {"a", ""}},
    {"OnlySeparators", ",,", ",", {"", "", ""}},
    {"LongSeparator", "a::b:c", "::", {"a", "b:c"}},
    {"OverlappingSeparator", "a:::b", "::", {"a", ":b"}},
    {"EmptySeparator", "a,b", "", {"a,b"}},
    {"EmptyTextAndSeparator", "", "", {""}},
    {"BlanksAreKept", " a , b ", ",", {" a ", " b "}},
    {"ZeroByte", std::string("a\0b,c", 5), ",", {std::string("a\0b", 3), "c"}},
};

INSTANTIATE_TEST_SUITE_P(Rows, SplitTest, testing::ValuesIn(kSplitRows), RowName<SplitRow>);

TEST(StringToTstringTest, GivesTheTextUnchanged) {
    const std::string text("a\0\xC3\xA4%s", 6);
    EXPECT_EQ(text, CStringUtil::StringToTstring(text));
}

} // namespace
