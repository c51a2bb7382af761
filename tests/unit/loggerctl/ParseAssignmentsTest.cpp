#include "loggerctl/record/Request.h"

#include "tests/unit/loggerctl/Answer.h"

namespace {

using record::CValue;

struct CAssignmentRow {
    const char* m_text;
    const char* m_key;
    CValue m_value;
};

const CAssignmentRow kAssignments[] = {
    {"cpu.enable=true", "cpu.enable", true},
    {"cpu.enable=False", "cpu.enable", false},
    {"cpu.enable=ON", "cpu.enable", true},
    {"cpu.enable=oFF", "cpu.enable", false},
    {"cpu.enable=Yes", "cpu.enable", true},
    {"cpu.enable=no", "cpu.enable", false},
    {"cpu.enable=1", "cpu.enable", true},
    {"cpu.enable=0", "cpu.enable", false},
    {"cpu.count=0", "cpu.count", 0U},
    {"cpu.count=007", "cpu.count", 7U},
    {"fs.interval=4294967295", "fs.interval", 4294967295U},
    {"cpu.threshold=-2147483648", "cpu.threshold", std::int32_t{-2147483647 - 1}},
    {"memory.threshold=2147483647", "memory.threshold", 2147483647},
    {"fs:/home.threshold=80", "fs:/home.threshold", 80},
    {"fs[/home].threshold=80", "fs[/home].threshold", 80},
    {"fs:/a=b.enable=on", "fs:/a=b.enable", true},
    {"fs[/a=b].enable=on", "fs[/a=b].enable", true},
    {"fs:/a.enable=1.enable=0", "fs:/a.enable=1.enable", false},
    {"fs[/a].enable=1].enable=0", "fs[/a].enable=1].enable", false},
    {"fs:*.threshold=7", "fs:*.threshold", 7},
};

TEST(ParseAssignments, ReadsKeysAndValues) {
    for (const CAssignmentRow& row : kAssignments) {
        SCOPED_TRACE(row.m_text);
        const auto assignments = Must(record::ParseAssignments({row.m_text}));
        ASSERT_EQ(assignments.size(), 1U);
        EXPECT_EQ(assignments.front().m_address.m_text, row.m_key);
        EXPECT_EQ(assignments.front().m_value, row.m_value);
    }
}

constexpr char kSwitch[] = " must be true or false (on, off, yes, no, 1, 0), not '";
constexpr char kSampling[] = " must be a whole number from 1 to 2147483647, not '";
constexpr char kThreshold[] = " must be a whole number from 1 to 100, not '";

struct CWrongAssignmentRow {
    const char* m_text;
    std::string m_problem;
};

const CWrongAssignmentRow kWrongAssignments[] = {
    {"cpu.enable=", std::string("cpu.enable") + kSwitch + "'."},
    {"cpu.enable=2", std::string("cpu.enable") + kSwitch + "2'."},
    {"cpu.enable= on", std::string("cpu.enable") + kSwitch + " on'."},
    {"cpu.enable=\x1B[2J", std::string("cpu.enable") + kSwitch + "\\x1B[2J'."},
    {"cpu.count=-1", std::string("cpu.count") + kSampling + "-1'."},
    {"cpu.count=4294967296", std::string("cpu.count") + kSampling + "4294967296'."},
    {"cpu.count=", std::string("cpu.count") + kSampling + "'."},
    {"cpu.count=3 ", std::string("cpu.count") + kSampling + "3 '."},
    {"cpu.count=+3", std::string("cpu.count") + kSampling + "+3'."},
    {"cpu.count=0x10", std::string("cpu.count") + kSampling + "0x10'."},
    {"cpu.count=3=4", std::string("cpu.count") + kSampling + "3=4'."},
    {"cpu.threshold=9.5", std::string("cpu.threshold") + kThreshold + "9.5'."},
    {"cpu.threshold=2147483648", std::string("cpu.threshold") + kThreshold + "2147483648'."},
    {"cpu.threshold=-2147483649", std::string("cpu.threshold") + kThreshold + "-2147483649'."},
    {"fs:/home.threshold=80 %", std::string("fs:/home.threshold") + kThreshold + "80 %'."},
    {"cpu.enable", "cpu.enable has no value: write cpu.enable=VALUE, where VALUE is true or false "
                   "(on, off, yes, no, 1, 0)."},
    {"fs:/\x7F.threshold", "fs:/\\x7F.threshold has no value: write fs:/\\x7F.threshold=VALUE, "
                           "where VALUE is a whole number from 1 to 100."},
    {"cpu.treshold=3", "Unknown key 'cpu.treshold'. Did you mean 'cpu.threshold'?"},
    {"=3", "Unknown key ''."},
    {"fs:/home=3", "Unknown key 'fs:/home': a file system's key is written fs:/home.enable or "
                   "fs:/home.threshold."},
    {"fs[/home]=3",
     "Unknown key 'fs[/home]': behind the file system's name stands .enable or .threshold."},
};

TEST(ParseAssignments, SaysWhatIsWrong) {
    for (const CWrongAssignmentRow& row : kWrongAssignments) {
        SCOPED_TRACE(row.m_text);
        EXPECT_EQ(WrongUsage(record::ParseAssignments({"memory.count=1", row.m_text})),
                  row.m_problem);
    }
}

TEST(ParseAssignments, TakesAKeyOnce) {
    EXPECT_EQ(WrongUsage(record::ParseAssignments({"cpu.count=3", "fs.count=4", "cpu.count=3"})),
              "cpu.count is given twice.");
    EXPECT_EQ(WrongUsage(record::ParseAssignments({"fs:/\x1B.enable=1", "fs:/\x1B.enable=0"})),
              "fs:/\\x1B.enable is given twice.");
    const auto good = Must(record::ParseAssignments(
        {"fs:/a.enable=1", "fs:/b.enable=1", "fs:/a.threshold=1", "cpu.count=1"}));
    EXPECT_EQ(good.size(), 4U);
    EXPECT_TRUE(Must(record::ParseAssignments({})).empty());
}

} // namespace
