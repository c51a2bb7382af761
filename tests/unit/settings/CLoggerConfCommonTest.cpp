#include "settings/CLoggerConfCommon.h"

#include "tests/support/TableTest.h"

#include <climits>

using std::string;

namespace {

constexpr auto kNone = string::npos;

struct LineRow {
    string name;
    string line;
    unsigned int keyPos;
    string::size_type expected;
};
std::ostream& operator<<(std::ostream& out, const LineRow& row) {
    return out << '"' << row.line << "\" with the key at " << row.keyPos;
}

class CheckCommentLine : public testing::TestWithParam<LineRow> {};

TEST_P(CheckCommentLine, FindsTheEqualsSignThatBelongsToTheKey) {
    const LineRow& row = GetParam();
    EXPECT_EQ(row.expected, CLoggerConfCommon::CheckCommentLine(row.line, row.keyPos));
}

INSTANTIATE_TEST_SUITE_P(
    Lines, CheckCommentLine,
    testing::Values(LineRow{"KeyAtTheBeginning", "SyslogOutput=True", 0, 12},
                    LineRow{"LeadingBlanks", "   SyslogOutput=True", 3, 15},
                    LineRow{"CommentMarkBeforeTheKey", "  # SyslogOutput=True", 4, kNone},
                    LineRow{"CommentMarkInTheFirstColumn", "#SyslogOutput=True", 1, kNone},
                    LineRow{"CommentMarkRightBehindOtherText", "a#SyslogOutput=True", 2, kNone},
                    LineRow{"CommentMarkBehindTheValue", "SyslogOutput=True # was False", 0, 12},
                    LineRow{"CommentMarksBeforeAndBehindTheKey", "# SyslogOutput=True # x", 2,
                            kNone},
                    LineRow{"CommentMarkBetweenKeyAndEqualsSign", "SyslogOutput#=True", 0, 13},
                    LineRow{"CommentMarkAtTheKeysOwnPosition", "#=", 0, 1},
                    LineRow{"NoEqualsSign", "SyslogOutput True", 0, kNone},
                    LineRow{"FirstEqualsSignBeforeTheKey", "A=1 SyslogOutput=True", 4, kNone},
                    LineRow{"EqualsSignAtTheGivenPosition", "CPU=(1)", 3, 3},
                    LineRow{"EqualsSignJustBeforeTheGivenPosition", "CPU=(1)", 4, kNone},
                    LineRow{"OnlyTheFirstEqualsSignCounts", "CPU=a=b", 0, 3},
                    LineRow{"EmptyLine", "", 0, kNone}),
    RowName<LineRow>);

struct NumberRow {
    string name;
    string text;
    long expected;
};
std::ostream& operator<<(std::ostream& out, const NumberRow& row) {
    return out << '"' << row.text << '"';
}

class GetNumber : public testing::TestWithParam<NumberRow> {};

TEST_P(GetNumber, ReadsTheDecimalNumberAtTheBeginning) {
    EXPECT_EQ(GetParam().expected, CLoggerConfCommon::GetNumber(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, GetNumber,
    testing::Values(NumberRow{"Plain", "60", 60}, NumberRow{"LeadingBlanksAndTabs", " \t60", 60},
                    NumberRow{"TrailingText", "60 seconds", 60}, NumberRow{"Negative", "-5", -5},
                    NumberRow{"PlusSign", "+5", 5}, NumberRow{"NoNumber", "abc", 0},
                    NumberRow{"Empty", "", 0}, NumberRow{"DecimalAlthoughItLooksOctal", "010", 10},
                    NumberRow{"NotHexadecimal", "0x10", 0},
                    NumberRow{"TooLarge", "99999999999999999999", LONG_MAX}),
    RowName<NumberRow>);

} // namespace
