#include "loggerctl/output/CUnifiedDiff.h"

#include "loggerctl/output/CLineDifference.h"
#include "tests/support/CTempFile.h"
#include "tests/support/CTestRoot.h"
#include "tests/system/loggerctl/CLocale.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace {

std::string Diff(const std::string& oldText, const std::string& newText) {
    return CUnifiedDiff::Make(oldText, newText, "old", "new");
}

struct Row {
    const char* m_pName;
    std::string m_sOld;
    std::string m_sNew;
    std::string m_sHunks; // behind the two lines with the names
};

const Row kRows[] = {
    {"from nothing", "", "a\nb\n", "@@ -0,0 +1,2 @@\n+a\n+b\n"},
    {"to nothing", "a\n", "", "@@ -1 +0,0 @@\n-a\n"},
    {"one of one", "a\n", "b\n", "@@ -1 +1 @@\n-a\n+b\n"},
    {"three lines of context", "1\n2\n3\n4\n5\n6\n7\n8\n9\n", "1\n2\n3\n4\nV\n6\n7\n8\n9\n",
     "@@ -2,7 +2,7 @@\n 2\n 3\n 4\n-5\n+V\n 6\n 7\n 8\n"},
    {"six lines between changes share a hunk", "a\n1\n2\n3\n4\n5\n6\nb\n",
     "A\n1\n2\n3\n4\n5\n6\nB\n", "@@ -1,8 +1,8 @@\n-a\n+A\n 1\n 2\n 3\n 4\n 5\n 6\n-b\n+B\n"},
    {"seven lines between changes do not", "a\n1\n2\n3\n4\n5\n6\n7\nb\n",
     "A\n1\n2\n3\n4\n5\n6\n7\nB\n",
     "@@ -1,4 +1,4 @@\n-a\n+A\n 1\n 2\n 3\n@@ -6,4 +6,4 @@\n 5\n 6\n 7\n-b\n+B\n"},
    {"no newline before", "a\nb", "a\nb\n",
     "@@ -1,2 +1,2 @@\n a\n-b\n\\ No newline at end of file\n+b\n"},
    {"no newline after", "a\nb\n", "a\nb",
     "@@ -1,2 +1,2 @@\n a\n-b\n+b\n\\ No newline at end of file\n"},
    {"no newline in both", "a\nb", "A\nb",
     "@@ -1,2 +1,2 @@\n-a\n+A\n b\n\\ No newline at end of file\n"},
    {"bytes stay as they are", "a\x1B\xFF\t\\\n", "b\n", "@@ -1 +1 @@\n-a\x1B\xFF\t\\\n+b\n"},
};

TEST(CUnifiedDiff, HasTheStandardForm) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.m_pName);
        EXPECT_EQ(Diff(row.m_sOld, row.m_sNew), "--- old\n+++ new\n" + row.m_sHunks);
    }
}

TEST(CUnifiedDiff, IsEmptyForEqualTexts) {
    EXPECT_EQ(Diff("", ""), "");
    EXPECT_EQ(Diff("a\nb", "a\nb"), "");
}

std::string Output(const std::string& command) {
    std::string text;
    FILE* pipe = popen(command.c_str(), "r");
    std::array<char, 4096> buffer{};
    std::size_t count = 0;
    while ((count = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0) {
        text.append(buffer.data(), count);
    }
    pclose(pipe);
    return text;
}

bool IsThere(const char* program) {
    return std::system(("command -v " + std::string(program) + " > /dev/null").c_str()) == 0;
}

std::string ProgramsDiff(const std::string& oldText, const std::string& newText) {
    const CTempFile oldFile(oldText);
    const CTempFile newFile(newText);
    return Output("diff --minimal -u --label old --label new " + oldFile.Path() + " " +
                  newFile.Path());
}

// What patch makes of the old text.
std::string Patched(const std::string& oldText, const std::string& diff) {
    const CTempFile file(oldText);
    const CTempFile patch(diff);
    Output("patch -s --no-backup-if-mismatch " + file.Path() + " " + patch.Path());
    return ReadFile(file.Path());
}

using Random = std::mt19937;

std::size_t Below(std::size_t limit, Random* random) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(*random);
}

