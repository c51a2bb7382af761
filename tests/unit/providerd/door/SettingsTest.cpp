#include "providerd/door/CSettings.h"

#include "tests/support/CTempFile.h"

#include <gtest/gtest.h>

using Lines = std::vector<std::string>;

namespace {

std::string Worded(const providerd::CSettings& settings) {
    return testing::PrintToString(settings.m_readingGroups) + " " +
           testing::PrintToString(settings.m_changingGroups) + " " + settings.m_frontEndUser + " " +
           std::to_string(settings.m_callTime.count()) + " " +
           std::to_string(settings.m_waitingCalls);
}

struct CSettingsRow {
    const char* m_text;
    const char* m_settings; // empty: there are problems
    Lines m_problems;       // behind the path
};

const CSettingsRow kSettingsRows[] = {
    {"", R"({ "kzm-readers" } {} kzmwbem 120 64)", {}},
    {"ReadingGroups=a, b\nChangingGroups=c\nFrontEndUser=www\nCallTimeoutSeconds=10\n"
     "WaitingCalls=1\n",
     R"({ "a", "b" } { "c" } www 10 1)",
     {}},
    {"ReadingGroups=\nCallTimeoutSeconds=3600\nWaitingCalls=1000", "{} {} kzmwbem 3600 1000", {}},
    {"CallTimeoutSeconds=9",
     "",
     {", line 1: CallTimeoutSeconds: \"9\" is no number from 10 to 3600."}},
    {"CallTimeoutSeconds=3601",
     "",
     {", line 1: CallTimeoutSeconds: \"3601\" is no number from 10 to 3600."}},
    {"WaitingCalls=0\n", "", {", line 1: WaitingCalls: \"0\" is no number from 1 to 1000."}},
    {"WaitingCalls=1001\n", "", {", line 1: WaitingCalls: \"1001\" is no number from 1 to 1000."}},
    {"\nFrontEndUser=\nPamService=other\n",
     "",
     {", line 2: FrontEndUser: Is empty. Name the user of the front end, such as kzmwbem.",
      ", line 3: PamService is unknown. Correct its spelling, or remove the line."}},
};

TEST(Settings, AreRead) {
    for (const CSettingsRow& row : kSettingsRows) {
        const CTempFile file(row.m_text);
        const providerd::CReadSettings read = providerd::ReadSettings(file.Path());
        Lines problems = row.m_problems;
        for (std::string& problem : problems) {
            problem = file.Path() + problem;
        }
        EXPECT_EQ(read.m_problems, problems) << row.m_text;
        if (problems.empty()) {
            EXPECT_EQ(Worded(read.m_settings), row.m_settings) << row.m_text;
        }
    }
}

TEST(Settings, OfNoFileAreTheDefaults) {
    const providerd::CReadSettings read = providerd::ReadSettings("/nowhere/at/all.conf");
    EXPECT_EQ(read.m_problems, Lines());
    EXPECT_EQ(Worded(read.m_settings), R"({ "kzm-readers" } {} kzmwbem 120 64)");
}

} // namespace
