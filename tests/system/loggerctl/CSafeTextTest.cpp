#include "loggerctl/output/CSafeText.h"

#include "tests/system/loggerctl/CLocale.h"

#include <gtest/gtest.h>

namespace {

struct Row {
    const char* m_pName;
    std::string m_sRaw;
    std::string m_sUtf8;  // escaped where the locale is UTF-8
    std::string m_sPlain; // escaped where it is not
};

const Row kRows[] = {
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

TEST(CSafeText, EscapesByTheLocale) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.m_pName);
        const CLocale utf8(kUtf8Locale);
        EXPECT_EQ(CSafeText::Escape(row.m_sRaw), row.m_sUtf8);
        const CLocale plain(kPlainLocale);
        EXPECT_EQ(CSafeText::Escape(row.m_sRaw), row.m_sPlain);
    }
}

TEST(CSafeText, UnescapingGivesBackWhatWasEscaped) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.m_pName);
        EXPECT_EQ(CSafeText::Unescape(row.m_sUtf8), row.m_sRaw);
        EXPECT_EQ(CSafeText::Unescape(row.m_sPlain), row.m_sRaw);
    }
}

TEST(CSafeText, UnescapingTakesSmallDigitsAndRefusesOtherBackslashes) {
    EXPECT_EQ(CSafeText::Unescape("\\xc3\\xbc"), "\xC3\xBC");
    for (const char* text : {"\\", "\\n", "a\\x", "a\\x4", "\\xG0", "\\X41", "\\x4\\"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(CSafeText::Unescape(text), std::nullopt);
    }
}

TEST(CSafeText, WidthCountsTerminalColumns) {
    const CLocale utf8(kUtf8Locale);
    EXPECT_EQ(CSafeText::Width(""), 0U);
    EXPECT_EQ(CSafeText::Width("/home"), 5U);
    EXPECT_EQ(CSafeText::Width("/B\xC3\xBCro"), 5U);
    EXPECT_EQ(CSafeText::Width("\xE6\x97\xA5\xE6\x9C\xAC"), 4U);
    EXPECT_EQ(CSafeText::Width("e\xCC\x81"), 1U); // a combining accent
}

} // namespace
