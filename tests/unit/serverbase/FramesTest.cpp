#include "serverbase/Frames.h"

#include <gtest/gtest.h>

using namespace messages;
using std::string;
using std::string_view;

namespace {

struct CLengthRow {
    const char* m_name;
    string_view m_header;
    std::optional<std::size_t> m_length;
};

const CLengthRow kLengthRows[] = {
    {"nothing", {"\0\0\0\0", 4}, 0},
    {"one", {"\1\0\0\0", 4}, 1},
    {"least significant first", {"\x01\x02\x03\x00", 4}, 0x030201},
    {"the most", {"\0\0\0\x02", 4}, kFrameBytes},
    {"one more", {"\1\0\0\x02", 4}, std::nullopt},
    {"all bits", "\xFF\xFF\xFF\xFF", std::nullopt},
    {"three bytes", {"\0\0\0", 3}, std::nullopt},
    {"five bytes", {"\0\0\0\0\0", 5}, std::nullopt},
    {"no bytes", "", std::nullopt},
};

TEST(Frames, LengthOfAHeader) {
    for (const CLengthRow& row : kLengthRows) {
        EXPECT_EQ(DecodeFrameLength(row.m_header), row.m_length) << row.m_name;
    }
}

TEST(Frames, FieldsAreWrittenByteForByte) {
    CPayloadWriter writer;
    writer.PutByte(0xFE);
    writer.PutNumber(0x81020304);
    writer.PutText(string("a\0b", 3));
    writer.PutText("");
    const string payload("\xFE\x04\x03\x02\x81\x03\0\0\0a\0b\0\0\0\0", 16);
    EXPECT_EQ(writer.TakeFrame(), string("\x10\0\0\0", 4) + payload);
    EXPECT_EQ(writer.TakeFrame(), string(4, '\0')) << "the writer is empty then";
}

TEST(Frames, FieldsAreReadInTheirOrder) {
    CPayloadReader reader({"\xFE\x04\x03\x02\x81\x03\0\0\0a\0b\0\0\0\0", 16});
    EXPECT_EQ(reader.TakeByte(), 0xFE);
    EXPECT_EQ(reader.TakeNumber(), 0x81020304);
    EXPECT_EQ(reader.TakeText(3), string("a\0b", 3));
    EXPECT_FALSE(reader.IsWhole()) << "there is more";
    EXPECT_EQ(reader.TakeText(0), "");
    EXPECT_TRUE(reader.IsWhole());
}

TEST(Frames, AfterAMissingFieldAllIsEmpty) {
    struct {
        const char* m_name;
        string_view m_payload;
        std::size_t m_maximum;
    } const kRows[] = {
        {"nothing there", "", 9},
        {"length cut short", {"\1\0\0", 3}, 9},
        {"text cut short", {"\2\0\0\0a", 5}, 9},
        {"text longer than it may be", {"\2\0\0\0ab\1\1\1\1\1\1\1\1\1", 15}, 1},
        {"a length beyond everything", "\xFF\xFF\xFF\xFFxxxxxxxxx", 0xFFFFFFFF},
    };
    for (const auto& row : kRows) {
        CPayloadReader reader(row.m_payload);
        EXPECT_EQ(reader.TakeText(row.m_maximum), "") << row.m_name;
        EXPECT_EQ(reader.TakeByte(), 0) << row.m_name;
        EXPECT_EQ(reader.TakeNumber(), 0U) << row.m_name;
        EXPECT_EQ(reader.TakeText(9), "") << row.m_name;
        EXPECT_FALSE(reader.IsGood()) << row.m_name;
        EXPECT_FALSE(reader.IsWhole()) << row.m_name;
    }
}

TEST(Frames, ThereIsNoFrameAboveTheLimit) {
    CPayloadWriter writer;
    const string text(kFrameBytes - kFrameHeaderBytes, 'x');
    writer.PutText(text);
    EXPECT_EQ(writer.TakeFrame().size(), kFrameHeaderBytes + kFrameBytes);
    writer.PutText(text + "x");
    EXPECT_EQ(writer.TakeFrame(), "");
    EXPECT_EQ(writer.TakeFrame(), string(4, '\0')) << "the writer is empty then";
}

} // namespace
