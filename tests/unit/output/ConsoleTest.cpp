#include "loggerctl/output/Console.h"

#include "loggerctl/output/Answer.h"
#include "tests/system/loggerctl/CLocale.h"
#include "tests/unit/output/CStreamCapture.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>

using namespace output;

namespace {

using Json = nlohmann::ordered_json;
using Kind = CStreamCapture::Kind;

struct CSaid {
    std::string m_output;
    std::string m_error;
    ExitCode m_code;
};

struct CRun {
    Format m_format = Format::Text;
    bool m_quiet = false;
    std::vector<std::string> m_notes;
    Kind m_errorKind = Kind::File;
};

// Each note has a detail.
CSaid Say(const CRun& run, const Expected<CAnswer>& result) {
    CStreamCapture output(STDOUT_FILENO, Kind::File);
    CStreamCapture error(STDERR_FILENO, run.m_errorKind);
    CConsole console(run.m_format, run.m_quiet);
    for (const std::string& note : run.m_notes) {
        console.Note(note, {"Its detail."});
    }
    const ExitCode code = console.Finish(result);
    return {output.Text(), error.Text(), code};
}

CAnswer Answer() {
    CAnswer answer;
    answer.m_code = ExitCode::Stopped;
    answer.m_text = "stopped\n";
    answer.m_document = {{"state", "stopped"}};
    return answer;
}

Expected<CAnswer> FailureWithState() {
    CHostState state;
    state.m_stage = "stopped";
    state.m_service = "stopped";
    state.m_serviceText = "The agent's service is stopped.";
    state.m_filesText = "The settings files have changed:";
    state.m_difference = "--- a\n+++ b\n@@ -1 +1 @@\n-\t\x1B[2J\n+b\n";
    state.m_recover = {{"To put the files back as they were:", "loggerctl restore ID"},
                       {"To start the service:", "loggerctl service start"}};
    return tl::unexpected(CFailure{
        ExitCode::Exception, "The settings could not be changed.", {"One.", "Two."}, state});
}

// ---- Text ----

TEST(ConsoleText, PrintsTheAnswer) {
    const CSaid said = Say({}, Answer());
    EXPECT_EQ(said.m_output, "stopped\n");
    EXPECT_EQ(said.m_error, "");
    EXPECT_EQ(said.m_code, ExitCode::Stopped);
}

TEST(ConsoleText, WritesNotesToStandardError) {
    const CSaid said = Say({Format::Text, false, {"First.", "Second."}}, Answer());
    EXPECT_EQ(said.m_output, "stopped\n");
    EXPECT_EQ(said.m_error, "loggerctl: First.\n  Its detail.\n"
                            "loggerctl: Second.\n  Its detail.\n");
}

TEST(ConsoleText, WritesNotesAtOnce) {
    CStreamCapture error(STDERR_FILENO, Kind::File);
    CConsole(Format::Text, false).Note("Now.");
    EXPECT_EQ(error.Text(), "loggerctl: Now.\n");
}

TEST(ConsoleText, SaysNothingWhenQuiet) {
    const CSaid said = Say({Format::Text, true, {"First."}}, Answer());
    EXPECT_EQ(said.m_output, "");
    EXPECT_EQ(said.m_error, "");
    EXPECT_EQ(said.m_code, ExitCode::Stopped);
}

TEST(ConsoleText, NeedsNoOutputForAnEmptyAnswer) {
    const CStreamCapture output(STDOUT_FILENO, Kind::File);
    close(STDOUT_FILENO);
    EXPECT_EQ(CConsole(Format::Text, false).Finish(CAnswer()), ExitCode::Success);
    EXPECT_EQ(CConsole(Format::Text, true).Finish(Answer()), ExitCode::Stopped);
}

TEST(ConsoleText, SaysWhatFailedEvenWhenQuiet) {
    const Expected<CAnswer> failure = output::Fail(ExitCode::Busy, "No.", {"One.", "Two."});
    for (const bool quiet : {false, true}) {
        const CSaid said = Say({Format::Text, quiet, {}}, failure);
        EXPECT_EQ(said.m_output, "");
        EXPECT_EQ(said.m_error, "loggerctl: No.\n  One.\n  Two.\n");
        EXPECT_EQ(said.m_code, ExitCode::Busy);
    }
}

TEST(ConsoleText, SaysWhatAFailureLeavesTheHostWith) {
    const CSaid said = Say({}, FailureWithState());
    EXPECT_EQ(said.m_output, "");
    EXPECT_EQ(said.m_error, "loggerctl: The settings could not be changed.\n"
                            "  One.\n"
                            "  Two.\n"
                            "loggerctl: The state of the host now:\n"
                            "  The settings files have changed:\n"
                            "  --- a\n"
                            "  +++ b\n"
                            "  @@ -1 +1 @@\n"
                            "  -\t\\x1B[2J\n"
                            "  +b\n"
                            "  The agent's service is stopped.\n"
                            "  To put the files back as they were:  loggerctl restore ID\n"
                            "  To start the service:  loggerctl service start\n");
    EXPECT_EQ(said.m_code, ExitCode::Exception);
}

TEST(ConsoleText, SaysTheStateOfTheHostWithoutReasons) {
    CHostState state;
    state.m_serviceText = "The agent's service is stopped.";
    const CFailure failure{ExitCode::Failure, "No.", {}, state};
    EXPECT_NE(Say({}, tl::unexpected(failure)).m_error.find(state.m_serviceText),
              std::string::npos);
}

TEST(ConsoleText, ColoursTheDifferenceOnATerminal) {
    ASSERT_EQ(setenv("TERM", "xterm", 1), 0);
    ASSERT_EQ(unsetenv("NO_COLOR"), 0);
    const CRun run{Format::Text, false, {}, Kind::Terminal};
    EXPECT_NE(Say(run, FailureWithState()).m_error.find("\n  \033[32m+b\033[0m\n"),
              std::string::npos);
    ASSERT_EQ(setenv("NO_COLOR", "1", 1), 0);
    EXPECT_EQ(Say(run, FailureWithState()).m_error.find('\033'), std::string::npos);
    ASSERT_EQ(unsetenv("NO_COLOR"), 0);
}

TEST(ConsoleText, IsAFailureWhenItCannotBeWritten) {
    CStreamCapture output(STDOUT_FILENO, Kind::File);
    CStreamCapture error(STDERR_FILENO, Kind::File);
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_EQ(dup2(full, STDOUT_FILENO), STDOUT_FILENO);
    close(full);
    EXPECT_EQ(CConsole(Format::Text, false).Finish(Answer()), ExitCode::Failure);
    EXPECT_EQ(error.Text(), "loggerctl: The output cannot be written: No space left on device.\n");
}

TEST(ConsoleText, IsAFailureWhenTheOutputIsClosed) {
    CStreamCapture output(STDOUT_FILENO, Kind::File);
    CStreamCapture error(STDERR_FILENO, Kind::File);
    close(STDOUT_FILENO);
    output::SecureStandardStreams();
    EXPECT_GE(fcntl(STDOUT_FILENO, F_GETFD), 0);
    EXPECT_EQ(CConsole(Format::Text, false).Finish(Answer()), ExitCode::Failure);
    EXPECT_EQ(error.Text(), "loggerctl: The output cannot be written: Bad file descriptor.\n");
}

TEST(ConsoleText, SaysThatAChangeWasMadeThatItCannotReport) {
    const std::string done = "What was asked for has been done, though.";
    CStreamCapture output(STDOUT_FILENO, Kind::File);
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_EQ(dup2(full, STDOUT_FILENO), STDOUT_FILENO);
    close(full);
    const auto saysDone = [&done](const Json& document) {
        CStreamCapture error(STDERR_FILENO, Kind::File);
        CAnswer answer = Answer();
        answer.m_document = document;
        EXPECT_EQ(CConsole(Format::Text, false).Finish(answer), ExitCode::Failure);
        return error.Text().find(done) != std::string::npos;
    };
    EXPECT_TRUE(saysDone({{"changed", true}}));
    EXPECT_TRUE(saysDone({{"changed", true}, {"dry_run", false}}));
    EXPECT_FALSE(saysDone({{"changed", true}, {"dry_run", true}}));
    EXPECT_FALSE(saysDone({{"changed", false}}));
    EXPECT_FALSE(saysDone(Json::array({1})));
}

TEST(ConsoleText, LeavesTheOutputOpenAndNothingBesides) {
    CStreamCapture output(STDOUT_FILENO, Kind::File);
    const auto countOpen = [] {
        const std::filesystem::directory_iterator descriptors("/proc/self/fd");
        return std::distance(begin(descriptors), end(descriptors));
    };
    const auto before = countOpen();
    EXPECT_EQ(CConsole(Format::Text, false).Finish(Answer()), ExitCode::Stopped);
    EXPECT_GE(fcntl(STDOUT_FILENO, F_GETFD), 0);
    EXPECT_EQ(countOpen(), before);
}

TEST(SecureStandardStreams, OpensEachStreamThatIsClosedTheWrongWayRound) {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        const int former = dup(stream);
        close(stream);
        output::SecureStandardStreams();
        const int flags = fcntl(stream, F_GETFL);
        dup2(former, stream);
        close(former);
        ASSERT_GE(flags, 0) << stream;
        EXPECT_EQ(flags & O_ACCMODE, stream == STDIN_FILENO ? O_WRONLY : O_RDONLY) << stream;
    }
}

