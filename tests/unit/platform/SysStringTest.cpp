#include "comlib/SysString.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

TEST(SysStringTest, CopiesTheText) {
    const std::string longText(10'000, 'x');
    for (const char* text : {"", "VELTARO_ToolServiceLogger", longText.c_str()}) {
        SCOPED_TRACE(text);
        char* copy = SysAllocString(text);
        EXPECT_NE(text, copy);
        EXPECT_STREQ(text, copy);
        SysFreeString(copy);
    }
}

TEST(SysStringTest, NullStaysNull) {
    EXPECT_EQ(nullptr, SysAllocString(nullptr));
    SysFreeString(nullptr);
}

int SignOf(int value) {
    return (value > 0) - (value < 0);
}

TEST(SysStringTest, ComparesByteByByte) {
    struct {
        const char* m_pLeft;
        const char* m_pRight;
        int m_iSign;
    } const rows[] = {
        {"GetParameter", "GetParameter", 0},
        {"GetParameter", "getParameter", -1},
        {"GetParameter", "GetParameters", -1},
        {"b", "a", 1},
        {"\xC3", "z", 1},
        {"", "", 0},
        {nullptr, nullptr, 0},
        {nullptr, "", -1},
        {"", nullptr, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.m_pLeft) + " and " +
                     testing::PrintToString(row.m_pRight));
        EXPECT_EQ(row.m_iSign, SignOf(lstrcmpW(row.m_pLeft, row.m_pRight)));
    }
}

} // namespace
