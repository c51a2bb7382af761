#include "history/History.h"
#include "history/HistoryFolder.h"

#include "tests/support/TableTest.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

using namespace history;

namespace {

constexpr std::time_t kTime = 1795249800; // 2026-11-21 08:30:00 UTC

struct IdRow {
    const char* name;
    const char* text;
    bool isId;
};

class IdTest : public testing::TestWithParam<IdRow> {};

TEST_P(IdTest, IsKnownByItsForm) {
    EXPECT_EQ(history::IsId(GetParam().text), GetParam().isId) << GetParam().text;
}

const IdRow kIdRows[] = {
    {"Good", "20261121-083000-001", true},
    {"LeapDay", "20240229-235959-999", true},
    {"NoLeapDay", "20260229-000000-001", false},
    {"NoMonth", "20261321-083000-001", false},
    {"NoHour", "20261121-243000-001", false},
    {"Empty", "", false},
    {"NoNumber", "20261121-083000", false},
    {"ShortNumber", "20261121-083000-01", false},
    {"LongNumber", "20261121-083000-0001", false},
    {"Sign", "20261121-083000--01", false},
    {"Blank", "20261121-083000- 01", false},
    {"Letters", "20261121-083000-abc", false},
    {"OtherSeparator", "20261121.083000-001", false},
    {"Path", "../../../../etc/abc", false},
};
INSTANTIATE_TEST_SUITE_P(Ids, IdTest, testing::ValuesIn(kIdRows), RowName<IdRow>);

TEST(HistoryId, HoldsItsTime) {
    EXPECT_EQ(history::NextId(kTime, ""), "20261121-083000-001");
    EXPECT_EQ(history::TimeOf("20261121-083000-001"), kTime);
}

struct NextRow {
    const char* name;
    const char* newest;
    const char* next;
};

class NextTest : public testing::TestWithParam<NextRow> {};

TEST_P(NextTest, SortsBehindTheNewest) {
    const std::string next = history::NextId(kTime, GetParam().newest);
    EXPECT_EQ(next, GetParam().next) << GetParam().newest;
    EXPECT_GT(next, GetParam().newest);
    EXPECT_TRUE(history::IsId(next));
}

const NextRow kNextRows[] = {
    {"First", "", "20261121-083000-001"},
    {"LaterSecond", "20261121-082959-004", "20261121-083000-001"},
    {"SameSecond", "20261121-083000-004", "20261121-083000-005"},
    {"LastOfASecond", "20261121-083000-998", "20261121-083000-999"},
    {"FullSecond", "20261121-083000-999", "20261121-083001-001"},
    {"ClockSetBack", "20270101-000000-001", "20270101-000000-002"},
    {"ClockSetBackFullSecond", "20261231-235959-999", "20270101-000000-001"},
};
INSTANTIATE_TEST_SUITE_P(Rows, NextTest, testing::ValuesIn(kNextRows), RowName<NextRow>);

TEST(HistoryId, IsTheSameInEveryTimeZone) {
    ASSERT_EQ(setenv("TZ", "XXX-5", 1), 0);
    tzset();
    EXPECT_EQ(history::NextId(kTime, ""), "20261121-083000-001");
    EXPECT_EQ(history::TimeOf("20261121-083000-001"), kTime);
    unsetenv("TZ");
    tzset();
}

} // namespace
