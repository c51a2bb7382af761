#include "loggerctl/output/CTable.h"

#include "tests/system/loggerctl/CLocale.h"

#include <gtest/gtest.h>

#include <ctime>

using namespace output;

namespace {

using Align = CTable::Align;

CTable MakeTable(const std::vector<std::string>& names) {
    CTable table({{"Disks"}, {"State"}, {"Size", Align::Right}});
    int size = 1;
    for (const std::string& name : names) {
        table.AddRow({{name}, {"on", TextStyle::Good}, {std::to_string(size)}});
        size *= 12;
    }
    return table;
}

CTerminal Columns(std::size_t columns) {
    CTerminal terminal;
    terminal.m_columns = columns;
    return terminal;
}

TEST(CTable, AlignsEachColumnAndLeavesNoBlanksAtTheEnd) {
    EXPECT_EQ(MakeTable({"/", "/home"}).Text(Columns(80)), "Disks    State  Size\n"
                                                           "  /      on        1\n"
                                                           "  /home  on       12\n");
}

TEST(CTable, CountsColumnsNotBytes) {
    const CLocale utf8(kUtf8Locale);
    EXPECT_EQ(MakeTable({"/\xE6\x97\xA5", "/\xC3\xBC"}).Text(Columns(80)),
              "Disks  State  Size\n"
              "  /\xE6\x97\xA5  on        1\n"
              "  /\xC3\xBC   on       12\n");
}

TEST(CTable, GivesANameThatDoesNotFitALineOfItsOwn) {
    const std::string longName(30, 'x');
    EXPECT_EQ(MakeTable({"/", longName, "/home"}).Text(Columns(40)), "Disks    State  Size\n"
                                                                     "  /      on        1\n"
                                                                     "  " +
                                                                         longName +
                                                                         "\n"
                                                                         "         on       12\n"
                                                                         "  /home  on      144\n");
}

TEST(CTable, LeavesTheNameInItsLineWhereItFits) {
    const std::string longName(30, 'x');
    EXPECT_EQ(MakeTable({longName}).Text(Columns(45)),
              "Disks" + std::string(29, ' ') + "State  Size\n  " + longName + "  on        1\n");
}

TEST(CTable, LeavesRoomForShortNamesOnAnyTerminal) {
    EXPECT_EQ(MakeTable({"/var/cache", "/var/caches"}).Text(Columns(1)),
              "Disks         State  Size\n"
              "  /var/cache  on        1\n"
              "  /var/caches\n"
              "              on       12\n");
}

TEST(CTable, LeavesOutEmptyCells) {
    CTable table({{"Title"}, {"A", Align::Right}, {"B"}});
    table.AddRow({{"x"}, {""}, {"y"}});
    table.AddRow({{"z"}});
    EXPECT_EQ(table.Text(Columns(80)), "Title  A  B\n"
                                       "  x       y\n"
                                       "  z\n");
}

TEST(CTable, ColoursOnlyWhereAllowedAndDoesNotMoveTheColumns) {
    CTerminal terminal = Columns(80);
    terminal.m_colour = true;
    const std::string coloured = MakeTable({"/", "/home"}).Text(terminal);
    EXPECT_EQ(coloured, "\033[1mDisks\033[0m    \033[2mState\033[0m  \033[2mSize\033[0m\n"
                        "  /      \033[32mon\033[0m        1\n"
                        "  /home  \033[32mon\033[0m       12\n");
}

TEST(CTable, IsItsHeadingsWithoutRows) {
    EXPECT_EQ(MakeTable({}).Text(Columns(80)), "Disks  State  Size\n");
}

TEST(CTable, ColoursNoEmptyCell) {
    CTerminal terminal = Columns(80);
    terminal.m_colour = true;
    CTable table({{"Title"}, {""}});
    table.AddRow({{"x"}, {"", TextStyle::Bad}});
    EXPECT_EQ(table.Text(terminal), "\033[1mTitle\033[0m\n  x\n");
}

TEST(CTable, IsQuickForManyRows) {
    const CLocale utf8(kUtf8Locale);
    const std::clock_t begin = std::clock(); // what else the machine does is not counted
    CTable table({{"Disks"}, {"State"}, {"Size", Align::Right}});
    for (int i = 0; i < 10000; ++i) {
        table.AddRow({{"/srv/B\xC3\xBCro/" + std::to_string(i)}, {"on"}, {std::to_string(i)}});
    }
    const std::string text = table.Text(Columns(80));
    EXPECT_EQ(text.substr(text.rfind("  /")), "  /srv/B\xC3\xBCro/9999  on     9999\n");
    EXPECT_LT(std::clock() - begin, CLOCKS_PER_SEC);
}

} // namespace
