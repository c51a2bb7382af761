// What was written last of a method's answer, and for whom it is good.

#include "wbemd/operations/CLastContent.h"

#include "tests/support/TableTest.h"

#include <thread>

using messages::CallResult;
using messages::CCallAnswer;
using std::string;
using wbemd::CLastContent;

namespace {

CLastContent::Text TextOf(const string& text) {
    return std::make_shared<const string>(text);
}

CCallAnswer Done(std::uint32_t value, const string& outParameters) {
    return {CallResult::Done, value, outParameters};
}

const string kBytes = string("out\0parameters", 14);
const CCallAnswer kAnswer = Done(0, kBytes);

string Found(const CLastContent& last, const string& method, const CCallAnswer& answer) {
    const CLastContent::Text text = last.Find(method, answer);
    return text == nullptr ? "nothing" : *text;
}

TEST(LastContent, IsNothingAtFirst) {
    EXPECT_EQ("nothing", Found(CLastContent(), "GetParameter", kAnswer));
    EXPECT_EQ("nothing", Found(CLastContent(), "", {}));
}

TEST(LastContent, IsFoundByTheSameAnswer) {
    CLastContent last;
    const CLastContent::Text text = TextOf("text");
    last.Keep("GetParameter", kAnswer, text);
    EXPECT_EQ(text, last.Find("GetParameter", kAnswer)) << "it was copied";
    EXPECT_EQ("text", Found(last, "GetParameter", Done(0, string(kBytes))));
}

struct CKeyRow {
    string name;
    string method;
    CCallAnswer answer;
};
std::ostream& operator<<(std::ostream& out, const CKeyRow& row) {
    return out << row.method;
}

class OtherAnswers : public testing::TestWithParam<CKeyRow> {};

TEST_P(OtherAnswers, FindNothing) {
    CLastContent last;
    last.Keep("GetParameter", kAnswer, TextOf("text"));
    EXPECT_EQ("nothing", Found(last, GetParam().method, GetParam().answer));
    EXPECT_EQ("text", Found(last, "GetParameter", kAnswer)) << "and leave what was kept";
}

INSTANTIATE_TEST_SUITE_P(
    LastContent, OtherAnswers,
    testing::Values(CKeyRow{"Method", "SetParameter", kAnswer},
                    CKeyRow{"SpellingOfTheMethod", "getparameter", kAnswer},
                    CKeyRow{"Result", "GetParameter", {CallResult::Died, 0, kBytes}},
                    CKeyRow{"ReturnValue", "GetParameter", Done(1, kBytes)},
                    CKeyRow{"NoBytes", "GetParameter", Done(0, "")},
                    CKeyRow{"FirstByte", "GetParameter", Done(0, string("Out\0parameters", 14))},
                    CKeyRow{"ByteBehindAZero", "GetParameter",
                            Done(0, string("out\0Parameters", 14))},
                    CKeyRow{"LastByte", "GetParameter", Done(0, string("out\0parameterS", 14))},
                    CKeyRow{"ByteLess", "GetParameter", Done(0, kBytes.substr(0, 13))},
                    CKeyRow{"ByteMore", "GetParameter", Done(0, kBytes + '\0')}),
    RowName<CKeyRow>);

TEST(LastContent, IsTheLastOne) {
    CLastContent last;
    last.Keep("GetParameter", kAnswer, TextOf("text"));
    last.Keep("GetParameter", Done(0, "others"), TextOf("others' text"));
    EXPECT_EQ("nothing", Found(last, "GetParameter", kAnswer));
    EXPECT_EQ("others' text", Found(last, "GetParameter", Done(0, "others")));
}

TEST(LastContent, HasABound) {
    CLastContent last;
    const string method = "GetParameter";
    const string text(CLastContent::kMostBytes - method.size() - kBytes.size(), 'x');
    last.Keep(method, kAnswer, TextOf(text));
    EXPECT_TRUE(text == *last.Find(method, kAnswer));
    last.Keep(method, kAnswer, TextOf(text + "x"));
    EXPECT_EQ("nothing", Found(last, method, kAnswer)) << "nor what was kept before it";
    const CCallAnswer large = Done(0, string(CLastContent::kMostBytes, 'x'));
    last.Keep(method, large, TextOf(""));
    EXPECT_EQ("nothing", Found(last, method, large));
}

TEST(LastContent, IsWholeForEveryThread) {
    CLastContent last;
    const auto keepAndFind = [&last](const string& bytes) {
        for (int round = 0; round < 1000; ++round) {
            last.Keep("GetParameter", Done(0, bytes), TextOf(bytes));
            const CLastContent::Text found = last.Find("GetParameter", Done(0, bytes));
            EXPECT_TRUE(found == nullptr || *found == bytes);
        }
    };
    std::thread one(keepAndFind, string(100, 'a'));
    std::thread other(keepAndFind, string(200, 'b'));
    one.join();
    other.join();
}

} // namespace
