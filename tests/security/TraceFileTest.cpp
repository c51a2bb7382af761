// What stands in the place of the trace file, and what a text in the trace can do to its reader.

#include "comlib/CTraceUtility.h"
#include "tests/support/CTempFile.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/TableTest.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace fs = std::filesystem;
using std::string;

namespace {

// The open file's flags in this process; -1 when it is not open.
int FlagsOf(const string& path) {
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone; // the folder's own descriptor
        if (fs::read_symlink(entry.path(), gone) == path) {
            return fcntl(std::stoi(entry.path().filename().string()), F_GETFL);
        }
    }
    return -1;
}

class TraceFile : public testing::Test {
protected:
    ~TraceFile() override {
        CTraceUtility::SetDestination(0, "");
        fs::remove(m_sPlace);
    }

    static void Trace(const string& text) {
        CTraceUtility::WriteDebug("M", CTraceUtility::TRACE_DBG_VALUE, "%s", text.c_str());
    }

    CTempFile m_file{"precious\n"};
    string m_sPlace = m_file.Path() + ".place";
};

TEST_F(TraceFile, ThatIsALinkIsAppendedToAndKeepsWhatItHolds) {
    ASSERT_EQ(0, chmod(m_file.Path().c_str(), 0640));
    fs::create_symlink(m_file.Path(), m_sPlace);
    ASSERT_TRUE(CTraceUtility::SetDestination(0xF, m_sPlace));
    Trace("text");
    const string now = ReadFile(m_file.Path());
    EXPECT_EQ("precious\n", now.substr(0, 9));
    EXPECT_EQ(" 1 M text\n", now.substr(now.size() - 10));
    struct stat status {};
    ASSERT_EQ(0, stat(m_file.Path().c_str(), &status));
    EXPECT_EQ(0640U, status.st_mode & 07777);
}

TEST_F(TraceFile, ThatIsAPipeWithoutAReaderIsNotWaitedFor) {
    ASSERT_EQ(0, mkfifo(m_sPlace.c_str(), 0600));
    EXPECT_FALSE(CTraceUtility::SetDestination(0xF, m_sPlace));
    EXPECT_EQ(-1, FlagsOf(m_sPlace));
}

TEST_F(TraceFile, ThatIsAPipeWithAReaderLosesNoLine) {
    ASSERT_EQ(0, mkfifo(m_sPlace.c_str(), 0600));
    const int reader = open(m_sPlace.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_TRUE(CTraceUtility::SetDestination(0xF, m_sPlace));
    close(reader); // now the trace alone has it open
    EXPECT_EQ(O_WRONLY | O_APPEND, FlagsOf(m_sPlace) & (O_ACCMODE | O_APPEND | O_NONBLOCK));
}

// ---- Texts ----

struct TextRow {
    const char* name;
    string m_sText;
    string m_sWritten;
};
std::ostream& operator<<(std::ostream& out, const TextRow& row) {
    return out << row.name;
}

class TracedText : public TraceFile, public testing::WithParamInterface<TextRow> {};

TEST_P(TracedText, IsOneLineThatNoTerminalObeys) {
    const CTempFile file("");
    ASSERT_TRUE(CTraceUtility::SetDestination(0xF, file.Path()));
    Trace(GetParam().m_sText);
    const string line = ReadFile(file.Path());
    const string end = " 1 M " + GetParam().m_sWritten + "\n";
    ASSERT_LE(end.size(), line.size());
    EXPECT_EQ(end, line.substr(line.size() - end.size()));
    EXPECT_EQ(line.size() - 1, line.find('\n'));
}

const TextRow kTexts[] = {
    {"LineThatIsForged", "x\n2026-11-21 1 2 M forged", "x\\x0A2026-11-21 1 2 M forged"},
    {"Escape", "\x1B[2J", "\\x1B[2J"},
    {"ControlOfTwoBytes",
     "\xC2\x9B"
     "2J",
     "\\xC2\\x9B2J"},
    {"FirstControlOfTwoBytes", "\xC2\x80", "\\xC2\\x80"},
    {"LastControlOfTwoBytes", "\xC2\x9F", "\\xC2\\x9F"},
    {"ControlsSideBySide", "\xC2\x9B\xC2\x9B\n", "\\xC2\\x9B\\xC2\\x9B\\x0A"},
    {"FirstBehindTheControls", "\xC2\xA0", "\xC2\xA0"},
    {"FirstByteAlone", "a\xC2", "a\xC2"},
    {"SecondByteOfALetter", "\xC3\x9C", "\xC3\x9C"},
    {"FormatDirectives", "%s%n%999999d", "%s%n%999999d"},
};

INSTANTIATE_TEST_SUITE_P(Texts, TracedText, testing::ValuesIn(kTexts), RowName<TextRow>);

} // namespace
