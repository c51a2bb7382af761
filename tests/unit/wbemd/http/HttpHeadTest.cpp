#include "wbemd/http/HttpHead.h"

#include "tests/support/TableTest.h"

#include <ostream>

using std::string;
using wbemd::CHeadExtent;
using wbemd::CHttpHead;

namespace {

using State = CHeadExtent::State;

struct CExtentRow {
    string name;
    string text;
    State state;
    std::size_t length;
};

std::ostream& operator<<(std::ostream& stream, const CExtentRow& row) {
    return stream << testing::PrintToString(row.text.substr(0, 100));
}

class FindHeadEndTest : public testing::TestWithParam<CExtentRow> {};

TEST_P(FindHeadEndTest, Finds) {
    const CHeadExtent extent = wbemd::FindHeadEnd(GetParam().text, 0);
    EXPECT_EQ(extent.m_state, GetParam().state);
    EXPECT_EQ(extent.m_length, GetParam().length);
}

// In whatever pieces the text comes, the answer is that for the whole.
TEST_P(FindHeadEndTest, FindsTheSamePieceByPiece) {
    const string& text = GetParam().text;
    for (std::size_t cut = 0; cut <= std::min<std::size_t>(text.size(), 40); ++cut) {
        const auto first = wbemd::FindHeadEnd(std::string_view(text).substr(0, cut), 0);
        const auto second =
            first.m_state == State::Incomplete ? wbemd::FindHeadEnd(text, cut) : first;
        EXPECT_EQ(second.m_state, GetParam().state) << cut;
        EXPECT_EQ(second.m_length, GetParam().length) << cut;
    }
}

const CExtentRow kExtentRows[] = {
    {"Nothing", "", State::Incomplete, 0},
    {"HalfALine", "POST /", State::Incomplete, 0},
    {"OneLine", "a\r\n", State::Incomplete, 0},
    {"AlmostAll", "a\r\n\r", State::Incomplete, 0},
    {"All", "a\r\n\r\n", State::Complete, 5},
    {"MoreThanAll", "a\r\nb: c\r\n\r\nbody\n", State::Complete, 11},
    {"OnlyTheEnd", "\r\n\r\n", State::Complete, 4},
    {"LineFeedFirst", "\n", State::Malformed, 0},
    {"LineFeedAlone", "a\nb\r\n\r\n", State::Malformed, 0},
    {"LineFeedTwice", "a\r\n\n", State::Malformed, 0},
    {"Greatest", string(wbemd::kHeadBytes - 4, 'x') + "\r\n\r\n", State::Complete,
     wbemd::kHeadBytes},
    {"GreatestIncomplete", string(wbemd::kHeadBytes - 1, 'x'), State::Incomplete, 0},
    {"TooLong", string(wbemd::kHeadBytes - 3, 'x') + "\r\n\r\n", State::TooLong, 0},
    {"TooLongWithoutEnd", string(wbemd::kHeadBytes, 'x'), State::TooLong, 0}};

INSTANTIATE_TEST_SUITE_P(Texts, FindHeadEndTest, testing::ValuesIn(kExtentRows),
                         RowName<CExtentRow>);

// What was read, in one line; or the status of the refusal.
string TextOf(const string& head) {
    const auto read = wbemd::ReadHead(head);
    if (!read) {
        return std::to_string(read.error());
    }
    string text = read->m_method + " " + read->m_target + (read->m_isHttp10 ? " 1.0" : " 1.1");
    for (const auto& [name, value] : read->m_fields) {
        text.append(" [").append(name).append("=").append(value).append("]");
    }
    return text;
}

TEST(ReadHeadTest, Reads) {
    const std::pair<string, string> rows[] = {
        {"POST /cimom HTTP/1.1\r\n\r\n", "POST /cimom 1.1"},
        {"!#$%&'*+-.^_`|~09azAZ * HTTP/1.0\r\n\r\n", "!#$%&'*+-.^_`|~09azAZ * 1.0"},
        {"A b HTTP/1.1\r\nc:d\r\nC: \t e f \t\r\ng:\r\n\r\n", "A b 1.1 [c=d] [C=e f] [g=]"},
        {"A b HTTP/1.1\r\nc: d:e\xFF\r\n\r\n", "A b 1.1 [c=d:e\xFF]"},
        {"A b HTTP/1.2\r\n\r\n", "505"},
        {"A b HTTP/2.0\r\n\r\n", "505"},
        {"A b HTTP/1.1x\r\n\r\n", "400"},
        {"A b HTTP/1,1\r\n\r\n", "400"},
        {"A b HTTP/x.1\r\n\r\n", "400"},
        {"A b HTTP/1.x\r\n\r\n", "400"},
        {"A b http/1.1\r\n\r\n", "400"},
        {"A b  HTTP/1.1\r\n\r\n", "400"},
        {"A  HTTP/1.1\r\n\r\n", "400"},
        {"A b\r\n\r\n", "400"},
        {"A\r\n\r\n", "400"},
        {"\r\n\r\n", "400"},
        {"\r\nA b HTTP/1.1\r\nc: d\r\n\r\n", "A b 1.1 [c=d]"},
        {"\r\n\r\nA b HTTP/1.1\r\n\r\n", "400"},
        {"\rA b HTTP/1.1\r\n\r\n", "400"},
        {"A/ b HTTP/1.1\r\n\r\n", "400"},
        {"A b\x7F HTTP/1.1\r\n\r\n", "400"},
        {"A b\x80 HTTP/1.1\r\n\r\n", "400"},
        {"A b\x1F HTTP/1.1\r\n\r\n", "400"},
        {"A b HTTP/1.1\r\nc\r\n\r\n", "400"},
        {"A b HTTP/1.1\r\n:c\r\n\r\n", "400"},
        {"A b HTTP/1.1\r\nc :d\r\n\r\n", "400"},
        {"A b HTTP/1.1\r\nc: d\r\n e\r\n\r\n", "400"},
        {"A b HTTP/1.1\r\nc: d\r\n e: f\r\n\r\n", "400"},
        {"A b HTTP/1.1\r\nc: d\re\r\n\r\n", "400"},
        {"A b HTTP/1.1\r\nc: d\x01\r\n\r\n", "400"},
        {"A b HTTP/1.1\r\nc: d\x7F\r\n\r\n", "400"},
        {"A b HTTP/1.1\rc: d\r\n\r\n", "400"}};
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(TextOf(text), expected) << testing::PrintToString(text);
    }
}

