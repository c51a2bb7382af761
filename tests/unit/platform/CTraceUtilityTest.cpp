#include "comlib/CTraceUtility.h"
#include "tests/support/CTempFile.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/CTraceCapture.h"
#include "tests/support/TableTest.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cwchar>
#include <new>
#include <regex>
#include <sstream>
#include <thread>

namespace {

const auto kValue = CTraceUtility::TRACE_DBG_VALUE;
const auto kFailure = CTraceUtility::TRACE_DBG_FAILURE;

std::vector<std::string> SplitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line)) {
        lines.push_back(line);
    }
    return lines;
}

// What stands behind the time and the process id of each line.
std::vector<std::string> TextsOf(const std::string& text) {
    std::vector<std::string> texts;
    for (const std::string& line : SplitLines(text)) {
        texts.push_back(std::regex_replace(line, std::regex("^[^ ]+ [0-9]+ "), ""));
    }
    return texts;
}

class CTraceUtilityTest : public testing::Test {
protected:
    CTraceUtilityTest() { CTraceUtility::SetDestination(0xF, m_file.Path()); }
    ~CTraceUtilityTest() override {
        CTraceUtility::SetListener(0, {});
        CTraceUtility::SetDestination(0, "");
    }

    std::string Traced() { return ReadFile(m_file.Path()); }

    CTempFile m_file{""};
};

TEST_F(CTraceUtilityTest, ALineHasTimeProcessLevelModuleAndText) {
    CTraceUtility::WriteDebug("TarnwellLogger", kFailure, "%s is FAILED %08x", "set", 0x80041005U);
    const std::regex form("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}[+-]\\d{4} (\\d+) 2 "
                          "TarnwellLogger set is FAILED 80041005\n");
    const std::string traced = Traced();
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(traced, parts, form)) << traced;
    EXPECT_EQ(std::to_string(getpid()), parts[1]);
}

TEST_F(CTraceUtilityTest, TheTimeIsTheLocalTimeOfNow) {
    const char* before = getenv("TZ");
    const std::string zone = before == nullptr ? "" : before;
    setenv("TZ", "XXX-05:30", 1);
    tzset();
    const time_t now = time(nullptr);
    CTraceUtility::WriteDebug("Module", kValue, "text");
    const std::string traced = Traced();
    tm local{};
    std::istringstream stream(traced);
    strptime(traced.c_str(), "%Y-%m-%dT%H:%M:%S", &local);
    EXPECT_EQ("+0530", traced.substr(23, 5)) << traced;
    EXPECT_LE(timegm(&local) - (5 * 60 + 30) * 60 - now, 2) << traced;
    EXPECT_GE(timegm(&local) - (5 * 60 + 30) * 60 - now, 0) << traced;
    zone.empty() ? unsetenv("TZ") : setenv("TZ", zone.c_str(), 1);
    tzset();
}

TEST_F(CTraceUtilityTest, OnlyTheLevelsOfTheMaskAreWritten) {
    CTraceUtility::SetDestination(2 | 8, m_file.Path());
    for (const int level : {1, 2, 4, 8}) {
        CTraceUtility::WriteDebug("M", static_cast<CTraceUtility::TRACE_DBG_LEVEL>(level), "text");
    }
    EXPECT_EQ((std::vector<std::string>{"2 M text", "8 M text"}), TextsOf(Traced()));
}

TEST_F(CTraceUtilityTest, AMaskedLineIsNotFormatted) {
    CTraceUtility::SetDestination(0xF & ~static_cast<unsigned int>(kValue), m_file.Path());
    int written = -1;
    CTraceUtility::WriteDebug("M", kValue, "text%n", &written);
    EXPECT_EQ(-1, written);
    CTraceUtility::WriteDebug("M", kFailure, "text%n", &written);
    EXPECT_EQ(4, written);
}

TEST_F(CTraceUtilityTest, ControlCharactersAreEscapedInTheDestinationOnly) {
    const CTraceCapture capture("M");
    CTraceUtility::WriteDebug("M", kValue, "%s", "a\nb\tc\x1F\x7F\x1B[0m \\ \xC3\xA4");
    EXPECT_EQ((std::vector<std::string>{"1 M a\\x0Ab\\x09c\\x1F\\x7F\\x1B[0m \\ \xC3\xA4"}),
              TextsOf(Traced()));
    EXPECT_EQ((TraceLines{{1, "a\nb\tc\x1F\x7F\x1B[0m \\ \xC3\xA4"}}), capture.Lines());
}

