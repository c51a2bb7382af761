#include "serverbase/PrintableText.h"
#include "serverbase/ServiceManager.h"
#include "tests/support/CProcessLimit.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>

using std::string;

namespace {

// Takes what is written to standard error, write by write: each makes a record.
class CErrorRecords {
public:
    CErrorRecords() : m_former(dup(STDERR_FILENO)) {
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, m_pair.data()), 0);
        dup2(m_pair[1], STDERR_FILENO);
    }
    ~CErrorRecords() {
        dup2(m_former, STDERR_FILENO);
        close(m_former);
        close(m_pair[0]);
        close(m_pair[1]);
    }
    CErrorRecords(const CErrorRecords&) = delete;
    CErrorRecords& operator=(const CErrorRecords&) = delete;

    std::vector<string> Take() {
        std::vector<string> records;
        std::array<char, 8192> buffer{};
        for (;;) {
            const ssize_t size = recv(m_pair[0], buffer.data(), buffer.size(), MSG_DONTWAIT);
            if (size < 0) {
                return records;
            }
            records.emplace_back(buffer.data(), static_cast<std::size_t>(size));
        }
    }

    // The stream's name as the journal would tell it.
    static string StreamName() {
        struct stat status {};
        fstat(STDERR_FILENO, &status);
        return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
    }

private:
    int m_former;
    std::array<int, 2> m_pair{};
};

using daemon_base::Level;
using daemon_base::Log;
using Lines = std::vector<string>;

TEST(Log, TellsWhyItWasGivenUp) {
    CErrorRecords records;
    daemon_base::LogException("It was given up", std::runtime_error("no luck\n"));
    EXPECT_EQ(records.Take(), Lines{"It was given up: no luck?.\n"});
}

TEST(Log, SaysNothingForWhichThereIsNoMemory) {
#ifdef KZM_NO_FAULT_TRANSLATION
    GTEST_SKIP() << "the sanitizers take memory of their own";
#endif
    CErrorRecords records;
    // More than what the C library may have kept of memory that was free.
    const string name(std::size_t{128} << 20, 'x');
    {
        const CProcessLimit none(getpid(), RLIMIT_DATA, 1); // 0 would be none
        daemon_base::LogException(name.c_str(), std::runtime_error("no luck"));
    }
    EXPECT_TRUE(records.Take().empty());
}

TEST(Log, WritesALineWithOneWrite) {
    unsetenv("JOURNAL_STREAM");
    CErrorRecords records;
    Log(Level::Error, "no \"socket\"");
    Log(Level::Info, "two\nlines");
    Log(Level::Info, "");
    EXPECT_EQ(records.Take(), (Lines{"no \"socket\"\n", "two?lines\n", "\n"}));
}

TEST(Log, MarksItsLinesForTheJournal) {
    CErrorRecords records;
    setenv("JOURNAL_STREAM", CErrorRecords::StreamName().c_str(), 1);
    Log(Level::Error, "e");
    Log(Level::Warning, "w");
    Log(Level::Notice, "n");
    Log(Level::Info, "<0>i\n<0>j");
    setenv("JOURNAL_STREAM", "1:2", 1);
    Log(Level::Error, "elsewhere");
    unsetenv("JOURNAL_STREAM");
    EXPECT_EQ(records.Take(),
              (Lines{"<3>e\n", "<4>w\n", "<5>n\n", "<6><0>i?<0>j\n", "elsewhere\n"}));
}

struct CPrintableRow {
    const char* m_name;
    string m_text;
    string m_printable;
};

const CPrintableRow kPrintableRows[] = {
    {"empty", "", ""},
    {"plain", "user=x \\ \"?\"", "user=x \\ \"?\""},
    {"zero byte", string("a\0b", 3), "a?b"},
    {"escape sequence", "\x1B[31m", "?[31m"},
    {"line ends and tab", "a\r\nb\tc", "a??b?c"},
    {"delete", "\x7F", "?"},
    {"C1",
     "\xC2\x9B"
     "a",
     "?a"},
    {"first beyond C1", "\xC2\xA0", "\xC2\xA0"},
    {"umlaut", "B\xC3\xBCro", "B\xC3\xBCro"},
    {"beyond the first plane", "\xF0\x9F\x93\x81", "\xF0\x9F\x93\x81"},
    {"lone continuation", "\x80", "?"},
    {"cut short", "a\xE6\x97", "a??"},
    {"overlong", "\xC0\xAF", "??"},
    {"surrogate", "\xED\xA0\x80", "???"},
    {"beyond Unicode", "\xF4\x90\x80\x80", "????"},
    {"right to left", "\xE2\x80\xAE", "?"},
    {"isolate", "\xE2\x81\xA6", "?"},
    {"mark", "\xE2\x80\x8F", "?"},
    {"line separator", "\xE2\x80\xA8", "?"},
    {"valid behind invalid",
     "\xE6/\xFF"
     "x",
     "?/?x"},
};

TEST(Printable, HasNothingThatATerminalObeys) {
    for (const CPrintableRow& row : kPrintableRows) {
        EXPECT_EQ(daemon_base::Printable(row.m_text), row.m_printable) << row.m_name;
    }
}

TEST(Printable, IsCutAtTheLimitBetweenCharacters) {
    const string most(daemon_base::kPrintableBytes, 'x');
    EXPECT_EQ(daemon_base::Printable(most), most);
    EXPECT_EQ(daemon_base::Printable(most + "x"),
              string(daemon_base::kPrintableBytes - 3, 'x') + "...");
    const string umlauts = [] {
        string text = "x";
        for (int i = 0; i < 5000; ++i) {
            text += "\xC3\xBC";
        }
        return text;
    }();
    EXPECT_EQ(daemon_base::Printable(umlauts),
              umlauts.substr(0, daemon_base::kPrintableBytes - 3) + "...");
}

} // namespace