TEST(CHttpHeadTest, FindsFieldsByTheirNamesInAnyCase) {
    CHttpHead head;
    head.m_fields = {{"Connection", "TE, ,close"}, {"Host", "h"}, {"cOnNeCtIoN", "Upgrade"}};
    EXPECT_EQ(head.Count("connection"), 2U);
    EXPECT_EQ(head.Count("hosts"), 0U);
    EXPECT_EQ(head.Find("CONNECTION"), "TE, ,close, Upgrade");
    EXPECT_EQ(head.Find("Hos"), std::nullopt);
    for (const char* const token : {"te", "CLOSE", "upgrade"}) {
        EXPECT_TRUE(head.HasToken("Connection", token)) << token;
    }
    for (const char* const token : {"t", "closed", "lose", "TE, "}) {
        EXPECT_FALSE(head.HasToken("Connection", token)) << token;
    }
    EXPECT_FALSE(head.HasToken("Absent", "te"));
}

TEST(IsSameNameTest, ComparesLettersOfAsciiWithoutCase) {
    EXPECT_TRUE(wbemd::IsSameName("aZ09-", "Az09-"));
    EXPECT_FALSE(wbemd::IsSameName("a", "ab"));
    EXPECT_FALSE(wbemd::IsSameName("[", "{"));
    EXPECT_FALSE(wbemd::IsSameName("@", "`"));
    EXPECT_FALSE(wbemd::IsSameName("\xC4", "\xE4"));
}

} // namespace
