// The order in which "loggerctl set" and "loggerctl restore" lock, read, write and sync, with modes
// and flags: docs/reliability.md tells it, and their traces are held against that text.

#include "KzmPaths.h"
#include "tests/support/CProgram.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/TableTest.h"
#include "tests/system/loggerctl/SampleHistory.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace fs = std::filesystem;
using namespace SampleHistory;
using std::string;

namespace {

constexpr char kStrace[] = "/usr/bin/strace";
constexpr char kCalls[] = "trace=flock,openat,close,mkdir,mkdirat,chmod,fchmod,fchown,utimensat,"
                          "write,writev,fsync,rename,renameat,unlink,unlinkat";

bool CanTrace() {
    static const bool can =
        std::system("strace -o /dev/null -e inject=getpid:error=EPERM true 2>/dev/null") == 0;
    return can;
}

string Trace(const CProgram::Words& arguments, mode_t mask) {
    const string file = CTestRoot::Path("/trace");
    CProgram program(arguments);
    program.SetEnvironment("ASAN_OPTIONS=detect_leaks=0"); // which needs to trace, too
    program.SetWrapper({kStrace, "-y", "-e", kCalls, "-e", "signal=none", "-o", file});
    const mode_t before = umask(mask);
    const CProgram::Result result = program.Run();
    umask(before);
    EXPECT_EQ(0, result.m_iExitCode) << result.m_sError;
    return ReadFile(file);
}

// One line of the trace, taken apart.
struct Call {
    string name;
    string descriptor; // its number
    string folder;     // of a relative path, or the file of a descriptor
    string path;
    string rest; // the arguments behind
};

// The copy that there is at first is OLD, the new one ID.
string WithoutIds(const string& text) {
    return std::regex_replace(std::regex_replace(WithoutNewIds(text), std::regex(kOlder), "OLD"),
                              std::regex("NEWID"), "ID");
}

// Names as the document has them; empty for files that it says nothing of.
string Name(string path) {
    path = fs::path(path).lexically_normal().string();
    for (const char* file : {KzmPaths::kAgentConfig, KzmPaths::kCallerLock, KzmPaths::kLockFile}) {
        const string folder = fs::path(file).parent_path().string();
        if (path == folder) {
            return file == KzmPaths::kAgentConfig ? "settings/" : fs::path(folder).filename();
        }
        if (path.rfind(folder + "/", 0) == 0) {
            return WithoutIds(path.substr(folder.size() + 1));
        }
    }
    return "";
}

string Flags(const string& text) {
    constexpr std::array<std::pair<const char*, const char*>, 4> kFlags{{{"O_EXCL", "excl"},
                                                                         {"O_NOFOLLOW", "nofollow"},
                                                                         {"O_CLOEXEC", "cloexec"},
                                                                         {"O_TRUNC", "trunc"}}};
    string flags;
    for (const auto& [flag, word] : kFlags) {
        flags += text.find(flag) == string::npos ? "" : string(flags.empty() ? "" : ",") + word;
    }
    return flags.empty() ? "" : " (" + flags + ")";
}

string Mode(const string& text) {
    static const std::regex kMode("\\b0[0-7]{3,4}\\b");
    std::smatch mode;
    return std::regex_search(text, mode, kMode) ? " " + mode.str() : "";
}

// What an open file is opened for.
string Opening(const Call& call, const string& name) {
    const bool makes = call.rest.find("O_CREAT") != string::npos;
    const bool writes = call.rest.find("O_WRONLY") != string::npos;
    const char* verb = makes ? "make " : writes ? "rewrite " : "open ";
    return verb + name + Mode(call.rest) + Flags(call.rest);
}

class CSteps {
public:
    explicit CSteps(const string& trace) {
        static const std::regex kLine(
            R"x((\w+)\((?:(?:AT_FDCWD|(\d+))(?:<([^>]*)>)?(?:, )?)?(?:"([^"]*)")?(.*)\) += \d.*)x");
        std::istringstream lines(trace);
        for (string line; std::getline(lines, line);) {
            std::smatch part;
            if (std::regex_match(line, part, kLine)) {
                Add({part[1], part[2], part[3], part[4], part[5]});
            }
        }
    }

    [[nodiscard]] string Text() const { return m_text; }

private:
    void Add(const Call& call) {
        const bool isOfDescriptor = call.path.empty() || call.name.find("write") == 0;
        const string name =
            Name(isOfDescriptor ? call.folder : (fs::path(call.folder) / call.path).string());
        const string step = name.empty() ? "" : Step(call, name);
        if (!step.empty() && step != m_last) {
            m_text += step + "\n";
            m_last = step;
        }
    }

