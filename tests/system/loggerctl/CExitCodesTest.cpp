#include "loggerctl/output/CExitCodes.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace {

std::string ReadPage() {
    std::ifstream file(EXIT_CODES_PAGE);
    EXPECT_TRUE(file.is_open()) << EXIT_CODES_PAGE;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

TEST(CExitCodes, PageHasExactlyTheTablesRows) {
    std::string wanted;
    for (const CExitCodeEntry& entry : CExitCodes::All()) {
        wanted += "| " + std::to_string(static_cast<int>(entry.m_code)) + " | " + entry.m_pName +
                  " | " + entry.m_pMeaning + " |\n";
    }
    std::istringstream page(ReadPage());
    std::string rows;
    std::string line;
    while (std::getline(page, line)) {
        if (line.size() > 2 && line[0] == '|' && line[2] >= '0' && line[2] <= '9') {
            rows += line + '\n';
        }
    }
    EXPECT_EQ(rows, wanted);
}

TEST(CExitCodes, HelpNamesEveryCode) {
    const std::string help = CExitCodes::HelpText();
    for (const CExitCodeEntry& entry : CExitCodes::All()) {
        const std::string begin =
            "\n  " + std::to_string(static_cast<int>(entry.m_code)) + "  " + entry.m_pName + " ";
        EXPECT_NE(help.find(begin), std::string::npos) << begin;
        EXPECT_NE(help.find(entry.m_pMeaning), std::string::npos) << entry.m_pMeaning;
    }
}

TEST(CExitCodes, NumbersAreFixed) {
    EXPECT_EQ(static_cast<int>(ExitCode::Success), 0);
    EXPECT_EQ(static_cast<int>(ExitCode::Usage), 2);
    EXPECT_EQ(static_cast<int>(ExitCode::NotInstalled), 3);
    EXPECT_EQ(static_cast<int>(ExitCode::Failure), 4);
    EXPECT_EQ(static_cast<int>(ExitCode::Exception), 5);
    EXPECT_EQ(static_cast<int>(ExitCode::NotLoaded), 6);
}

} // namespace