// ---- JSON ----

TEST(ConsoleJson, IsTheDocumentWithTheWarnings) {
    const CSaid said = Say({Format::Json, true, {"First.", "Second."}}, Answer());
    EXPECT_EQ(said.m_output, "{\n"
                             "  \"state\": \"stopped\",\n"
                             "  \"warnings\": [\n"
                             "    \"First.\\n  Its detail.\",\n"
                             "    \"Second.\\n  Its detail.\"\n"
                             "  ]\n"
                             "}\n");
    EXPECT_EQ(said.m_error, "");
    EXPECT_EQ(said.m_code, ExitCode::Stopped);
}

TEST(ConsoleJson, HasWarningsEvenWhenThereAreNone) {
    EXPECT_EQ(Say({Format::Json, false, {}}, Answer()).m_output, "{\n"
                                                                 "  \"state\": \"stopped\",\n"
                                                                 "  \"warnings\": []\n"
                                                                 "}\n");
}

TEST(ConsoleJson, KeepsTheDocumentsOwnWarnings) {
    CAnswer answer;
    answer.m_document = {{"warnings", {"Own."}}, {"last", true}};
    EXPECT_EQ(Say({Format::Json, false, {"First."}}, answer).m_output,
              "{\n"
              "  \"warnings\": [\n"
              "    \"Own.\",\n"
              "    \"First.\\n  Its detail.\"\n"
              "  ],\n"
              "  \"last\": true\n"
              "}\n");
}