    string Step(const Call& call, const string& name) {
        if (call.name == "openat") {
            return Opening(call, name);
        }
        if (call.name == "flock") {
            m_locked.insert(call.descriptor);
            return (call.rest.find("LOCK_UN") == string::npos ? "lock " : "unlock ") + name;
        }
        if (call.name == "close") {
            return m_locked.erase(call.descriptor) == 0 ? "" : "close " + name;
        }
        if (call.name.find("rename") == 0) {
            return "rename " + name + " to " + Target(call.rest);
        }
        if (call.name.find("mkdir") == 0) {
            return "make " + name + "/" + Mode(call.rest);
        }
        if (call.name == "fchown") {
            return "owner " + name + " " + call.rest;
        }
        if (call.name == "fchmod" || call.name == "chmod") {
            return "mode " + name + Mode(call.rest);
        }
        static const std::map<string, string> kVerbs{{"utimensat", "times "},
                                                     {"fsync", "sync "},
                                                     {"unlinkat", "remove "},
                                                     {"write", "write "},
                                                     {"writev", "write "}};
        const auto verb = kVerbs.find(call.name);
        return verb == kVerbs.end() ? "other " + name : verb->second + name;
    }

    static string Target(const string& rest) {
        const std::size_t begin = rest.find('"') + 1;
        return WithoutIds(rest.substr(begin, rest.rfind('"') - begin));
    }

    string m_text;
    string m_last;
    std::set<string> m_locked;
};

// The lines of the document behind a heading, up to the end of their block.
string Documented(const string& heading) {
    const string text = ReadFile(RELIABILITY_PAGE);
    const std::size_t begin = text.find("```\n", text.find(heading)) + 4;
    return text.substr(begin, text.find("```", begin) - begin);
}

struct OrderRow {
    const char* name;
    CProgram::Words words;
    bool hasCopy;
    const char* heading;
};

class ToolOrder : public testing::TestWithParam<OrderRow> {
protected:
    void SetUp() override {
        if (!CanTrace()) {
            GTEST_SKIP() << "strace cannot be used here";
        }
    }
};

TEST_P(ToolOrder, IsAsDocumentedWhateverTheUmask) {
    const OrderRow& row = GetParam();
    for (const mode_t mask : {0, 022, 077}) {
        SCOPED_TRACE(mask);
        const CTestRoot root;
        if (row.hasCopy) {
            Add(kOlder, "x", SampleHistory::kAgentConfig, SampleHistory::kAlertConfig);
        }
        EXPECT_EQ(Documented(row.heading), CSteps(Trace(row.words, mask)).Text());
    }
}

const OrderRow kOrderRows[] = {
    {"Set",
     {"set", "syslog.information=yes", "cpu.threshold=95"},
     false,
     "### The steps of a change"},
    {"Restore", {"restore", kOlder}, true, "### The steps of a restore"},
};
INSTANTIATE_TEST_SUITE_P(Of, ToolOrder, testing::ValuesIn(kOrderRows), RowName<OrderRow>);

TEST(ToolOrderOfRights, GivesOwnerAndGroupBeforeTheMode) {
    if (!CanTrace() || geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away, and strace must work";
    }
    const CTestRoot root;
    Add(kOlder, "x", SampleHistory::kAgentConfig, SampleHistory::kAlertConfig);
    const string copy = Path(string(kOlder) + "/agent.cfg");
    ASSERT_EQ(0, chown(copy.c_str(), 12, 34));
    ASSERT_EQ(0, chmod(copy.c_str(), 04751));
    const string steps = CSteps(Trace({"restore", kOlder}, 022)).Text();
    EXPECT_NE(string::npos, steps.find("owner .agent.cfg.loggerctl-new 12, 34\n"
                                       "mode .agent.cfg.loggerctl-new 04751\n"
                                       "times .agent.cfg.loggerctl-new\n"
                                       "sync .agent.cfg.loggerctl-new\n"))
        << steps;
    EXPECT_EQ(string::npos, steps.find("owner .alert.cfg.loggerctl-new")) << steps;
    struct stat status {};
    ASSERT_EQ(0, stat(KzmPaths::kAgentConfig, &status));
    EXPECT_EQ(12U, status.st_uid);
    EXPECT_EQ(34U, status.st_gid);
    EXPECT_EQ(04751U, status.st_mode & 07777U);
}

} // namespace
