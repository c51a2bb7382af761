#include "loggerctl/output/Failure.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

using namespace output;

namespace {

std::string ReadPage() {
    std::ifstream file(EXIT_CODES_PAGE);
    EXPECT_TRUE(file.is_open()) << EXIT_CODES_PAGE;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

TEST(ExitCodes, PageHasExactlyTheTablesRows) {
    std::string wanted;
    for (const CExitCodeEntry& entry : output::ExitCodes()) {
        wanted += "| " + std::to_string(static_cast<int>(entry.m_code)) + " | " + entry.m_name +
                  " | " + entry.m_meaning + " |\n";
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

TEST(ExitCodes, HelpNamesEveryCode) {
    const std::string help = output::ExitCodeHelp();
    for (const CExitCodeEntry& entry : output::ExitCodes()) {
        const std::string begin =
            "\n  " + std::to_string(static_cast<int>(entry.m_code)) + "  " + entry.m_name + " ";
        EXPECT_NE(help.find(begin), std::string::npos) << begin;
        EXPECT_NE(help.find(entry.m_meaning), std::string::npos) << entry.m_meaning;
    }
}

TEST(ExitCodes, NumbersAreFixed) {
    EXPECT_EQ(static_cast<int>(ExitCode::Success), 0);
    EXPECT_EQ(static_cast<int>(ExitCode::Usage), 2);
    EXPECT_EQ(static_cast<int>(ExitCode::NotInstalled), 3);
    EXPECT_EQ(static_cast<int>(ExitCode::Failure), 4);
    EXPECT_EQ(static_cast<int>(ExitCode::Exception), 5);
    EXPECT_EQ(static_cast<int>(ExitCode::NotLoaded), 6);
    EXPECT_EQ(static_cast<int>(ExitCode::Busy), 7);
    EXPECT_EQ(static_cast<int>(ExitCode::NoRights), 8);
    EXPECT_EQ(static_cast<int>(ExitCode::Stopped), 9);
}

TEST(ExitCodes, HaveANameAndAMeaning) {
    EXPECT_EQ(output::NameOf(ExitCode::Success), "success");
    EXPECT_EQ(output::NameOf(ExitCode::Stopped), "stopped");
    EXPECT_EQ(output::MeaningOf(ExitCode::NotInstalled),
              "The log-monitoring agent is not installed.");
}

TEST(Fail, IsAFailureWithoutAState) {
    const Expected<int> result = output::Fail(ExitCode::Usage, "No.", {"One.", "Two."});
    ASSERT_FALSE(result.has_value());
    EXPECT_EQ(result.error().m_code, ExitCode::Usage);
    EXPECT_EQ(result.error().m_headline, "No.");
    EXPECT_EQ(result.error().m_reasons, (std::vector<std::string>{"One.", "Two."}));
    EXPECT_FALSE(result.error().m_state.has_value());
}

} // namespace
