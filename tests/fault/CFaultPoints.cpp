#include "tests/fault/CFaultPoints.h"

#include "tests/support/WholeRun.h"

#include <gtest/gtest.h>

#include <cstdio>

std::vector<int> CFaultPoints::Choose(int count, int ordinarily) {
    EXPECT_LT(0, count) << "there is no such point";
    std::vector<int> points;
    if (IsWholeRun() || count <= ordinarily) {
        for (int point = 1; point <= count + (IsWholeRun() ? 1 : 0); ++point) {
            points.push_back(point);
        }
        return points;
    }
    for (int i = 0; i < ordinarily; ++i) {
        points.push_back(1 + i * (count - 1) / (ordinarily - 1));
    }
    return points;
}

void CFaultPoints::Tell(const std::string& what, int tried, int count) {
    testing::Test::RecordProperty("fault_points", tried);
    std::printf("fault points: %s: %d tried of %d\n", what.c_str(), tried, count);
}
