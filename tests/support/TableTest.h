#pragma once

#include <gtest/gtest.h>

#include <string>

// For table tests: each row is a struct with a member `name` of letters and digits, which becomes
// the name of its test.
template <class Row>
std::string RowName(const testing::TestParamInfo<Row>& info) {
    return info.param.name;
}
