// The limits for texts that come over the network.

#include "host/CXmlDocument.h"

#include "tests/support/ProcessMemory.h"
#include "tests/support/TableTest.h"
#include "tests/unit/host/XmlTexts.h"

#include <malloc.h>
#include <unistd.h>

#include <fstream>

using std::string;
using Kind = CXmlError::Kind;

namespace {

const CXmlLimits kLimits = CXmlLimits::ForStrangers();

// An element with so many attributes.
string WithAttributes(std::size_t count) {
    string text = "<a";
    for (std::size_t i = 0; i < count; ++i) {
        text += " x" + std::to_string(i) + "='>'";
    }
    return text + "></a>";
}

string WithValue(std::size_t bytes) {
    return "<a x='" + string(bytes, 'v') + "'></a>";
}

// So many elements below the root, with so many bytes in all.
string WithElements(std::size_t count, std::size_t bytes) {
    string text = "<a>" + Repeat("<b/>", count);
    text.resize(bytes - 4, ' ');
    return text + "</a>";
}

struct WithinRow {
    string name;
    string text;
};
std::ostream& operator<<(std::ostream& out, const WithinRow& row) {
    return out << testing::PrintToString(row.text.substr(0, 100));
}

class XmlWithinLimits : public testing::TestWithParam<WithinRow> {};

TEST_P(XmlWithinLimits, IsRead) {
    CXmlError error;
    EXPECT_TRUE(CXmlDocument::Parse(GetParam().text, &error, kLimits)) << error.Text();
}

// Where a start tag would be beyond the limits, but for where it stands.
const string kNoTag = WithAttributes(65) + WithValue(65'537);

INSTANTIATE_TEST_SUITE_P(
    Texts, XmlWithinLimits,
    testing::Values(WithinRow{"Bytes", "<a>" + string((std::size_t{16} << 20) - 7, 'x') + "</a>"},
                    WithinRow{"Depth", Repeat("<a> ", 16) + Repeat("</a> ", 16)},
                    WithinRow{"Elements", WithElements(99, 800)},
                    WithinRow{"Attributes", WithAttributes(64)},
                    WithinRow{"AttributesOfTwo",
                              "<a>" + WithAttributes(64) + WithAttributes(64) + "</a>"},
                    WithinRow{"AttributeBytes", WithValue(65'536)},
                    WithinRow{"AttributesInAComment", "<!--" + kNoTag + "--><a>text</a>"},
                    WithinRow{"AttributesInCData", "<a><![CDATA[" + kNoTag + "]]></a>"},
                    WithinRow{"AttributesInAnInstruction", "<?pi " + kNoTag + "?><a>text</a>"},
                    WithinRow{"QuotesInText", "<a>" + Repeat("\"\" '' ", 65) + "</a>"},
                    WithinRow{"OtherQuotesInAValue", "<a x='" + Repeat("\"\"", 65) + "'></a>"},
                    WithinRow{"AllElements", WithElements(199'999, 1'600'000)},
                    WithinRow{"AllAttributes", "<a>" + Repeat(WithAttributes(64), 6'250) + "</a>"}),
    RowName<WithinRow>);

struct BeyondRow {
    string name;
    string text;
    Kind kind;
    string expected;
};
std::ostream& operator<<(std::ostream& out, const BeyondRow& row) {
    return out << testing::PrintToString(row.text.substr(0, 100));
}

class XmlBeyondLimits : public testing::TestWithParam<BeyondRow> {};

TEST_P(XmlBeyondLimits, IsRefused) {
    CXmlError error;
    EXPECT_FALSE(CXmlDocument::Parse(GetParam().text, &error, kLimits));
    EXPECT_EQ(GetParam().expected, error.Text());
    EXPECT_EQ(GetParam().kind, error.m_kind);
}

const string kTooManyAttributes = "an element has more than 64 attributes";
const string kTooLongValue = "an attribute's value is longer than 65536 bytes";

INSTANTIATE_TEST_SUITE_P(
    Texts, XmlBeyondLimits,
    testing::Values(
        BeyondRow{"Bytes", "<a>" + string((std::size_t{16} << 20) - 6, 'x') + "</a>", Kind::Refused,
                  "line 1, column 1: the text is longer than 16777216 bytes"},
        BeyondRow{"Depth", Repeat("<a> ", 17) + Repeat("</a> ", 17), Kind::Refused,
                  "line 1, column 65: elements are nested deeper than 16"},
        BeyondRow{"Elements", WithElements(100, 800), Kind::Refused,
                  "line 1, column 400: there is more than one element for 8 bytes of text"},
        BeyondRow{"ElementsForALittleText", "<a/>", Kind::Refused,
                  "line 1, column 1: there is more than one element for 8 bytes of text"},
        BeyondRow{"AllElements", WithElements(200'000, 2'000'000), Kind::Refused,
                  "line 1, column 800000: there are more than 200000 elements"},
        BeyondRow{"AllAttributes", "<a>" + Repeat(WithAttributes(64), 6'250) + "<a b='c'/></a>",
                  Kind::Refused, "line 1, column 3181254: there are more than 400000 attributes"},
        BeyondRow{"AttributesBehindText", "<?xml version='1.0'?>\n\n\xC3\xBC" + WithAttributes(65),
                  Kind::NotWellFormed, "line 3, column 2: not well-formed (invalid token)"},
        BeyondRow{"AttributesOfTheRoot", "<?xml version='1.0'?>\n\n " + WithAttributes(65),
                  Kind::Refused, "line 3, column 2: " + kTooManyAttributes},
        BeyondRow{"AttributesOfAChild", "<a>\n\xC3\xBC" + WithAttributes(65) + "</a>",
                  Kind::Refused, "line 2, column 2: " + kTooManyAttributes},
        BeyondRow{"AttributesBehindAComment", "<!-- -- -->" + WithAttributes(65),
                  Kind::NotWellFormed, "line 1, column 8: not well-formed (invalid token)"},
        BeyondRow{"AttributesWithoutAnEnd", "<a" + Repeat(" x=''", 65), Kind::Refused,
                  "line 1, column 1: " + kTooManyAttributes},
        BeyondRow{"AttributeBytes", WithValue(65'537), Kind::Refused,
                  "line 1, column 1: " + kTooLongValue},
        BeyondRow{"AttributeBytesWithoutAnEnd", "<a x='" + string(65'537, 'v'), Kind::Refused,
                  "line 1, column 1: " + kTooLongValue},
        BeyondRow{"AWrongEndBeforeTheTag", "<a>\n</b>" + WithAttributes(65), Kind::NotWellFormed,
                  "line 2, column 3: mismatched tag"},
        BeyondRow{"TheTagBeforeAWrongEnd", "<a>\n" + WithAttributes(65) + "</b>", Kind::Refused,
                  "line 2, column 1: " + kTooManyAttributes},
        BeyondRow{"ADocumentTypeBeforeTheTag", "<!DOCTYPE a>" + WithAttributes(65), Kind::Refused,
                  "line 1, column 12: a document type declaration is not allowed"},
        BeyondRow{"ATagInATag", "<a <b" + WithAttributes(65), Kind::NotWellFormed,
                  "line 1, column 4: not well-formed (invalid token)"},
        BeyondRow{"AValueWithoutAnEnd", "<a x='v>/a>", Kind::NotWellFormed,
                  "line 1, column 1: unclosed token"},
        BeyondRow{"ATagWithoutAnEnd", "<a x='v' ", Kind::NotWellFormed,
                  "line 1, column 1: unclosed token"},
        BeyondRow{"ACommentWithoutAnEnd", "<!-- " + WithAttributes(65), Kind::NotWellFormed,
                  "line 1, column 1: unclosed token"}),
    RowName<BeyondRow>);

// ---- Memory ----

constexpr std::size_t kMiB = std::size_t{1} << 20;

// Has the greatest memory be that of now.
void ForgetGreatestMemory() {
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";
}

// The longest text, filled with this.
string Filled(const string& piece) {
    string text = "<a>";
    text.reserve(kLimits.m_uiBytes);
    while (text.size() + piece.size() + 4 <= kLimits.m_uiBytes) {
        text += piece;
    }
    return text + "</a>";
}

// The service that reads them may have 512 MiB, and has the text besides.
TEST(XmlOfStrangers, TakesLittleMemory) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "the sanitizers take memory of their own";
#endif
    for (const string& piece :
         {string("<a/>xxxx"), string("<a b=''/>"), string("<a b='' c='' d=''/>    "),
          string("<a b='xxxxxxxxxxxxxxxx'/>"), string("<abcdefghijklmnop/>"),
          string("<a>xxxxxxxxxxxxxxxx</a>"), string("<a><b/>  </a>    "), string("x"),
          string(200, 'x') + "<a b=''/>", string("<![CDATA[x]]>"), WithValue(60'000),
          WithAttributes(64)}) {
        const string text = Filled(piece);
        ForgetGreatestMemory();
        const std::size_t before = MemoryOf(getpid(), "VmRSS");
        CXmlError error;
        const auto document = CXmlDocument::Parse(text, &error, kLimits);
        EXPECT_LT(MemoryOf(getpid(), "VmHWM"), before + 100 * kMiB) << piece.substr(0, 100);
    }
}

} // namespace
