#include "providerd/door/CommandLine.h"

#include <gtest/gtest.h>

using providerd::CRequestedRun;
using providerd::RunCommandLine;
using RunKind = CRequestedRun::Kind;

namespace {

struct CWordsRow {
    std::vector<std::string> m_words;
    RunKind m_kind;
    const char* m_unknown;
};

const CWordsRow kWordsRows[] = {
    {{}, RunKind::Serve, ""},
    {{"--worker"}, RunKind::Work, ""},
    {{"--check"}, RunKind::Check, ""},
    {{"--help"}, RunKind::Help, ""},
    {{"-h"}, RunKind::Help, ""},
    {{"--version"}, RunKind::Version, ""},
    {{"--verbose"}, RunKind::Unknown, "--verbose"},
    {{""}, RunKind::Unknown, ""},
    {{"--check", "--help"}, RunKind::Unknown, "--help"},
    {{"file", "--help"}, RunKind::Unknown, "file"},
};

TEST(CommandLine, AsksFor) {
    for (const CWordsRow& row : kWordsRows) {
        const CRequestedRun run = providerd::RequestedRun(row.m_words);
        EXPECT_EQ(run.m_kind, row.m_kind) << testing::PrintToString(row.m_words);
        EXPECT_EQ(run.m_unknown, row.m_unknown) << testing::PrintToString(row.m_words);
    }
}

struct COutput {
    int m_status;
    std::string m_out;
    std::string m_error;
};

COutput OutputOf(const std::vector<std::string>& words) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = RunCommandLine(words);
    return {status, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

TEST(CommandLine, TellsWhatItIs) {
    const COutput version = OutputOf({"--version"});
    EXPECT_EQ(version.m_status, 0);
    EXPECT_EQ(version.m_out, "kzm-providerd " KZM_VERSION "\n");
    const COutput help = OutputOf({"--help"});
    EXPECT_EQ(help.m_status, 0);
    EXPECT_EQ(help.m_out.substr(0, 30), "Usage: kzm-providerd [OPTION]\n");
    EXPECT_EQ(help.m_error, "");
}

TEST(CommandLine, RefusesWhatItDoesNotKnow) {
    const COutput output = OutputOf({"--no\n"});
    EXPECT_EQ(output.m_status, 2);
    EXPECT_EQ(output.m_out, "");
    EXPECT_EQ(output.m_error, "kzm-providerd: \"--no?\" is no option. See kzm-providerd --help.\n");
}

} // namespace
