#include "providerbase/CDeviceDescription.h"
#include "tests/support/CTempFile.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/CTraceCapture.h"
#include "tests/support/TableTest.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

// This program's own, which the libraries that it is linked to get, too.
bool isFileKnown = true;
extern "C" __attribute__((visibility("default"))) int fstat(int file,
                                                            struct stat* status) noexcept {
    if (!isFileKnown) {
        errno = EIO;
        return -1;
    }
    return fstatat(file, "", status, AT_EMPTY_PATH);
}

namespace {

using Words = CDeviceDescription::Words;

// ---- Texts that are descriptions ----

struct GoodRow {
    const char* name;
    std::string m_sText;
    std::map<std::string, Words> m_commands;
    int m_iTimeout = 60;
};

void PrintTo(const GoodRow& row, std::ostream* out) {
    *out << testing::PrintToString(row.m_sText);
}

class GoodDescriptionTest : public testing::TestWithParam<GoodRow> {};

TEST_P(GoodDescriptionTest, IsReadWithoutALine) {
    const CTempFile file(GetParam().m_sText);
    const CTraceCapture trace("KzmProviderBase");
    const auto description = CDeviceDescription::Read(file.Path());
    EXPECT_EQ(TraceLines(), trace.Lines());
    ASSERT_TRUE(description);
    EXPECT_EQ(GetParam().m_commands, description->m_commands);
    EXPECT_EQ(GetParam().m_iTimeout, description->m_timeout.count());
}

const GoodRow kGoodRows[] = {
    {"Empty", "", {}},
    {"BlankLinesAndComments", "\n \t \n# Stop=\"\n#\n", {}},
    {"OneWord", "Stop=/bin/true\n", {{"Stop", {"/bin/true"}}}},
    {"NoLineFeedAtTheEnd", "Stop=/bin/true", {{"Stop", {"/bin/true"}}}},
    {"ManyWords", "Stop=/bin/x \t a  b \n", {{"Stop", {"/bin/x", "a", "b"}}}},
    {"LeadingBlanks", "Stop=  /bin/x a\n", {{"Stop", {"/bin/x", "a"}}}},
    {"QuotesGroup", "Stop=\"/my agent/x\" \"a  b\"\n", {{"Stop", {"/my agent/x", "a  b"}}}},
    {"QuotesWithinAWord", "Stop=/bin/x a\"b c\"d\n", {{"Stop", {"/bin/x", "ab cd"}}}},
    {"EmptyArgument", "Stop=/bin/x \"\" a\n", {{"Stop", {"/bin/x", "", "a"}}}},
    {"NothingElseIsSpecial",
     "Stop=/bin/x $HOME ;|&><*?'a b'\\ #c\n",
     {{"Stop", {"/bin/x", "$HOME", ";|&><*?'a", "b'\\", "#c"}}}},
    {"EqualsInTheCommand", "Stop=/bin/x a=b\n", {{"Stop", {"/bin/x", "a=b"}}}},
    {"Utf8InTheCommand", "Stop=/bin/\xC3\xA4\n", {{"Stop", {"/bin/\xC3\xA4"}}}},
    {"ManyCommands", "A=/a\nB-2_x=/b\n", {{"A", {"/a"}}, {"B-2_x", {"/b"}}}},
    {"ShortestTimeout", "TimeoutSeconds=1\n", {}, 1},
    {"LongestTimeout", "TimeoutSeconds=86400\n", {}, 86400},
    {"LeadingZero", "TimeoutSeconds=060\n", {}, 60},
};

INSTANTIATE_TEST_SUITE_P(Rows, GoodDescriptionTest, testing::ValuesIn(kGoodRows), RowName<GoodRow>);

// The first is a regular file whose reading fails.
TEST(DeviceDescriptionTest, ThatFailsWhileItIsReadIsRefused) {
    for (const bool isKnown : {true, false}) {
        const CTempFile file("");
        const CTraceCapture trace("KzmProviderBase");
        isFileKnown = isKnown;
        EXPECT_FALSE(CDeviceDescription::Read(isKnown ? "/proc/self/mem" : file.Path()));
        isFileKnown = true;
        ASSERT_EQ(1U, trace.Lines().size());
        EXPECT_NE(std::string::npos, trace.Lines()[0].m_sText.find(
                                         "cannot be read (Input/output error); make it readable "
                                         "for the running user"))
            << trace.Lines()[0];
    }
}

// ---- Texts that are none ----

struct BadRow {
    const char* name;
    std::string m_sText;
    std::string m_sTrace; // behind the name of the file
};

void PrintTo(const BadRow& row, std::ostream* out) {
    *out << testing::PrintToString(row.m_sText);
}

class BadDescriptionTest : public testing::TestWithParam<BadRow> {};

TEST_P(BadDescriptionTest, IsRefusedWithALineThatHelps) {
    const CTempFile file(GetParam().m_sText);
    const CTraceCapture trace("KzmProviderBase");
    EXPECT_FALSE(CDeviceDescription::Read(file.Path()));
    EXPECT_EQ(
        (TraceLines{{2, "CDeviceDescription::Read() " + file.Path() + " " + GetParam().m_sTrace}}),
        trace.Lines());
}

const char kNoSetting[] = "is no setting; write \"Name=command line\" without a blank in the name, "
                          "or '#' first for a comment";
const char kControl[] = "has a control character; end lines in a line feed alone";
const char kEmpty[] = "has an empty command; give the program to run";
const char kTimeout[] = "has another time-out than a whole number from 1 to 86400; write one";

const BadRow kBadRows[] = {
    {"NoEquals", "Stop\n", std::string("line 1 ") + kNoSetting},
    {"NoName", "=/bin/true\n", std::string("line 1 ") + kNoSetting},
    {"BlankBeforeTheName", "\n Stop=/bin/true\n", std::string("line 2 ") + kNoSetting},
    {"BlankBehindTheName", "Stop =/bin/true\n", std::string("line 1 ") + kNoSetting},
    {"BlankBeforeTheComment", " # x\n", std::string("line 1 ") + kNoSetting},
    {"CarriageReturn", "Stop=/bin/true\r\n", std::string("line 1 ") + kControl},
    {"ZeroByte", std::string("Stop=/bin/true\0x\n", 17), std::string("line 1 ") + kControl},
    {"Escape", "# \x1B[0m\n", std::string("line 1 ") + kControl},
    {"Delete", "Stop=\x7F\n", std::string("line 1 ") + kControl},
    {"OpenQuote", "A=/a\nStop=\"/bin/true\n", "line 2 has a quote that is not closed; close it"},
    {"EmptyCommand", "Stop=\n", std::string("line 1 ") + kEmpty},
    {"BlankCommand", "Stop= \t\n", std::string("line 1 ") + kEmpty},
    {"EmptyProgram", "Stop=\"\" a\n", std::string("line 1 ") + kEmpty},
    {"NameAgain", "A=/a\n\nA=/b\n", "line 3 gives \"A\" again; remove one of the lines"},
    {"TimeoutAgain", "TimeoutSeconds=1\nTimeoutSeconds=1\n",
     "line 2 gives TimeoutSeconds again; remove one of the lines"},
    {"TimeoutZero", "TimeoutSeconds=0\n", std::string("line 1 ") + kTimeout},
    {"TimeoutTooLong", "TimeoutSeconds=86401\n", std::string("line 1 ") + kTimeout},
    {"TimeoutHuge", "TimeoutSeconds=99999999999999999999\n", std::string("line 1 ") + kTimeout},
    {"TimeoutNegative", "TimeoutSeconds=-1\n", std::string("line 1 ") + kTimeout},
    {"TimeoutFraction", "TimeoutSeconds=1.5\n", std::string("line 1 ") + kTimeout},
    {"TimeoutWithUnit", "TimeoutSeconds=60s\n", std::string("line 1 ") + kTimeout},
    {"TimeoutWithBlank", "TimeoutSeconds= 60\n", std::string("line 1 ") + kTimeout},
    {"TimeoutEmpty", "TimeoutSeconds=\n", std::string("line 1 ") + kTimeout},
};

INSTANTIATE_TEST_SUITE_P(Rows, BadDescriptionTest, testing::ValuesIn(kBadRows), RowName<BadRow>);

// ---- Files that cannot be trusted ----

class DescriptionFileTest : public testing::Test {
protected:
    void ExpectRefused(const std::string& path, const std::string& problem) {
        const CTraceCapture trace("KzmProviderBase");
        EXPECT_FALSE(CDeviceDescription::Read(path));
        EXPECT_EQ((TraceLines{{2, "CDeviceDescription::Read() " + path + " " + problem}}),
                  trace.Lines());
    }