// Up to 40 lines; the last one sometimes without its end.
std::string RandomText(std::size_t differentLines, Random* random) {
    std::string text;
    for (std::size_t count = Below(40, random); count > 0; --count) {
        text += "line " + std::to_string(Below(differentLines, random)) + '\n';
    }
    if (!text.empty() && Below(4, random) == 0) {
        text.pop_back();
    }
    return text;
}

// Lines that stand nowhere else, some of them left out.
std::string RandomSelection(Random* random) {
    std::string text;
    for (int i = 0; i < 60; ++i) {
        text += Below(5, random) == 0 ? "" : "line " + std::to_string(i) + '\n';
    }
    return text;
}

std::ptrdiff_t ChangedLines(const std::string& diff) {
    std::ptrdiff_t count = 0;
    for (std::size_t at = diff.find("\n@@"); at < diff.size(); at = diff.find('\n', at + 1)) {
        count += diff[at + 1] == '-' || diff[at + 1] == '+' ? 1 : 0;
    }
    return count;
}

// Where every line stands only once there is one shortest difference.
TEST(CUnifiedDiff, IsWhatTheDiffProgramPrints) {
    if (!IsThere("diff")) {
        GTEST_SKIP() << "There is no diff program.";
    }
    Random random(1);
    for (int i = 0; i < 60; ++i) {
        const std::string oldText = RandomSelection(&random);
        const std::string newText = RandomSelection(&random);
        EXPECT_EQ(Diff(oldText, newText), ProgramsDiff(oldText, newText)) << "old:\n"
                                                                          << oldText << "new:\n"
                                                                          << newText;
    }
}

TEST(CUnifiedDiff, IsAsShortAsTheDiffProgramsAndTakenByPatch) {
    if (!IsThere("diff") || !IsThere("patch")) {
        GTEST_SKIP() << "There is no diff program or no patch program.";
    }
    Random random(2);
    for (int i = 0; i < 60; ++i) {
        const std::string oldText = RandomText(1 + Below(12, &random), &random);
        const std::string newText = RandomText(1 + Below(12, &random), &random);
        const std::string diff = Diff(oldText, newText);
        EXPECT_EQ(ChangedLines(diff), ChangedLines(ProgramsDiff(oldText, newText))) << diff;
        if (!oldText.empty() && !newText.empty()) { // patch removes a file that becomes empty
            EXPECT_EQ(Patched(oldText, diff), newText) << diff;
        }
    }
}

std::string Repeat(const std::string& line, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += line;
    }
    return text;
}

TEST(CUnifiedDiff, IsQuickForManyEqualLines) {
    const std::string many = Repeat("x\n", 100000);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(ChangedLines(Diff(many + "a\n" + many, many + "b\n" + many)), 2);
    EXPECT_EQ(ChangedLines(Diff("a\n" + many + "b\n", "c\n" + many + "x\nd\n")), 5);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

// Every second line is another one, far more often than is searched for.
TEST(CUnifiedDiff, IsRightBeyondItsBound) {
    std::string oldText;
    std::string newText;
    for (int i = 0; i < 2 * CLineDifference::kMaximum; ++i) {
        const std::string number = std::to_string(i);
        oldText += "same " + number + "\nold " + number + '\n';
        newText += "same " + number + "\nnew " + number + '\n';
    }
    const std::string diff = Diff(oldText, newText);
    EXPECT_EQ(diff.find("\n+same 1\n") == std::string::npos, false);
    if (IsThere("patch")) {
        EXPECT_EQ(Patched(oldText, diff), newText);
    }
}

TEST(CUnifiedDiff, IsMadeSafeForATerminalAlone) {
    const CLocale locale(kPlainLocale);
    const std::string diff = Diff("\ta\x1B[2J\r\\\nz", "b\n");
    EXPECT_EQ(CUnifiedDiff::ForOutput(diff, false), diff);
    EXPECT_EQ(CUnifiedDiff::ForOutput(diff, true),
              "--- old\n+++ new\n@@ -1,2 +1 @@\n-\ta\\x1B[2J\\x0D\\\\\n-z\n"
              "\\ No newline at end of file\n+b\n");
}

} // namespace
