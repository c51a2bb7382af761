#include "host/CimText.h"

#include "tests/support/TableTest.h"

using std::string;

namespace {

// ---- Strings ----

struct StringRow {
    string name;
    string bytes;
    string text;
};
std::ostream& operator<<(std::ostream& out, const StringRow& row) {
    return out << testing::PrintToString(row.bytes);
}

class EncodedString : public testing::TestWithParam<StringRow> {};

TEST_P(EncodedString, IsWrittenForXmlAndReadBack) {
    EXPECT_EQ(GetParam().text, cim::EncodeString(GetParam().bytes));
    EXPECT_TRUE(cim::IsUtf8(GetParam().text));
    EXPECT_EQ(GetParam().bytes, cim::DecodeString(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Bytes, EncodedString,
    testing::Values(StringRow{"Nothing", "", ""}, //
                    StringRow{"Plain", "/srv/data 1~", "/srv/data 1~"},
                    StringRow{"Markup", "<a b=\"c\">&'d'</a>]]>", "<a b=\"c\">&'d'</a>]]>"},
                    StringRow{"Backslash", "\\", "\\\\"}, //
                    StringRow{"BackslashAndHex", "\\x41", "\\\\x41"},
                    StringRow{"FirstControl", "\x01", "\\x01"}, //
                    StringRow{"LastControl", "\x1F", "\\x1F"},
                    StringRow{"Blanks", " \t\r\n ", " \\x09\\x0D\\x0A "}, //
                    StringRow{"Delete", "a\x7F", "a\\x7F"},
                    StringRow{"SecondControls", "\xC2\x80\xC2\x9F", "\xC2\x80\xC2\x9F"},
                    StringRow{"TwoBytes", "\xC2\x80\xDF\xBF", "\xC2\x80\xDF\xBF"},
                    StringRow{"ThreeBytes", "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBD",
                              "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBD"},
                    StringRow{"FourBytes", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
                              "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
                    StringRow{"NoCharacters", "\xEF\xBF\xBE\xEF\xBF\xBF",
                              "\\xEF\\xBF\\xBE\\xEF\\xBF\\xBF"},
                    StringRow{"NoCharacterOfAHigherPlane", "\xF0\x9F\xBF\xBE", "\xF0\x9F\xBF\xBE"},
                    StringRow{"ByteOrderMark", "\xEF\xBB\xBF", "\xEF\xBB\xBF"},
                    StringRow{"ContinuationAlone", "a\x80z", "a\\x80z"},
                    StringRow{"LeadAlone", "\xC3", "\\xC3"}, //
                    StringRow{"LeadBeforePlain", "\xC3(", "\\xC3("},
                    StringRow{"TwoOfThree", "\xE2\x82", "\\xE2\\x82"},
                    StringRow{"TwoOfThreeBeforePlain",
                              "\xE2\x82"
                              "a",
                              "\\xE2\\x82"
                              "a"},
                    StringRow{"ThreeOfFour", "\xF0\x9F\x98", "\\xF0\\x9F\\x98"},
                    StringRow{"LeadBeforeACharacter", "\xC3\xC3\xBC", "\\xC3\xC3\xBC"},
                    StringRow{"TooLongForASlash", "\xC0\xAF\xC1\xBF", "\\xC0\\xAF\\xC1\\xBF"},
                    StringRow{"TooLongOfThree", "\xE0\x9F\xBF", "\\xE0\\x9F\\xBF"},
                    StringRow{"TooLongOfFour", "\xF0\x8F\xBF\xBF", "\\xF0\\x8F\\xBF\\xBF"},
                    StringRow{"Surrogate", "\xED\xA0\x80", "\\xED\\xA0\\x80"},
                    StringRow{"BeyondUnicode", "\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"},
                    StringRow{"NeverInUtf8", "\xF5\xFE\xFF", "\\xF5\\xFE\\xFF"},
                    StringRow{"Long",
                              "0123456789abcdef\xC3\xBC"
                              "0123456789abcdef\xFF",
                              "0123456789abcdef\xC3\xBC"
                              "0123456789abcdef\\xFF"}),
    RowName<StringRow>);

TEST(EncodedStrings, HoldEveryByteButZero) {
    for (unsigned first = 1; first < 256; ++first) {
        for (unsigned second = 1; second < 256; ++second) {
            const string bytes{static_cast<char>(first), static_cast<char>(second)};
            SCOPED_TRACE(testing::PrintToString(bytes));
            const string text = cim::EncodeString(bytes);
            ASSERT_TRUE(cim::IsUtf8(text));
            ASSERT_EQ(bytes, cim::DecodeString(text));
        }
    }
}

TEST(EncodedStrings, WriteAZeroThatIsNotRead) {
    const string text = cim::EncodeString(string("a\0b", 3));
    EXPECT_EQ("a\\x00b", text);
    EXPECT_EQ(std::nullopt, cim::DecodeString(text));
}

TEST(EncodedStrings, AreReadInEitherCase) {
    EXPECT_EQ("\xAB\xCD\xEF\xAB\xCD\xEF", cim::DecodeString("\\xab\\xcd\\xef\\xAB\\xCD\\xEF"));
}

TEST(EncodedStrings, AreReadWhereNothingHadToBeEncoded) {
    EXPECT_EQ("A\t\xC3\xBC", cim::DecodeString("\\x41\t\xC3\xBC"));
}

TEST(EncodedStrings, AreReadStrictly) {
    for (const char* text :
         {"\\", "a\\", "\\\\\\", "\\x", "\\x4", "a\\x4", "\\xg1", "\\x1g", "\\x-1", "\\x+1",
          "\\x 1", "\\X41", "\\n", "\\u0041", "\\x0x", "\\x00", "\\x41\\", "\\ ", "\\\xC3\xBC"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(std::nullopt, cim::DecodeString(text));
    }
}

// ---- UTF-8 ----

TEST(Utf8, IsCountedUpToTheFirstByteThatIsNone) {
    const struct {
        string text;
        std::size_t expected;
    } rows[] = {
        {"", 0},
        {"abcdefgh", 8},
        {"abcdefghi", 9},
        {"abcdefgh\xFF", 8},
        {"abcdefg\xFFh", 7},
        {"\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80", 9},
        {"abcdefg\xC3\xBC\xC3", 9},
        {string("a\0\xC3\xBC\x80", 5), 4},
        {"\xFF", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        EXPECT_EQ(row.expected, cim::Utf8Bytes(row.text));
        EXPECT_EQ(row.expected == row.text.size(), cim::IsUtf8(row.text));
    }
}

// ---- Escaping ----

TEST(Escaping, WritesMarkupByItsNames) {
    const string text = "<a b=\"c\" d='e'>&amp;\xC3\xBC\\]]></a>";
    EXPECT_EQ("&lt;a b=\"c\" d='e'&gt;&amp;amp;\xC3\xBC\\]]&gt;&lt;/a&gt;", cim::EscapeText(text));
    EXPECT_EQ("&lt;a b=&quot;c&quot; d='e'&gt;&amp;amp;\xC3\xBC\\]]&gt;&lt;/a&gt;",
              cim::EscapeAttribute(text));
    EXPECT_EQ("", cim::EscapeText(""));
}

TEST(Quoting, IsSafeToPrint) {
    EXPECT_EQ("\"a \\x0A\\x7F\\xC3\\xBC\\x00~\"", cim::Quote(string("a \n\x7F\xC3\xBC\0~", 8)));
}

// ---- Values ----

TEST(Booleans, AreReadInAnyCase) {
    for (const char* text : {"TRUE", "true", "True", "tRuE"}) {
        EXPECT_EQ(true, cim::ParseBoolean(text)) << text;
    }
    for (const char* text : {"FALSE", "false", "False"}) {
        EXPECT_EQ(false, cim::ParseBoolean(text)) << text;
    }
    for (const char* text : {"", " TRUE", "TRUE ", "1", "0", "yes", "T", "TRUEX", "\\x54RUE"}) {
        EXPECT_EQ(std::nullopt, cim::ParseBoolean(text)) << text;
    }
}

TEST(Numbers, AreDecimalDigitsInTheirRange) {
    EXPECT_EQ(0U, cim::ParseUInt32("0"));
    EXPECT_EQ(0U, cim::ParseUInt32("-0"));
    EXPECT_EQ(7U, cim::ParseUInt32("00000000000000000000000000000007"));
    EXPECT_EQ(4294967295U, cim::ParseUInt32("4294967295"));
    EXPECT_EQ(std::nullopt, cim::ParseUInt32("4294967296"));
    EXPECT_EQ(std::nullopt, cim::ParseUInt32("-1"));
    EXPECT_EQ(-2147483647 - 1, cim::ParseSInt32("-2147483648"));
    EXPECT_EQ(2147483647, cim::ParseSInt32("2147483647"));
    EXPECT_EQ(std::nullopt, cim::ParseSInt32("2147483648"));
    EXPECT_EQ(std::nullopt, cim::ParseSInt32("-2147483649"));
    for (const char* text :
         {"", "-", "+1", " 1", "1 ", "1\n", "0x1", "1.0", "1e2", "--1", "1-", "1,000", "x",
          "99999999999999999999999", "-99999999999999999999999", "\xD9\xA1"}) {
        EXPECT_EQ(std::nullopt, cim::ParseUInt32(text)) << text;
        EXPECT_EQ(std::nullopt, cim::ParseSInt32(text)) << text;
    }
    EXPECT_EQ(std::nullopt, cim::ParseUInt32(std::string_view("1\0", 2)));
}

// ---- Names ----

TEST(Names, AreComparedWithoutTheCaseOfAsciiLetters) {
    EXPECT_TRUE(cim::AreSameNames("", ""));
    EXPECT_TRUE(cim::AreSameNames("azAZ_09", "AZaz_09"));
    EXPECT_FALSE(cim::AreSameNames("a", "ab"));
    EXPECT_FALSE(cim::AreSameNames("ab", "a"));
    EXPECT_FALSE(cim::AreSameNames("@[`{", "`{@["));
    EXPECT_FALSE(cim::AreSameNames("\xC3\x84", "\xC3\xA4"));
    EXPECT_FALSE(cim::AreSameNames(std::string_view("a\0b", 3), std::string_view("a\0c", 3)));
}

TEST(Names, OfTypesAreThoseOfCim) {
    EXPECT_STREQ("boolean", cim::TypeName(WbemType::Boolean));
    EXPECT_STREQ("uint32", cim::TypeName(WbemType::UInt32));
    EXPECT_STREQ("sint32", cim::TypeName(WbemType::SInt32));
    EXPECT_STREQ("string", cim::TypeName(WbemType::String));
    EXPECT_STREQ("string", cim::TypeName(WbemType::Object));
    EXPECT_STREQ("string", cim::TypeName(WbemType::ObjectArray));
}

} // namespace
