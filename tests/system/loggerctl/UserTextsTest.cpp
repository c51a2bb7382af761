// The help and the manual page say the same.

#include "tests/system/loggerctl/UserTexts.h"

#include "KzmPaths.h"
#include "loggerctl/output/Failure.h"
#include "loggerctl/output/SafeText.h"
#include "loggerctl/record/Keys.h"
#include "tests/support/CProgram.h"
#include "tests/support/CTestRoot.h"

#include <gtest/gtest.h>

using namespace UserTexts;

namespace {

std::string Page() {
    return std::regex_replace(ReadFile(MAN_PAGE), std::regex("\\\\-"), "-");
}

// By the heading of each command, and by the terms of the lists below it.
void FindOptionsInPage(CommandOptions* inHeadings, CommandOptions* inLists) {
    const std::regex option("--[a-z-]+");
    std::string command;
    std::string before;
    for (const std::string& line : Lines(Page())) {
        if (line.rfind(".SS ", 0) == 0) {
            command = line.substr(4, line.find(' ', 4) - 4);
            (*inHeadings)[command].merge(AllMatches(line, option));
            (*inLists)[command];
        } else if (line.rfind(".SH ", 0) == 0) {
            command.clear();
        } else if (before == ".TP" || before == ".TQ") {
            (*inLists)[command].merge(AllMatches(line, option));
        }
        before = line;
    }
    (*inHeadings)[""] = (*inLists)[""]; // the program's own stand in a list alone
}

// The rows of the table below a heading.
std::vector<std::string> PageTable(const std::string& heading) {
    const std::string page = Page();
    const std::size_t begin = page.find("l l.\n", page.find(".SH " + heading + "\n")) + 5;
    return Lines(page.substr(begin, page.find(".TE", begin) - begin));
}

TEST(UserTexts, HelpFitsATerminal) {
    for (const auto& [command, options] : OptionsInHelp()) {
        for (const std::string& line : Lines(Help(command))) {
            EXPECT_LE(output::Width(line), 80U) << command << ": " << line;
        }
    }
}

TEST(UserTexts, HelpSpeaksInWords) {
    for (const auto& [command, options] : OptionsInHelp()) {
        EXPECT_EQ(Help(command).find("Excludes:"), std::string::npos) << command;
        EXPECT_EQ(Help(command).find("Needs:"), std::string::npos) << command;
    }
}

TEST(UserTexts, PageHasTheOptionsOfTheHelp) {
    CommandOptions inHeadings;
    CommandOptions inLists;
    FindOptionsInPage(&inHeadings, &inLists);
    EXPECT_EQ(inHeadings, OptionsInHelp());
    EXPECT_EQ(inLists, OptionsInHelp());
}

TEST(UserTexts, PageHasTheKeys) {
    std::vector<std::string> keys;
    for (const std::string& row : PageTable("KEYS")) {
        keys.push_back(row.substr(0, row.find('\t')));
    }
    EXPECT_EQ(keys, record::KeyNames());
}

TEST(UserTexts, PageHasTheExitCodes) {
    std::vector<std::string> wanted;
    for (const output::CExitCodeEntry& entry : output::ExitCodes()) {
        wanted.push_back(std::to_string(static_cast<int>(entry.m_code)) + "\t" + entry.m_meaning);
    }
    EXPECT_EQ(PageTable("EXIT STATUS"), wanted);
}

TEST(UserTexts, PageHasThePathsAndTheVersion) {
    const std::string root = CTestRoot::Path("");
    for (const std::string path :
         {KzmPaths::kAgentConfig, KzmPaths::kAlertConfig, KzmPaths::kHistoryFolder,
          KzmPaths::kCallerLock, KzmPaths::kDeviceFolder, KzmPaths::kLockFile}) {
        EXPECT_NE(Page().find(".I " + path.substr(root.size())), std::string::npos) << path;
    }
    const std::string version = Lines(CProgram({"--version"}).Run().m_sOutput).front();
    EXPECT_NE(Page().find("\"" + version + "\""), std::string::npos) << version;
}

TEST(UserTexts, PageIsSet) {
    if (OutputOf("command -v man groff tbl").empty()) {
        GTEST_SKIP() << "there is no man command here";
    }
    EXPECT_EQ(OutputOf("man --warnings -E UTF-8 -l -Tutf8 -Z " MAN_PAGE " 3>&1 >/dev/null 2>&3"),
              "");
}

} // namespace