TEST(ConsoleJson, HasNoPlaceForWarningsInOtherDocuments) {
    CAnswer array = Answer();
    array.m_document = {1, 2};
    CAnswer finished = Answer();
    finished.m_json = [] { return std::string("[\n  1,\n  2\n]\n"); };
    for (const CAnswer& answer : {array, finished}) {
        const CSaid said = Say({Format::Json, false, {"First."}}, answer);
        EXPECT_EQ(said.m_output, "[\n  1,\n  2\n]\n");
        EXPECT_EQ(said.m_error, "loggerctl: First.\n  Its detail.\n");
        EXPECT_EQ(Say({Format::Json, true, {"First."}}, answer).m_error, "");
    }
}

TEST(ConsoleJson, IsNotAskedForFinishedTextWhenItIsNotPrinted) {
    CAnswer answer = Answer();
    answer.m_json = []() -> std::string { throw std::logic_error("asked"); };
    EXPECT_EQ(Say({}, answer).m_output, "stopped\n");
}

TEST(ConsoleJson, SaysWhatFailed) {
    const CSaid said = Say({Format::Json, false, {}},
                           Expected<CAnswer>(output::Fail(ExitCode::NoRights, "No.", {"One."})));
    EXPECT_EQ(said.m_output, "{\n"
                             "  \"error\": {\n"
                             "    \"code\": 8,\n"
                             "    \"name\": \"no-rights\",\n"
                             "    \"message\": \"No.\",\n"
                             "    \"reasons\": [\n"
                             "      \"One.\"\n"
                             "    ]\n"
                             "  },\n"
                             "  \"warnings\": []\n"
                             "}\n");
    EXPECT_EQ(said.m_error, "");
    EXPECT_EQ(said.m_code, ExitCode::NoRights);
}

TEST(ConsoleJson, SaysWhatAFailureLeavesTheHostWith) {
    const CSaid said = Say({Format::Json, true, {"First."}}, FailureWithState());
    EXPECT_EQ(said.m_output,
              "{\n"
              "  \"error\": {\n"
              "    \"code\": 5,\n"
              "    \"name\": \"exception\",\n"
              "    \"message\": \"The settings could not be changed.\",\n"
              "    \"reasons\": [\n"
              "      \"One.\",\n"
              "      \"Two.\"\n"
              "    ],\n"
              "    \"stage\": \"stopped\",\n"
              "    \"host_state\": {\n"
              "      \"service\": \"stopped\",\n"
              "      \"files\": \"changed\",\n"
              "      \"difference\": \"--- a\\n+++ b\\n@@ -1 +1 @@\\n-\\t\\u001b[2J\\n+b\\n\"\n"
              "    },\n"
              "    \"recover_with\": [\n"
              "      \"loggerctl restore ID\",\n"
              "      \"loggerctl service start\"\n"
              "    ]\n"
              "  },\n"
              "  \"warnings\": [\n"
              "    \"First.\\n  Its detail.\"\n"
              "  ]\n"
              "}\n");
    EXPECT_EQ(said.m_error, "");
    EXPECT_EQ(said.m_code, ExitCode::Exception);
}

TEST(ConsoleJson, SaysThatTheFilesAreAsTheyWere) {
    const Expected<CAnswer> failure =
        tl::unexpected(CFailure{ExitCode::Failure, "No.", {}, CHostState{}});
    const Json error = Json::parse(Say({Format::Json, false, {}}, failure).m_output)["error"];
    EXPECT_EQ(error["reasons"], Json::array());
    EXPECT_EQ(error["host_state"]["files"], "unchanged");
    EXPECT_EQ(error["host_state"]["difference"], "");
    EXPECT_EQ(error["recover_with"], Json::array());
}

