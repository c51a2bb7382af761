#include "loggerctl/output/SafeText.h"

#include "serverbase/PrintableText.h"
#include "tests/system/loggerctl/CLocale.h"

#include <gtest/gtest.h>

#include <utf8.h>

#include <random>

using namespace output;

namespace {

struct CEscapeRow {
    const char* m_name;
    std::string m_raw;
    std::string m_utf8;  // escaped where the locale is UTF-8
    std::string m_plain; // escaped where it is not
};

const CEscapeRow kEscapeRows[] = {
    {"empty", "", "", ""},
    {"plain", "/home", "/home", "/home"},
    {"blank", "/my disk", "/my disk", "/my disk"},
    {"backslash", "/a\\x41", "/a\\\\x41", "/a\\\\x41"},
    {"zero byte", std::string("a\0b", 3), "a\\x00b", "a\\x00b"},
    {"escape sequence", "\x1B[31m", "\\x1B[31m", "\\x1B[31m"},
    {"newline and tab", "a\nb\tc", "a\\x0Ab\\x09c", "a\\x0Ab\\x09c"},
    {"delete", "\x7F", "\\x7F", "\\x7F"},
    {"C1", "\xC2\x9B", "\\xC2\\x9B", "\\xC2\\x9B"},
    {"first beyond C1", "\xC2\xA0", "\xC2\xA0", "\\xC2\\xA0"},
    {"umlaut", "/B\xC3\xBCro", "/B\xC3\xBCro", "/B\\xC3\\xBCro"},
    {"wide", "\xE6\x97\xA5", "\xE6\x97\xA5", "\\xE6\\x97\\xA5"},
    {"beyond the first plane", "\xF0\x9F\x93\x81", "\xF0\x9F\x93\x81", "\\xF0\\x9F\\x93\\x81"},
    {"lone continuation", "\x80", "\\x80", "\\x80"},
    {"cut short", "a\xE6\x97", "a\\xE6\\x97", "a\\xE6\\x97"},
    {"overlong", "\xC0\xAF", "\\xC0\\xAF", "\\xC0\\xAF"},
    {"surrogate", "\xED\xA0\x80", "\\xED\\xA0\\x80", "\\xED\\xA0\\x80"},
    {"beyond Unicode", "\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80", "\\xF4\\x90\\x80\\x80"},
    {"no first byte", "\xFF", "\\xFF", "\\xFF"},
    {"right to left", "\xE2\x80\xAE", "\\xE2\\x80\\xAE", "\\xE2\\x80\\xAE"},
    {"line separator", "\xE2\x80\xA8", "\\xE2\\x80\\xA8", "\\xE2\\x80\\xA8"},
    {"valid behind invalid", "\xE6/x", "\\xE6/x", "\\xE6/x"},
};

TEST(SafeText, EscapesByTheLocale) {
    for (const CEscapeRow& row : kEscapeRows) {
        SCOPED_TRACE(row.m_name);
        const CLocale utf8(kUtf8Locale);
        EXPECT_EQ(output::Escape(row.m_raw), row.m_utf8);
        const CLocale plain(kPlainLocale);
        EXPECT_EQ(output::Escape(row.m_raw), row.m_plain);
    }
}

TEST(SafeText, UnescapingGivesBackWhatWasEscaped) {
    for (const CEscapeRow& row : kEscapeRows) {
        SCOPED_TRACE(row.m_name);
        EXPECT_EQ(output::Unescape(row.m_utf8), row.m_raw);
        EXPECT_EQ(output::Unescape(row.m_plain), row.m_raw);
    }
}

TEST(SafeText, UnescapingTakesSmallDigitsAndRefusesOtherBackslashes) {
    EXPECT_EQ(output::Unescape("\\xc3\\xbc"), "\xC3\xBC");
    for (const char* text : {"\\", "\\n", "a\\x", "a\\x4", "\\xG0", "\\X41", "\\x4\\"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(output::Unescape(text), std::nullopt);
    }
}

TEST(SafeText, LinesAreBrokenBetweenWords) {
    EXPECT_EQ(output::BrokenIntoLines("", 5), "");
    EXPECT_EQ(output::BrokenIntoLines("a bc", 5), "a bc");
    EXPECT_EQ(output::BrokenIntoLines("ab cd ef", 5), "ab cd\nef");
    EXPECT_EQ(output::BrokenIntoLines("ab cde", 5), "ab\ncde");
    EXPECT_EQ(output::BrokenIntoLines("toolong a b", 5), "toolong\na b");
    EXPECT_EQ(output::BrokenIntoLines("a toolong b", 5), "a\ntoolong\nb");
}

TEST(SafeText, WidthCountsTerminalColumns) {
    const CLocale utf8(kUtf8Locale);
    EXPECT_EQ(output::Width(""), 0U);
    EXPECT_EQ(output::Width("/home"), 5U);
    EXPECT_EQ(output::Width("/B\xC3\xBCro"), 5U);
    EXPECT_EQ(output::Width("\xE6\x97\xA5\xE6\x9C\xAC"), 4U);
    EXPECT_EQ(output::Width("e\xCC\x81"), 1U); // a combining accent
}

TEST(SafeText, WidthOfWhatHasNoneIsOne) {
    const CLocale utf8(kUtf8Locale);
    EXPECT_EQ(output::Width("a\x1B\xFF"), 3U);
    const CLocale plain(kPlainLocale);
    EXPECT_EQ(output::Width("\xE6\x97\xA5"), 1U);
}

// Pieces that matter to UTF-8 and to the escapes, and any bytes.
std::string RandomBytes(std::mt19937* random) {
    const std::string pieces[] = {"\\",           "\\x",      "x4",       "\xC3\xBC",
                                  "\xE2\x80\xAE", "\xE6\x97", "\xED\xA0", "\xF0\x9F\x93",
                                  "\xF4\x90",     "\x80\xC0"};
    std::string bytes;
    for (std::size_t count = (*random)() % 12; count > 0; --count) {
        if ((*random)() % 2 == 0) {
            bytes += pieces[(*random)() % std::size(pieces)];
        } else {
            bytes += static_cast<char>((*random)() % 256);
        }
    }
    return bytes;
}

TEST(SafeText, OfAnyBytesIsSafeAndComesBack) {
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        const std::string bytes = RandomBytes(&random);
        const CLocale locale(i % 2 == 0 ? kUtf8Locale : kPlainLocale);
        const std::string text = output::Escape(bytes);
        ASSERT_EQ(output::Unescape(text), bytes) << text;
        ASSERT_TRUE(output::IsValidUtf8(text)) << text;
        ASSERT_EQ(text.find_first_of("\n\r\t\x1B\x7F"), std::string::npos) << text;
        ASSERT_EQ(text.find("\xE2\x80\xAE"), std::string::npos) << text;
        ASSERT_EQ(output::HexToBytes(output::BytesToHex(bytes)), bytes);
    }
}

TEST(SafeText, KnowsWhatIsUtf8) {
    for (const char* text : {"", "/home\x1B", "\xC3\xBC", "\xE2\x80\xAE", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_TRUE(output::IsValidUtf8(text)) << text;
    }
    for (const char* text : {"\x80", "a\xE6\x97", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
        EXPECT_FALSE(output::IsValidUtf8(text)) << text;
    }
}

TEST(SafeText, HexadecimalDigitsAreTakenInBothCases) {
    EXPECT_EQ(output::BytesToHex(std::string("\0\x7F\xFF", 3)), "007FFF");
    EXPECT_EQ(output::HexToBytes("007fFF"), std::string("\0\x7F\xFF", 3));
    EXPECT_EQ(output::HexToBytes(""), "");
    for (const char* digits : {"0", "000", "0G", "G0", " 1", "1 ", "+1", "-1", "0x", "\xC3\xBC"}) {
        EXPECT_EQ(output::HexToBytes(digits), std::nullopt) << digits;
    }
}

// The first and the last of each range, and those beside them.
TEST(IsUnsafe, IsTrueForControlsDirectionsAndLineEndsAlone) {
    for (const char32_t code : {0x00U, 0x1FU, 0x7FU, 0x80U, 0x9FU, 0x200EU, 0x200FU, 0x2028U,
                                0x2029U, 0x202AU, 0x202EU, 0x2066U, 0x2069U}) {
        EXPECT_TRUE(output::IsUnsafe(code)) << static_cast<unsigned int>(code);
    }
    for (const char32_t code :
         {0x20U, 0x7EU, 0xA0U, 0x200DU, 0x2010U, 0x2027U, 0x202FU, 0x2065U, 0x206AU}) {
        EXPECT_FALSE(output::IsUnsafe(code)) << static_cast<unsigned int>(code);
    }
}

TEST(IsUnsafe, IsTrueForWhatTheDaemonsDoNotPrint) {
    for (char32_t code = 0; code < 0x3000; ++code) {
        std::string text;
        utf8::append(code, std::back_inserter(text));
        EXPECT_EQ(daemon_base::Printable(text) != text, output::IsUnsafe(code))
            << static_cast<unsigned int>(code);
    }
}

} // namespace
