#include "loggerctl/record/CSettingsAssignment.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

using Value = CSettingsAssignment::Value;

struct Row {
    const char* m_pText;
    const char* m_pKey;
    Value m_value;
};

const Row kGood[] = {
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
    {"fs[/home].threshold=80", "fs[/home].threshold", 80},
    {"fs[/a=b].enable=on", "fs[/a=b].enable", true},
    {"fs[/a].enable=1].enable=0", "fs[/a].enable=1].enable", false},
};

TEST(CSettingsAssignment, ReadsKeysAndValues) {
    for (const Row& row : kGood) {
        SCOPED_TRACE(row.m_pText);
        std::string error;
        const auto assignment = CSettingsAssignment::Parse(row.m_pText, &error);
        ASSERT_TRUE(assignment.has_value()) << error;
        EXPECT_EQ(assignment->m_address.m_sText, row.m_pKey);
        EXPECT_EQ(assignment->m_value, row.m_value);
        EXPECT_EQ(error, "");
    }
}

constexpr char kSwitchWanted[] = " must be true or false (on, off, yes, no, 1, 0), not '";
constexpr char kUnsignedWanted[] = " must be a whole number from 0 to 4294967295, not '";
constexpr char kSignedWanted[] = " must be a whole number from -2147483648 to 2147483647, not '";

struct BadRow {
    const char* m_pText;
    std::string m_sError;
};

const BadRow kBad[] = {
    {"cpu.enable=", std::string("cpu.enable") + kSwitchWanted + "'."},
    {"cpu.enable=2", std::string("cpu.enable") + kSwitchWanted + "2'."},
    {"cpu.enable= on", std::string("cpu.enable") + kSwitchWanted + " on'."},
    {"cpu.enable=\x1B[2J", std::string("cpu.enable") + kSwitchWanted + "\\x1B[2J'."},
    {"cpu.count=-1", std::string("cpu.count") + kUnsignedWanted + "-1'."},
    {"cpu.count=4294967296", std::string("cpu.count") + kUnsignedWanted + "4294967296'."},
    {"cpu.count=", std::string("cpu.count") + kUnsignedWanted + "'."},
    {"cpu.count=3 ", std::string("cpu.count") + kUnsignedWanted + "3 '."},
    {"cpu.count=+3", std::string("cpu.count") + kUnsignedWanted + "+3'."},
    {"cpu.count=0x10", std::string("cpu.count") + kUnsignedWanted + "0x10'."},
    {"cpu.count=3=4", std::string("cpu.count") + kUnsignedWanted + "3=4'."},
    {"cpu.threshold=9.5", std::string("cpu.threshold") + kSignedWanted + "9.5'."},
    {"cpu.threshold=2147483648", std::string("cpu.threshold") + kSignedWanted + "2147483648'."},
    {"cpu.threshold=-2147483649", std::string("cpu.threshold") + kSignedWanted + "-2147483649'."},
    {"cpu.enable", "cpu.enable has no value: write cpu.enable=VALUE, where VALUE is true or false "
                   "(on, off, yes, no, 1, 0)."},
    {"cpu.treshold=3", "Unknown key 'cpu.treshold'. Did you mean 'cpu.threshold'?"},
    {"=3", "Unknown key ''."},
    {"fs[/home]=3",
     "Unknown key 'fs[/home]': behind the file system's name stands .enable or .threshold."},
};

TEST(CSettingsAssignment, SaysWhatIsWrong) {
    for (const BadRow& row : kBad) {
        SCOPED_TRACE(row.m_pText);
        std::string error;
        EXPECT_FALSE(CSettingsAssignment::Parse(row.m_pText, &error).has_value());
        EXPECT_EQ(error, row.m_sError);
    }
}

TEST(CSettingsAssignment, KeysMayStandThereOnce) {
    std::string error;
    EXPECT_FALSE(
        CSettingsAssignment::ParseAll({"cpu.count=3", "fs.count=4", "cpu.count=3"}, &error));
    EXPECT_EQ(error, "cpu.count is given twice.");
    EXPECT_FALSE(CSettingsAssignment::ParseAll({"fs[/a].enable=1", "fs[/a].enable=0"}, &error));
    EXPECT_EQ(error, "fs[/a].enable is given twice.");
    const auto good = CSettingsAssignment::ParseAll(
        {"fs[/a].enable=1", "fs[/b].enable=1", "fs[/a].threshold=1", "cpu.count=1"}, &error);
    ASSERT_TRUE(good.has_value()) << error;
    EXPECT_EQ(good->size(), 4U);
}

} // namespace