TEST_F(CTraceUtilityTest, LongLinesAreNotCut) {
    const std::string volume(10'000, 'v');
    CTraceUtility::WriteDebug("M", kValue, "[%s]", volume.c_str());
    EXPECT_EQ((std::vector<std::string>{"1 M [" + volume + "]"}), TextsOf(Traced()));
}

TEST_F(CTraceUtilityTest, ErrnoIsPreserved) {
    for (const std::string& path : {m_file.Path(), std::string("/dev/full")}) {
        SCOPED_TRACE(path);
        ASSERT_TRUE(CTraceUtility::SetDestination(0xF, path));
        errno = EDOM;
        CTraceUtility::WriteDebug("M", kValue, "text");
        EXPECT_EQ(EDOM, errno);
    }
    EXPECT_EQ((std::vector<std::string>{"1 M text"}), TextsOf(Traced()));
}

TEST_F(CTraceUtilityTest, TheFileIsAppendedToAndNobodyElsesToRead) {
    const std::string path = m_file.Path() + ".new";
    umask(0);
    ASSERT_TRUE(CTraceUtility::SetDestination(0xF, path));
    umask(022);
    CTraceUtility::WriteDebug("M", kValue, "first");
    struct stat status {};
    ASSERT_EQ(0, stat(path.c_str(), &status));
    EXPECT_EQ(0600U, status.st_mode & 07777);
    ASSERT_TRUE(CTraceUtility::SetDestination(0xF, path));
    CTraceUtility::WriteDebug("M", kValue, "second");
    EXPECT_EQ((std::vector<std::string>{"1 M first", "1 M second"}), TextsOf(ReadFile(path)));
    unlink(path.c_str());
}

TEST_F(CTraceUtilityTest, AFileThatCannotBeOpenedChangesNothing) {
    EXPECT_FALSE(CTraceUtility::SetDestination(0, m_file.Path() + "/missing"));
    CTraceUtility::WriteDebug("M", kValue, "still here");
    EXPECT_EQ((std::vector<std::string>{"1 M still here"}), TextsOf(Traced()));
}

TEST_F(CTraceUtilityTest, TheListenerHasAMaskOfItsOwn) {
    std::vector<std::string> heard;
    CTraceUtility::SetDestination(1, m_file.Path());
    CTraceUtility::SetListener(2, [&heard](const CTraceUtility::Line& line) {
        heard.push_back(line.m_sModule + std::to_string(line.m_iLevel) + line.m_sText);
    });
    CTraceUtility::WriteDebug("M", kValue, "value");
    CTraceUtility::WriteDebug("M", kFailure, "failure");
    EXPECT_EQ((std::vector<std::string>{"1 M value"}), TextsOf(Traced()));
    EXPECT_EQ(std::vector<std::string>{"M2failure"}, heard);
    CTraceUtility::SetListener(0xF, {});
    CTraceUtility::WriteDebug("M", kFailure, "unheard");
    EXPECT_EQ(1U, heard.size());
}

TEST_F(CTraceUtilityTest, AFormatThatCannotBeFilledIsWrittenItself) {
    // No character of the locale that a program starts with.
    CTraceUtility::WriteDebug("M", kValue, "[%lc]", static_cast<wint_t>(0x1F600));
    EXPECT_EQ((std::vector<std::string>{"1 M [%lc]"}), TextsOf(Traced()));
}

TEST_F(CTraceUtilityTest, ALineWithoutMemoryIsDropped) {
    bool isFull = true;
    std::vector<std::string> heard;
    CTraceUtility::SetListener(0xF, [&](const CTraceUtility::Line& line) {
        if (isFull) {
            throw std::bad_alloc();
        }
        heard.push_back(line.m_sText);
    });
    EXPECT_NO_THROW(CTraceUtility::WriteDebug("M", kValue, "dropped"));
    isFull = false;
    CTraceUtility::WriteDebug("M", kValue, "heard");
    EXPECT_EQ(std::vector<std::string>{"heard"}, heard);
}

TEST_F(CTraceUtilityTest, LinesOfManyThreadsStayWhole) {
    const std::string text(2000, 't');
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back([&text] {
            for (int line = 0; line < 200; ++line) {
                CTraceUtility::WriteDebug("M", kValue, "%s", text.c_str());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::vector<std::string> lines = TextsOf(Traced());
    EXPECT_EQ(std::vector<std::string>(1600, "1 M " + text), lines);
}

// ---- What the environment does to a process's trace ----

struct EnvironmentRow {
    const char* name;
    const char* m_pMask; // null is unset
    std::vector<std::string> m_texts;
};

void PrintTo(const EnvironmentRow& row, std::ostream* out) {
    *out << "KZM_TRACE=" << testing::PrintToString(row.m_pMask);
}

// The standard error of the traced program.
std::string RunTraceProgram(const std::string& environment, const std::string& arguments = "") {
    const std::string command = "env -u KZM_TRACE -u KZM_TRACE_FILE " + environment + " " +
                                KZM_TRACE_PROGRAM + " " + arguments + " 2>&1 >/dev/null";
    std::FILE* output = popen(command.c_str(), "r");
    std::string text;
    for (int character = std::fgetc(output); character != EOF; character = std::fgetc(output)) {
        text += static_cast<char>(character);
    }
    EXPECT_EQ(0, pclose(output)) << command;
    return text;
}

class TraceEnvironmentTest : public testing::TestWithParam<EnvironmentRow> {
protected:
    static std::string Mask() {
        return GetParam().m_pMask == nullptr
                   ? ""
                   : std::string("KZM_TRACE='") + GetParam().m_pMask + "'";
    }
};

TEST_P(TraceEnvironmentTest, GivesTheMask) {
    EXPECT_EQ(GetParam().m_texts, TextsOf(RunTraceProgram(Mask())));
}

TEST_P(TraceEnvironmentTest, GivesTheFile) {
    const CTempFile file("");
    EXPECT_EQ("", RunTraceProgram(Mask() + " KZM_TRACE_FILE=" + file.Path()));
    EXPECT_EQ(GetParam().m_texts, TextsOf(ReadFile(file.Path())));
}

TEST_P(TraceEnvironmentTest, FallsBackToStandardError) {
    const std::string environment = Mask() + " KZM_TRACE_FILE=/dev/null/missing";
    EXPECT_EQ(GetParam().m_texts, TextsOf(RunTraceProgram(environment)));
}

const std::vector<std::string> kNothing;
const std::vector<std::string> kEverything{"1 Module value", "2 Module failure", "4 Module flow",
                                           "8 Module exception"};

const EnvironmentRow kEnvironmentRows[] = {
    {"Unset", nullptr, kNothing},
    {"Empty", "", kNothing},
    {"Zero", "0", kNothing},
    {"OneLevel", "2", {"2 Module failure"}},
    {"Decimal", "10", {"2 Module failure", "8 Module exception"}},
    {"Hexadecimal", "0xA", {"2 Module failure", "8 Module exception"}},
    {"UpperCaseHexadecimal", "0X0a", {"2 Module failure", "8 Module exception"}},
    {"All", "15", kEverything},
    {"AllBits", "0xFFFFFFFF", kEverything},
    {"TooLarge", "0x1FFFFFFFF", kNothing},
    {"NoNumber", "all", kNothing},
    {"NumberAndMore", "15x", kNothing},
    {"LeadingBlank", " 15", kNothing},
    {"Negative", "-1", kNothing},
    {"PrefixAlone", "0x", kNothing},
};

INSTANTIATE_TEST_SUITE_P(Rows, TraceEnvironmentTest, testing::ValuesIn(kEnvironmentRows),
                         RowName<EnvironmentRow>);

TEST(TraceEnvironment, CountsAlthoughSomebodyListens) {
    EXPECT_EQ(std::vector<std::string>{"2 Module failure"},
              TextsOf(RunTraceProgram("KZM_TRACE=2", "listening")));
}

TEST(TraceEnvironment, MakesNoFileWhereNothingIsTraced) {
    const CTempFile file("");
    unlink(file.Path().c_str());
    EXPECT_EQ("", RunTraceProgram("KZM_TRACE_FILE=" + file.Path()));
    EXPECT_NE(0, access(file.Path().c_str(), F_OK));
}

TEST_F(CTraceUtilityTest, StandardErrorStaysOpen) {
    CTraceUtility::SetDestination(0, "");
    CTraceUtility::SetDestination(0xF, m_file.Path());
    EXPECT_GE(fcntl(STDERR_FILENO, F_GETFD), 0);
}

TEST_F(CTraceUtilityTest, ALineHasTheTimeOfItsWriting) {
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_REALTIME, &time);
        return time;
    };
    timespec before{};
    timespec after{};
    do { // both in one second
        before = now();
        CTraceUtility::WriteDebug("Module", kValue, "text");
        after = now();
    } while (before.tv_sec != after.tv_sec);
    const std::string line = SplitLines(Traced()).back();
    const long milliseconds = std::stol(line.substr(line.find('.') + 1, 3));
    EXPECT_GE(milliseconds, before.tv_nsec / 1'000'000);
    EXPECT_LE(milliseconds, after.tv_nsec / 1'000'000);
}

} // namespace