    CTempFile m_file{"Stop=/bin/true\n"};
};

TEST_F(DescriptionFileTest, AMissingFileIsNoDescriptionAndNoFault) {
    const CTraceCapture trace("KzmProviderBase");
    EXPECT_FALSE(CDeviceDescription::Read(m_file.Path() + ".missing"));
    EXPECT_EQ(TraceLines(), trace.Lines());
}

TEST_F(DescriptionFileTest, WhatOthersCanWriteIsRefused) {
    for (const mode_t mode : {0620U, 0602U, 0666U}) {
        SCOPED_TRACE(mode);
        chmod(m_file.Path().c_str(), mode);
        ExpectRefused(m_file.Path(),
                      "can be written by others than its owner; run chmod go-w on it");
    }
    chmod(m_file.Path().c_str(), 0744);
    EXPECT_TRUE(CDeviceDescription::Read(m_file.Path()));
}

TEST_F(DescriptionFileTest, WhatAStrangerOwnsIsRefused) {
    if (chown(m_file.Path().c_str(), 65534, 65534) != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    ExpectRefused(m_file.Path(),
                  "is owned by neither root nor the running user; run chown root on it");
}

TEST_F(DescriptionFileTest, WhatIsNoFileIsRefused) {
    const std::string problem = "is not a regular file; put a text file there";
    ExpectRefused(testing::TempDir(), problem);
    ExpectRefused("/dev/null", problem);
    const std::string pipe = m_file.Path() + ".pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    ExpectRefused(pipe, problem);
    unlink(pipe.c_str());
}

TEST_F(DescriptionFileTest, WhatCannotBeOpenedIsRefused) {
    const std::string loop = m_file.Path() + ".loop";
    ASSERT_EQ(0, symlink(loop.c_str(), loop.c_str()));
    ExpectRefused(loop, "cannot be read (Too many levels of symbolic links); make it readable for "
                        "the running user");
    unlink(loop.c_str());
}

TEST_F(DescriptionFileTest, TheSizeHasALimit) {
    const std::size_t limit = 64 * 1024;
    const CTempFile largest(std::string(limit, '#'));
    EXPECT_TRUE(CDeviceDescription::Read(largest.Path()));
    const CTempFile tooLarge(std::string(limit + 1, '#'));
    ExpectRefused(tooLarge.Path(), "is larger than 64 KiB; shorten it");
}

TEST_F(DescriptionFileTest, OfRootsIsTrustedByAll) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    ASSERT_EQ(0, chmod(m_file.Path().c_str(), 0644));
    ASSERT_EQ(0, seteuid(1234));
    const auto description = CDeviceDescription::Read(m_file.Path());
    ASSERT_EQ(0, seteuid(0));
    EXPECT_TRUE(description);
}

TEST_F(DescriptionFileTest, IsLeftClosed) {
    const auto countOpen = [] {
        const std::filesystem::directory_iterator descriptors("/proc/self/fd");
        return std::distance(begin(descriptors), end(descriptors));
    };
    const auto before = countOpen();
    EXPECT_TRUE(CDeviceDescription::Read(m_file.Path()));
    EXPECT_FALSE(CDeviceDescription::Read("/dev/null"));
    EXPECT_EQ(countOpen(), before);
}

} // namespace