TEST(ConsoleJson, IsAFailureWhenItCannotBeWritten) {
    CStreamCapture output(STDOUT_FILENO, Kind::File);
    CStreamCapture error(STDERR_FILENO, Kind::File);
    close(STDOUT_FILENO);
    CConsole console(Format::Json, true);
    EXPECT_EQ(console.Finish(FailureWithState()), ExitCode::Failure);
    const std::string begin = "loggerctl: The output cannot be written: Bad file descriptor.\n";
    EXPECT_EQ(error.Text(), begin + Say({}, FailureWithState()).m_error);
}

TEST(ConsoleJson, SaysWhatFailedWhenTheReaderOfItsDocumentHasGone) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    close(ends[0]);
    CStreamCapture output(STDOUT_FILENO, Kind::File);
    CStreamCapture error(STDERR_FILENO, Kind::File);
    ASSERT_EQ(dup2(ends[1], STDOUT_FILENO), STDOUT_FILENO);
    close(ends[1]);
    EXPECT_EQ(CConsole(Format::Json, false).Finish(FailureWithState()), ExitCode::Failure);
    const std::string begin = "loggerctl: The output cannot be written: Broken pipe.\n";
    EXPECT_EQ(error.Text().substr(0, begin.size()), begin);
    struct sigaction action {};
    sigaction(SIGPIPE, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
}

// ---- JSON as text ----

TEST(ToText, IsSafeToPrintAndMeansTheSame) {
    const Json document = {
        {"name\x7F", "\x1B[2J\n\t\x7F\xC2\x9B B\xC3\xBCro \xE2\x80\xAE\xE2\x80\xA8 \xE6\x97\xA5"}};
    const CLocale utf8(kUtf8Locale);
    const std::string text = output::ToText(document);
    EXPECT_EQ(text, "{\n  \"name\\u007f\": \"\\u001b[2J\\n\\t\\u007f\\u009b B\xC3\xBCro "
                    "\\u202e\\u2028 \xE6\x97\xA5\"\n}\n");
    EXPECT_EQ(Json::parse(text), document);
    const CLocale plain(kPlainLocale);
    const std::string ascii = output::ToText(document);
    EXPECT_EQ(ascii, "{\n  \"name\\u007f\": \"\\u001b[2J\\n\\t\\u007f\\u009b B\\u00fcro "
                     "\\u202e\\u2028 \\u65e5\"\n}\n");
    EXPECT_EQ(Json::parse(ascii), document);
}

TEST(ToText, IsSafeWithOneUnsafeCharacterAlone) {
    const CLocale utf8(kUtf8Locale);
    EXPECT_EQ(output::ToText("\x7F"), "\"\\u007f\"\n");
    EXPECT_EQ(output::ToText("\xC2\x9B"), "\"\\u009b\"\n");
    EXPECT_EQ(output::ToText("\xE2\x80\xAE"), "\"\\u202e\"\n");
}

TEST(ToText, ReplacesWhatIsNotUtf8) {
    const CLocale utf8(kUtf8Locale);
    EXPECT_EQ(output::ToText("a\xFFz"), "\"a\xEF\xBF\xBDz\"\n");
}

TEST(ToText, OfBytesIsReadable) {
    const CLocale utf8(kUtf8Locale);
    EXPECT_EQ(output::JsonString("/B\xC3\xBCro\x1B\\"), Json("/B\xC3\xBCro\x1B\\"));
    EXPECT_EQ(output::JsonString("/\xFF\x1B\\\xC3\xBC"), Json("/\\xFF\\x1B\\\\\xC3\xBC"));
    EXPECT_EQ(output::JsonString(""), Json(""));
    EXPECT_EQ(output::JsonLines("a\n\tb\xFF\n\nc\xC3\xBC"), Json("a\n\\x09b\\xFF\n\nc\xC3\xBC"));
    EXPECT_EQ(output::JsonLines("a\n\xFF\n"), Json("a\n\\xFF\n"));
    EXPECT_EQ(output::JsonLines(""), Json(""));
}

TEST(ToText, IsQuickForManyRows) {
    const CLocale utf8(kUtf8Locale);
    Json document = Json::array();
    for (int i = 0; i < 10000; ++i) {
        document.push_back({{"name", "/srv/B\xC3\xBCro/" + std::to_string(i)}, {"threshold", 90}});
    }
    const std::clock_t begin = std::clock(); // what else the machine does is not counted
    EXPECT_GT(output::ToText(document).size(), 500000U);
    EXPECT_LT(std::clock() - begin, 2 * CLOCKS_PER_SEC);
}

} // namespace
