#include "loggerctl/output/UnifiedDiff.h"

#include "tests/support/CTempFile.h"
#include "tests/support/CTestRoot.h"
#include "tests/system/loggerctl/CLocale.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <numeric>
#include <random>

using namespace output;

namespace {

std::string Diff(const std::string& oldText, const std::string& newText) {
    return output::UnifiedDiff(oldText, newText, "old", "new");
}

struct CDiffRow {
    const char* m_name;
    std::string m_old;
    std::string m_new;
    std::string m_hunks; // behind the two lines with the names
};

const CDiffRow kDiffRows[] = {
    {"from nothing", "", "a\nb\n", "@@ -0,0 +1,2 @@\n+a\n+b\n"},
    {"to nothing", "a\n", "", "@@ -1 +0,0 @@\n-a\n"},
    {"one of one", "a\n", "b\n", "@@ -1 +1 @@\n-a\n+b\n"},
    {"one of two equal lines goes", "a\na\n", "a\n", "@@ -1,2 +1 @@\n a\n-a\n"},
    {"one of two equal lines comes", "a\n", "a\na\n", "@@ -1 +1,2 @@\n a\n+a\n"},
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

TEST(UnifiedDiff, HasTheStandardForm) {
    for (const CDiffRow& row : kDiffRows) {
        SCOPED_TRACE(row.m_name);
        EXPECT_EQ(Diff(row.m_old, row.m_new), "--- old\n+++ new\n" + row.m_hunks);
    }
}

TEST(UnifiedDiff, IsEmptyForEqualTexts) {
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
TEST(UnifiedDiff, IsWhatTheDiffProgramPrints) {
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

TEST(UnifiedDiff, IsAsShortAsTheDiffProgramsAndTakenByPatch) {
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

// Runs the difference and fails when it takes long. What else the machine does is not counted.
std::string QuickDiff(const std::string& oldText, const std::string& newText) {
    constexpr std::clock_t kSeconds = 5;
    const std::clock_t begin = std::clock();
    std::string diff = Diff(oldText, newText);
    EXPECT_LT(std::clock() - begin, kSeconds * CLOCKS_PER_SEC);
    return diff;
}

TEST(UnifiedDiff, IsQuickForManyEqualLines) {
    const std::string many = Repeat("x\n", 100000);
    EXPECT_EQ(ChangedLines(QuickDiff(many + "a\n" + many, many + "b\n" + many)), 2);
    EXPECT_EQ(ChangedLines(QuickDiff("a\n" + many + "b\n", "c\n" + many + "x\nd\n")), 5);
}

// The lines from the first to the last, each with the word before its number.
std::string Numbered(const std::string& word, int first, int last) {
    std::string text;
    for (int i = first; i <= last; ++i) {
        text += word + std::to_string(i) + '\n';
    }
    return text;
}

TEST(UnifiedDiff, IsQuickForManyLinesThatDiffer) {
    const std::string oldText = Numbered("old ", 1, 100000);
    const std::string newText = Numbered("new ", 1, 100000);
    EXPECT_EQ(ChangedLines(QuickDiff(oldText, newText)), 200000);
    EXPECT_EQ(ChangedLines(QuickDiff("", newText)), 100000);
    EXPECT_EQ(ChangedLines(QuickDiff("only\n", newText)), 100001);
}

// Every line stands in both, in another order: no two neighbours stay together.
TEST(UnifiedDiff, IsQuickForManyLinesInAnotherOrder) {
    std::vector<int> numbers(100000);
    std::iota(numbers.begin(), numbers.end(), 0);
    std::shuffle(numbers.begin(), numbers.end(), Random(3));
    std::string shuffled;
    for (const int number : numbers) {
        shuffled += std::to_string(number) + '\n';
    }
    const std::string sorted = Numbered("", 0, 99999);
    EXPECT_EQ(ChangedLines(QuickDiff(shuffled, sorted)), 200000);
    EXPECT_EQ(ChangedLines(QuickDiff(Numbered("", 0, 60000), shuffled)), 160001);
    EXPECT_EQ(ChangedLines(QuickDiff(sorted + sorted, shuffled)), 300000);
}

TEST(UnifiedDiff, IsQuickForManyLinesOfTwoKinds) {
    Random random(4);
    std::string oldText;
    std::string newText;
    for (int i = 0; i < 100000; ++i) {
        oldText += Below(2, &random) == 0 ? "a\n" : "b\n";
        newText += Below(2, &random) == 0 ? "a\n" : "b\n";
    }
    EXPECT_GT(ChangedLines(QuickDiff(oldText, newText)), 10000);
}

// The worst of what is promised to be as short as possible.
TEST(UnifiedDiff, IsShortestForAThousandDifferencesAmongEqualLines) {
    const std::string many = Repeat("x\n", 39000);
    const std::string oldText = Numbered("old ", 1, 500) + many + "end\n";
    const std::string newText = "begin\n" + many + Numbered("new ", 1, 498);
    EXPECT_EQ(ChangedLines(QuickDiff(oldText, newText)), 1000);
}

// Every second line is another one, far more often than is searched for.
TEST(UnifiedDiff, TakesEverythingBetweenForDifferentBeyondItsBound) {
    std::string oldText = "first\n";
    std::string newText = oldText;
    for (int i = 0; i < 10000; ++i) {
        const std::string number = std::to_string(i);
        oldText += "old " + number + "\nsame " + number + '\n';
        newText += "new " + number + "\nsame " + number + '\n';
    }
    const std::string diff = Diff(oldText, newText);
    EXPECT_EQ(diff.find("@@ -1,20001 +1,20001 @@\n first\n-old 0\n-same 0\n"), 16U);
    EXPECT_EQ(ChangedLines(diff), 2 * 19999);
    if (IsThere("patch")) {
        EXPECT_EQ(Patched(oldText, diff), newText);
    }
}

CTerminal Terminal(bool colour) {
    CTerminal terminal;
    terminal.m_terminal = true;
    terminal.m_colour = colour;
    return terminal;
}

TEST(UnifiedDiff, IsMadeSafeForATerminalAlone) {
    const CLocale locale(kPlainLocale);
    const std::string diff = Diff("\ta\x1B[2J\t\t\r\\\nz", "b\n");
    EXPECT_EQ(output::ForOutput(diff, CTerminal()), diff);
    EXPECT_EQ(output::ForOutput(diff, Terminal(false)),
              "--- old\n+++ new\n@@ -1,2 +1 @@\n-\ta\\x1B[2J\t\t\\x0D\\\\\n-z\n"
              "\\ No newline at end of file\n+b\n");
    EXPECT_EQ(output::ForOutput("", Terminal(true)), "");
}

TEST(UnifiedDiff, HasColourOnATerminalThatAllowsIt) {
    const std::string diff = Diff("same\n-- a\n", "same\n++ b") + Diff("", "\n");
    EXPECT_EQ(output::ForOutput(diff, Terminal(true)), "\033[1m--- old\033[0m\n"
                                                       "\033[1m+++ new\033[0m\n"
                                                       "\033[36m@@ -1,2 +1,2 @@\033[0m\n"
                                                       " same\n"
                                                       "\033[31m--- a\033[0m\n"
                                                       "\033[32m+++ b\033[0m\n"
                                                       "\\ No newline at end of file\n"
                                                       "\033[1m--- old\033[0m\n"
                                                       "\033[1m+++ new\033[0m\n"
                                                       "\033[36m@@ -0,0 +1 @@\033[0m\n"
                                                       "\033[32m+\033[0m\n");
}

} // namespace
