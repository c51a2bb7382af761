#include "comlib/ShowMessage.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> shown;

void Record(const char* text, const char* caption) {
    shown.push_back(std::string(caption) + ": " + text);
}

class ShowMessageTest : public testing::Test {
protected:
    ShowMessageTest() {
        shown.clear();
        SetShowMessageHook(Record);
    }
    ~ShowMessageTest() override { SetShowMessageHook(nullptr); }
};

TEST_F(ShowMessageTest, TheHookSeesNarrowTextAsItIs) {
    ShowMessage("pVendor == NULL %s", "Debug");
    EXPECT_EQ(std::vector<std::string>{"Debug: pVendor == NULL %s"}, shown);
}

TEST_F(ShowMessageTest, TheHookSeesWideTextAsUtf8) {
    struct {
        std::wstring m_wide;
        std::string m_sNarrow;
    } const rows[] = {
        {L"", ""},
        {L"ExecMethodAsync()", "ExecMethodAsync()"},
        {L"\x7F\x80\x7FF", "\x7F\xC2\x80\xDF\xBF"},
        {L"\x800\xFFFF", "\xE0\xA0\x80\xEF\xBF\xBF"},
        {L"\x10000\x10FFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
        {L"\xD800|\xDFFF|\x110000", "\xEF\xBF\xBD|\xEF\xBF\xBD|\xEF\xBF\xBD"},
    };
    for (const auto& row : rows) {
        shown.clear();
        ShowMessage(row.m_wide.c_str(), L"Debug");
        EXPECT_EQ(std::vector<std::string>{"Debug: " + row.m_sNarrow}, shown);
    }
}

TEST_F(ShowMessageTest, NothingHappensWithoutAHook) {
    SetShowMessageHook(nullptr);
    ShowMessage("text", "caption");
    ShowMessage(L"text", L"caption");
    EXPECT_TRUE(shown.empty());
}

} // namespace
