#include "settings/CVolumeIndex.h"
#include "settings/CLoggerFsThresholdConf.h"

#include <gtest/gtest.h>

#include <list>

using Rows = std::list<CLoggerFsThresholdConf>;
using Index = CVolumeIndex<CLoggerFsThresholdConf>;

namespace {

Rows RowsOf(std::initializer_list<const char*> names) {
    Rows rows;
    for (const char* name : names) {
        rows.emplace_back(name, 80, false);
    }
    return rows;
}

TEST(CVolumeIndex, FindsNothingWhenItIsEmpty) {
    Index index;
    EXPECT_EQ(nullptr, index.Find("/"));
    EXPECT_EQ(nullptr, index.Find(""));
}

TEST(CVolumeIndex, FindsExactlyThisName) {
    Rows rows = RowsOf({"/", "/home", ""});
    Index index(rows);
    EXPECT_EQ(&rows.front(), index.Find("/"));
    EXPECT_EQ(&*std::next(rows.begin()), index.Find("/home"));
    EXPECT_EQ(&rows.back(), index.Find(""));
    EXPECT_EQ(nullptr, index.Find("/home/"));
    EXPECT_EQ(nullptr, index.Find("/Home"));
}

TEST(CVolumeIndex, FindsTheFirstOfSeveralRowsOfOneName) {
    Rows rows = RowsOf({"/", "/home", "/home", "/"});
    Index index(rows);
    EXPECT_EQ(&rows.front(), index.Find("/"));
    EXPECT_EQ(&*std::next(rows.begin()), index.Find("/home"));
}

TEST(CVolumeIndex, FindsThemInAnyOrder) {
    Rows rows = RowsOf({"/", "/home", "/", "/var"});
    Index index(rows);
    for (const char* name : {"/", "/", "/home", "/", "/home", "/var", "/var", "/", "/var"}) {
        EXPECT_EQ(name, index.Find(name)->m_sVolumeName);
        EXPECT_NE(&*std::next(rows.begin(), 2), index.Find(name));
    }
}

TEST(CVolumeIndex, TellsWhetherARowIsTheFirstOfItsName) {
    Rows rows = RowsOf({"/", "/home", "/"});
    Index index;
    EXPECT_TRUE(index.Add(&rows.front()));
    EXPECT_TRUE(index.Add(&*std::next(rows.begin())));
    EXPECT_FALSE(index.Add(&rows.back()));
    EXPECT_EQ(&rows.front(), index.Find("/"));
}

TEST(CVolumeIndex, FindsEachOfManyRows) {
    constexpr int kMany = 10000;
    Rows rows;
    for (int number = 0; number < kMany; ++number) {
        rows.emplace_back("/mnt/" + std::to_string(number), number, true);
    }
    Index index;
    for (CLoggerFsThresholdConf& row : rows) {
        ASSERT_TRUE(index.Add(&row));
    }
    for (CLoggerFsThresholdConf& row : rows) {
        ASSERT_EQ(&row, index.Find(row.m_sVolumeName));
    }
    for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
        ASSERT_EQ(&*row, index.Find(row->m_sVolumeName));
    }
    EXPECT_EQ(nullptr, index.Find("/mnt/" + std::to_string(kMany)));
}

} // namespace
