#include "host/CXmlDocument.h"

#include "tests/support/CFailingCall.h"
#include "tests/support/TableTest.h"
#include "tests/unit/host/XmlTexts.h"

#include <cerrno>

#include <expat.h>
#include <malloc.h>

using std::string;

bool hasParsers = true;

extern "C" {
XML_ParserStruct* __real_XML_ParserCreate(const char* encoding);
XML_ParserStruct* __wrap_XML_ParserCreate(const char* encoding) {
    return hasParsers ? __real_XML_ParserCreate(encoding) : nullptr;
}
}

namespace {

// A text of ASCII in UTF-16.
string BigEndian(const string& text) {
    string wide;
    for (const char c : text) {
        wide += {'\0', c};
    }
    return wide;
}
string LittleEndian(const string& text) {
    string wide;
    for (const char c : text) {
        wide += {c, '\0'};
    }
    return wide;
}

string NestedElements(std::size_t depth) {
    return Repeat("<a>", depth) + Repeat("</a>", depth);
}

string WithChildren(std::size_t count) {
    return "<a>" + Repeat("<b/>", count) + "</a>";
}

// As in: a{x=1}'text'[b[] c[]]
string Dump(const CXmlElement& element) {
    string text = element.m_sName;
    for (const CXmlAttribute& attribute : element.m_attributes) {
        text += "{" + attribute.m_sName + "=" + attribute.m_sValue + "}";
    }
    if (!element.m_sText.empty()) {
        text += "'" + element.m_sText + "'";
    }
    text += "[";
    for (const CXmlElement& child : element.m_children) {
        text += (text.back() == '[' ? "" : " ") + Dump(child);
    }
    return text + "]";
}

// ---- Texts that are documents ----

struct GoodXmlRow {
    string name;
    string text;
    string expected;
};
std::ostream& operator<<(std::ostream& out, const GoodXmlRow& row) {
    return out << testing::PrintToString(row.text);
}

class GoodXml : public testing::TestWithParam<GoodXmlRow> {};

TEST_P(GoodXml, BecomesATree) {
    CXmlError error;
    const auto document = CXmlDocument::Parse(GetParam().text, &error);
    ASSERT_TRUE(document) << error.Text();
    EXPECT_EQ(GetParam().expected, Dump(document->GetRoot()));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, GoodXml,
    testing::Values(
        GoodXmlRow{"OneElement", "<a/>", "a[]"},
        GoodXmlRow{"Declaration", "<?xml version='1.0'?><a/>", "a[]"},
        GoodXmlRow{"Utf8Declared", "<?xml version='1.0' encoding='utf-8'?><a/>", "a[]"},
        GoodXmlRow{"ByteOrderMark", "\xEF\xBB\xBF<a/>", "a[]"},
        GoodXmlRow{"ByteOrderMarkAndUtf8Declared",
                   "\xEF\xBB\xBF<?xml version='1.0' encoding='UTF-8'?><a/>", "a[]"},
        GoodXmlRow{"AttributesInOrder", "<a z='1' b='2' y=''/>", "a{z=1}{b=2}{y=}[]"},
        GoodXmlRow{"Children", "<a><b><c/></b><d/></a>", "a[b[c[]] d[]]"},
        GoodXmlRow{"TextAroundChildren", "<a> one <b>two</b> three</a>",
                   "a' one  three'[b'two'[]]"},
        GoodXmlRow{"BuiltInEntities", "<a x='&quot;'>&lt;&amp;&#65;&#x42;</a>", "a{x=\"}'<&AB'[]"},
        GoodXmlRow{"CData", "<a><![CDATA[<b>&c;]]></a>", "a'<b>&c;'[]"},
        GoodXmlRow{"CommentsAndInstructions", "<!-- x --><?pi y?><a><!-- z --><?pi?></a><!---->",
                   "a[]"},
        GoodXmlRow{"MultiByteText", "<a>gr\xC3\xBC\xC3\x9F \xE2\x82\xAC</a>",
                   "a'gr\xC3\xBC\xC3\x9F \xE2\x82\xAC'[]"},
        GoodXmlRow{"PrefixesAreKept", "<p:a p:x='1' xmlns:p='u'/>", "p:a{p:x=1}{xmlns:p=u}[]"}),
    RowName<GoodXmlRow>);

TEST(XmlElement, KnowsItsLineAndItsAttributes) {
    CXmlError error;
    const auto document = CXmlDocument::Parse("<a>\n  <b\n x='1'/>\n</a>", &error);
    ASSERT_TRUE(document) << error.Text();
    const CXmlElement& child = document->GetRoot().m_children.at(0);
    EXPECT_EQ(2U, child.m_uiLine);
    ASSERT_NE(nullptr, child.FindAttribute("x"));
    EXPECT_EQ("1", *child.FindAttribute("x"));
    EXPECT_EQ(nullptr, child.FindAttribute("X"));
}

// ---- Texts that are refused ----

struct BadXmlRow {
    string name;
    string text;
    string expected; // line, column and the beginning of the reason
    CXmlError::Kind kind = CXmlError::Kind::NotWellFormed;
};
std::ostream& operator<<(std::ostream& out, const BadXmlRow& row) {
    return out << testing::PrintToString(row.text.substr(0, 100));
}

class BadXml : public testing::TestWithParam<BadXmlRow> {};

TEST_P(BadXml, IsRefusedWithPlaceAndReason) {
    CXmlError error;
    EXPECT_FALSE(CXmlDocument::Parse(GetParam().text, &error));
    EXPECT_EQ(GetParam().expected, error.Text().substr(0, GetParam().expected.size()));
    EXPECT_EQ(GetParam().kind, error.m_kind);
}

constexpr CXmlError::Kind kRefused = CXmlError::Kind::Refused;

const char kBillionLaughs[] = "<?xml version='1.0'?>\n"
                              "<!DOCTYPE l [<!ENTITY a 'ha'><!ENTITY b '&a;&a;&a;&a;&a;&a;'>]>\n"
                              "<l>&b;</l>";

INSTANTIATE_TEST_SUITE_P(
    Malformed, BadXml,
    testing::Values(
        BadXmlRow{"Nothing", "", "line 1, column 1: no element found"},
        BadXmlRow{"OnlyText", "hello", "line 1, column 1: syntax error"},
        BadXmlRow{"TwoRoots", "<a/><b/>", "line 1, column 5: junk after document element"},
        BadXmlRow{"MismatchedTag", "<a>\n<b></a>", "line 2, column 6: mismatched tag"},
        BadXmlRow{"Unclosed", "<a>\n<b>", "line 2, column 4: no element found"},
        BadXmlRow{"AttributeTwice", "<a x='1' x='2'/>", "line 1, column 10: duplicate attribute"},
        BadXmlRow{"UnknownEntity", "<a>&what;</a>", "line 1, column 4: undefined entity"},
        BadXmlRow{"NulByte", string("<a>x\0y</a>", 10), "line 1, column 5: not well-formed"},
        BadXmlRow{"NulAtTheEnd", string("<a/>\0", 5), "line 1, column 5: not well-formed"},
        BadXmlRow{"BrokenUtf8", "<a>\xC3(</a>", "line 1, column 4: the text is not UTF-8"},
        BadXmlRow{"OverlongUtf8", "<a>\n\xC3\xBC\xC0\xAF</a>",
                  "line 2, column 2: the text is not UTF-8"},
        BadXmlRow{"BrokenUtf8BehindAnError", "<a></b>\n\xFF",
                  "line 2, column 1: the text is not UTF-8"},
        BadXmlRow{"Xml11", "<?xml version='1.1'?><a/>",
                  "line 1, column 1: XML 1.1 is declared, but only XML 1.0 is read"}),
    RowName<BadXmlRow>);

INSTANTIATE_TEST_SUITE_P(
    Hostile, BadXml,
    testing::Values(
        BadXmlRow{"Doctype", "<!DOCTYPE a><a/>", "line 1, column 12: a document type declaration",
                  kRefused},
        BadXmlRow{"BillionLaughs", kBillionLaughs, "line 2, column 13: a document type declaration",
                  kRefused},
        BadXmlRow{"ExternalEntity",
                  "<!DOCTYPE a [<!ENTITY x SYSTEM 'file:///etc/passwd'>]><a>&x;</a>",
                  "line 1, column 13: a document type declaration", kRefused},
        BadXmlRow{"ExternalSubset", "<!DOCTYPE a SYSTEM 'http://localhost/a.dtd'><a/>",
                  "line 1, column 44: a document type declaration", kRefused},
        BadXmlRow{"TooDeep", NestedElements(65),
                  "line 1, column 193: elements are nested deeper than 64", kRefused},
        BadXmlRow{"MuchTooDeep", NestedElements(500'000),
                  "line 1, column 193: elements are nested deeper", kRefused},
        BadXmlRow{"TooManyElements", WithChildren(100'000),
                  "line 1, column 400000: there are more than 100000 elements", kRefused},
        BadXmlRow{"TooLong", "<a>" + string((std::size_t{8} << 20) - 6, 'x') + "</a>",
                  "line 1, column 1: the text is longer than 8388608 bytes", kRefused},
        BadXmlRow{"TooManyAttributes", "<a>" + Repeat("<b c='' d=''/>", 50'001) + "</a>",
                  "line 1, column 700004: there are more than 100000 attributes", kRefused}),
    RowName<BadXmlRow>);

const char kIsUtf16[] = "line 1, column 1: the text is UTF-16, but only UTF-8 is read";

INSTANTIATE_TEST_SUITE_P(
    WrongEncoding, BadXml,
    testing::Values(
        BadXmlRow{
            "Latin1", "<?xml version='1.0' encoding='ISO-8859-1'?><a/>",
            "line 1, column 1: the encoding \"ISO-8859-1\" is declared, but only UTF-8 is read"},
        BadXmlRow{"Unheard", "<?xml version='1.0' encoding='x-own'?><a/>",
                  "line 1, column 1: the encoding \"x-own\" is declared"},
        BadXmlRow{"Utf16Declared", "<?xml version='1.0' encoding='UTF-16'?><a/>",
                  "line 1, column 1: the encoding \"UTF-16\" is declared"},
        BadXmlRow{"Utf16BigEndian", "\xFE\xFF" + BigEndian("<a/>"), kIsUtf16},
        BadXmlRow{"Utf16LittleEndian", "\xFF\xFE" + LittleEndian("<a/>"), kIsUtf16},
        BadXmlRow{"Utf16BigEndianUnmarked", BigEndian("<a/>"), kIsUtf16},
        BadXmlRow{"Utf16LittleEndianUnmarked", LittleEndian("<a/>"), kIsUtf16},
        BadXmlRow{"Utf16UnmarkedDeclared", LittleEndian("<?xml version='1.0'?><a/>"), kIsUtf16},
        BadXmlRow{"Utf16UnmarkedSaysUtf8", BigEndian("<?xml version='1.0' encoding='UTF-8'?><a/>"),
                  kIsUtf16},
        BadXmlRow{"Utf16UnmarkedBehindBlanks", LittleEndian("\n <a/>"), kIsUtf16},
        BadXmlRow{"Utf16BehindAUtf8Mark", "\xEF\xBB\xBF" + LittleEndian("<a/>"),
                  "line 1, column 3: not well-formed"},
        BadXmlRow{"Utf32BigEndian", string("\0\0\xFE\xFF\0\0\0<", 8), kIsUtf16},
        BadXmlRow{"Utf16WithAUtf8Mark", "\xEF\xBB\xBF<?xml version='1.0' encoding='UTF-16'?><a/>",
                  "line 1, column 2: the encoding \"UTF-16\" is declared"}),
    RowName<BadXmlRow>);

TEST(XmlLimits, AllowExactlyTheirNumber) {
    const string texts[] = {
        NestedElements(64),
        WithChildren(99'999),
        "<a>" + string((std::size_t{8} << 20) - 7, 'x') + "</a>",
        "<a>" + Repeat("<b c='' d=''/>", 50'000) + "</a>",
    };
    for (const string& text : texts) {
        SCOPED_TRACE(text.substr(0, 40));
        CXmlError error;
        EXPECT_TRUE(CXmlDocument::Parse(text, &error)) << error.Text();
    }
}

TEST(XmlLimits, CanBeSetForEachText) {
    CXmlLimits limits;
    limits.m_uiDepth = 1;
    CXmlError error;
    EXPECT_TRUE(CXmlDocument::Parse("<a/>", &error, limits));
    EXPECT_FALSE(CXmlDocument::Parse("<a><b/></a>", &error, limits));
    EXPECT_EQ("line 1, column 4: elements are nested deeper than 1", error.Text());
}

TEST(TruncatedXml, IsRefusedAtEveryByte) {
    const string text = "<?xml version='1.0' encoding='UTF-8'?>\n<!-- c -->\n<?pi x?>\n"
                        "<a x='1&amp;2' y=\"&#65;\">\xE2\x82\xAC<b/><![CDATA[<]]>&lt;</a>";
    CXmlError error;
    ASSERT_TRUE(CXmlDocument::Parse(text, &error)) << error.Text();
    for (std::size_t length = 0; length < text.size(); ++length) {
        SCOPED_TRACE(text.substr(0, length));
        error = CXmlError();
        EXPECT_FALSE(CXmlDocument::Parse(text.substr(0, length), &error));
        EXPECT_NE("", error.m_sReason);
    }
}

TEST(XmlWithoutMemory, IsRefused) {
    bool isMet = true;
    int n = 1;
    for (; isMet; ++n) {
        SCOPED_TRACE(n);
        const CFailingCall failing("operator new", ENOMEM, n);
        CXmlError error;
        const bool isParsed = CXmlDocument::Parse("<a x='1'><b/>text</a>", &error).has_value();
        isMet = CFailingCall::IsMet();
        EXPECT_NE(isMet, isParsed);
        EXPECT_EQ(isParsed ? "" : "out of memory", error.m_sReason);
        EXPECT_TRUE(isParsed || error.m_kind == CXmlError::Kind::NoMemory);
    }
    EXPECT_GT(n, 2);
}

TEST(XmlWithoutMemory, IsRefusedWithoutAParser) {
    hasParsers = false;
    CXmlError error;
    EXPECT_FALSE(CXmlDocument::Parse("<a/>", &error));
    hasParsers = true;
    EXPECT_EQ("out of memory", error.m_sReason);
    EXPECT_EQ(CXmlError::Kind::NoMemory, error.m_kind);
}

TEST(XmlDocument, LeavesNoMemoryBehind) {
    const auto parse = [] {
        CXmlError error;
        EXPECT_TRUE(CXmlDocument::Parse("<a><b c='d'/></a>", &error));
        EXPECT_FALSE(CXmlDocument::Parse("<a><b", &error));
    };
    parse();
    const std::size_t before = mallinfo2().uordblks;
    for (int i = 0; i < 100; ++i) {
        parse();
    }
    EXPECT_LT(mallinfo2().uordblks, before + 10'000);
}

} // namespace
