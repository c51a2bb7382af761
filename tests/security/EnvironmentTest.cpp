// What the environment of the provider's host decides, and what the mount command gets of the host.

#include "comlib/CTraceUtility.h"
#include "tests/support/CLoadedProvider.h"
#include "tests/support/CTempFile.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/support/TableTest.h"

#include "KzmPaths.h"

#include <signal.h>
#include <stdlib.h>

#include <filesystem>
#include <optional>
#include <set>

namespace fs = std::filesystem;
using std::string;

namespace {

// One variable of this process, put back when the object goes.
class CVariable {
public:
    CVariable(const string& name, const string& value) : m_sName(name) {
        const char* before = getenv(name.c_str());
        m_before = before == nullptr ? std::nullopt : std::optional<string>(before);
        setenv(name.c_str(), value.c_str(), 1);
    }
    ~CVariable() {
        m_before ? setenv(m_sName.c_str(), m_before->c_str(), 1) : unsetenv(m_sName.c_str());
    }
    CVariable(const CVariable&) = delete;
    CVariable& operator=(const CVariable&) = delete;

private:
    string m_sName;
    std::optional<string> m_before;
};

string Mark() {
    return CTestRoot::Path("/mark");
}

void WriteScript(const string& path, const string& text) {
    WriteFile(path, "#!/bin/sh\n" + text);
    fs::permissions(path, fs::perms(0755));
}

std::set<string> AnsweredNames() {
    CLoadedProvider provider;
    const CCallOutcome outcome = provider.Call("GetParameter");
    EXPECT_EQ(0U, outcome.m_uiMethodResult) << outcome.m_sError;
    std::set<string> names;
    if (outcome.m_output != nullptr) {
        const CLoggerConf conf(outcome.m_output.get());
        for (const CLoggerFsThresholdConf& row : conf.m_FsUsageMonitorConf.m_FsThresholdConfList) {
            names.insert(row.m_sVolumeName);
        }
    }
    return names;
}

// ---- Which programs run ----

struct VariableRow {
    const char* name;
    const char* m_pVariable;
    string m_sValue; // TRAP stands for a folder of programs that leave a mark
};
std::ostream& operator<<(std::ostream& out, const VariableRow& row) {
    return out << row.m_pVariable << '=' << row.m_sValue;
}

class HostileVariable : public testing::TestWithParam<VariableRow> {};

TEST_P(HostileVariable, DoesNotChooseTheProgramsThatRun) {
    const CTestRoot root;
    const string trap = CTestRoot::Path("/trap");
    fs::create_directory(trap);
    for (const char* program : {"mount", "sh", "bin", "cat", "true", "profile"}) {
        WriteScript(trap + "/" + program, "> " + Mark() + "\n");
    }
    string value = GetParam().m_sValue;
    const string::size_type position = value.find("TRAP");
    if (position != string::npos) {
        value.replace(position, 4, trap);
    }
    const CVariable variable(GetParam().m_pVariable, value);
    CLoadedProvider provider;
    EXPECT_EQ(0U, provider.SetResult(ChangedConf()));
    EXPECT_EQ((std::set<string>{"/", "/data", "/home"}), AnsweredNames());
    EXPECT_FALSE(fs::exists(Mark()));
}

const VariableRow kVariables[] = {
    {"Path", "PATH", "TRAP"},
    {"EmptyPath", "PATH", ""},
    {"FieldSeparator", "IFS", "/ m"},
    {"StartFile", "ENV", "TRAP/profile"},
    {"OtherStartFile", "BASH_ENV", "TRAP/profile"},
    {"Function", "BASH_FUNC_mount%%", "() { > TRAP/../mark; }"},
    {"Shell", "SHELL", "TRAP/sh"},
    {"CurrentFolder", "PWD", "TRAP"},
};

INSTANTIATE_TEST_SUITE_P(Variables, HostileVariable, testing::ValuesIn(kVariables),
                         RowName<VariableRow>);

// ---- What the mount command gets ----

TEST(MountCommand, HasTheEnvironmentOfTheHost) {
    const CTestRoot root;
    WriteScript(CTestRoot::Path("/bin/mount"), "echo \"x on $KZM_TEST_VARIABLE type y\"\n");
    const CVariable variable("KZM_TEST_VARIABLE", "/seen");
    EXPECT_EQ(std::set<string>{"/seen"}, AnsweredNames());
}

TEST(MountCommand, HasTheSettingsFilesOpenButNeitherTheLockNorTheTrace) {
    const CTestRoot root;
    const CTempFile trace("");
    ASSERT_TRUE(CTraceUtility::SetDestination(0xF, trace.Path()));
    WriteScript(CTestRoot::Path("/bin/mount"), "for file in /proc/$$/fd/*; do\n"
                                               "echo \"x on $(readlink \"$file\") type y\"\n"
                                               "done\n");
    const std::set<string> files = AnsweredNames();
    EXPECT_EQ(0U, files.count(KzmPaths::kLockFile));
    EXPECT_EQ(1U, files.count(KzmPaths::kAlertConfig));
    EXPECT_EQ(1U, files.count(KzmPaths::kAgentConfig));
    EXPECT_NE("", ReadFile(trace.Path()));
    EXPECT_EQ(0U, files.count(trace.Path()));
    CTraceUtility::SetDestination(0, "");
}

TEST(MountCommand, CannotKeepTheLockAfterTheCall) {
    const CTestRoot root;
    const string pidFile = CTestRoot::Path("/pid");
    WriteScript(CTestRoot::Path("/bin/mount"),
                "sleep 60 > /dev/null 2>&1 &\necho $! > " + pidFile + "\n");
    AnsweredNames();
    const pid_t process = std::stoi(ReadFile(pidFile));
    EXPECT_EQ(0, kill(process, 0)) << "nothing is left that could keep it";
    EXPECT_TRUE(IsLockFree());
    kill(process, SIGKILL);
}

} // namespace
