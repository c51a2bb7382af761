#include "loggerctl/commands/HostState.h"

#include "KzmPaths.h"
#include "tests/support/CTestRoot.h"
#include "tests/unit/history/SettingsNow.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace {

using agent::Stage;
using Recover = std::vector<std::pair<std::string, std::string>>;

const std::pair<std::string, std::string> kRestore{"To put the files back as they were:",
                                                   "loggerctl restore ID"};
const std::pair<std::string, std::string> kStart{"To start the service with the files as they are:",
                                                 "loggerctl service start"};

// Adds a ServiceStatus that answers so.
void SetServiceStatus(const CTestRoot& /*root*/, int answer) {
    const std::string path = std::string(KzmPaths::kDeviceFolder) + "/Logger.conf";
    WriteFile(path, ReadFile(path) + "ServiceStatus=/bin/sh -c \"exit " + std::to_string(answer) +
                        "\"\n");
}

// ---- After a failure ----

struct CRow {
    const char* m_name;
    Stage m_stage;
    std::optional<int> m_status; // what ServiceStatus answers
    bool m_changed;
    const char* m_wantedStage;
    const char* m_service;
    const char* m_serviceText;
    Recover m_recover;
};

const CRow kRows[] = {
    {"not begun",
     Stage::NotBegun,
     1,
     false,
     "not-begun",
     "untouched",
     "The agent's service was not touched.",
     {}},
    {"not begun, and changed by somebody",
     Stage::NotBegun,
     std::nullopt,
     true,
     "not-begun",
     "untouched",
     "The agent's service was not touched.",
     {kRestore}},
    {"not stopped",
     Stage::StopFailed,
     std::nullopt,
     false,
     "stop-failed",
     "unknown",
     "The agent's service could not be stopped: it may run still, or not.",
     {kStart}},
    {"not stopped, and it runs",
     Stage::StopFailed,
     0,
     false,
     "stop-failed",
     "running",
     "The agent's service is running. It may have been told to stop already: look again with "
     "\"loggerctl service status\".",
     {{"To start the service with the files as they are:", "loggerctl service start"}}},
    {"not stopped, and it does not run",
     Stage::StopFailed,
     3,
     false,
     "stop-failed",
     "stopped",
     "The agent's service is stopped.",
     {kStart}},
    {"stopped",
     Stage::Stopped,
     std::nullopt,
     true,
     "stopped",
     "stopped",
     "The agent's service is stopped.",
     {kRestore, kStart}},
    {"stopped, and somebody started it",
     Stage::Stopped,
     0,
     true,
     "stopped",
     "running",
     "The agent's service is running.",
     {kRestore}},
    {"stopped, and it cannot be told",
     Stage::Stopped,
     127,
     false,
     "stopped",
     "stopped",
     "The agent's service is stopped.",
     {kStart}},
    {"not started",
     Stage::StartFailed,
     std::nullopt,
     true,
     "start-failed",
     "stopped",
     "The agent's service is stopped: it could not be started again.",
     {kRestore, kStart}},
    {"unknown",
     Stage::Unknown,
     std::nullopt,
     false,
     "unknown",
     "unknown",
     "It is not known whether the agent's service runs.",
     {kStart}},
    {"unknown, and it runs",
     Stage::Unknown,
     0,
     true,
     "unknown",
     "running",
     "The agent's service is running.",
     {kRestore}},
};

TEST(FindHostState, TellsWhatIsAndWhatMendsIt) {
    for (const CRow& row : kRows) {
        SCOPED_TRACE(row.m_name);
        const CTestRoot root;
        if (row.m_status) {
            SetServiceStatus(root, *row.m_status);
        }
        const history::CSettingsCopy before = Now();
        if (row.m_changed) {
            root.SetAgentConfig("LogLevel=3\n");
        }
        const output::CHostState state = commands::FindHostState(before, row.m_stage, "ID");
        EXPECT_EQ(state.m_stage, row.m_wantedStage);
        EXPECT_EQ(state.m_service, row.m_service);
        EXPECT_EQ(state.m_serviceText, row.m_serviceText);
        EXPECT_EQ(state.m_recover, row.m_recover);
        EXPECT_EQ(state.m_difference.empty(), !row.m_changed);
        EXPECT_EQ(state.m_filesText, row.m_changed ? "The settings files have changed:"
                                                   : "The settings files are as they were.");
    }
}

TEST(FindHostState, ShowsWhatHasChangedSinceBefore) {
    const CTestRoot root;
    root.SetAgentConfig("a\n");
    const history::CSettingsCopy before = Now();
    root.SetAgentConfig("b\n");
    const std::string path = KzmPaths::kAgentConfig;
    const std::string beginning = "--- a" + path + "\n+++ b" + path + "\n@@ ";
    EXPECT_EQ(commands::FindHostState(before, Stage::Stopped, "ID").m_difference,
              beginning + "-1 +1 @@\n-a\n+b\n");
    std::remove(KzmPaths::kAgentConfig);
    EXPECT_EQ(commands::FindHostState(before, Stage::Stopped, "ID").m_difference,
              beginning + "-1 +0,0 @@\n-a\n");
}

TEST(FindHostState, NamesNoCopyThatIsNotKept) {
    const CTestRoot root;
    const history::CSettingsCopy before = Now();
    root.SetAgentConfig("b\n");
    EXPECT_EQ(commands::FindHostState(before, Stage::Stopped, "").m_recover, Recover{kStart});
}

TEST(FindHostState, LeavesTheServiceAlone) {
    const CTestRoot root;
    commands::FindHostState(Now(), Stage::Unknown, "ID");
    EXPECT_EQ(root.VendorCalls(), std::vector<std::string>{});
}

TEST(FindHostState, SaysWhyAFileCannotBeRead) {
    const CTestRoot root;
    const history::CSettingsCopy before = Now();
    ReplaceWithFolder(KzmPaths::kAgentConfig);
    const output::CHostState state = commands::FindHostState(before, Stage::Stopped, "ID");
    EXPECT_EQ(state.m_difference, std::string(KzmPaths::kAgentConfig) +
                                      ": is a directory. Put the agent's file in its place.\n");
    EXPECT_EQ(state.m_filesText, "It is not known what the settings files hold:");
    EXPECT_EQ(state.m_recover, (Recover{kRestore, kStart}));
}

// ---- After a change that went through ----

TEST(FindHostStateAgainst, ShowsTheFilesAgainstWhatWasToBeWritten) {
    const CTestRoot root;
    root.SetAgentConfig("b\n");
    history::CSettingsCopy wanted = Now();
    wanted.m_files[0].m_text = "a\n";
    const output::CHostState state = commands::FindHostStateAgainst(wanted, "ID");
    EXPECT_EQ(state.m_stage, "differs");
    EXPECT_EQ(state.m_service, "running"); // its command has answered so
    EXPECT_EQ(state.m_serviceText, "The agent's service is running.");
    EXPECT_EQ(state.m_filesText, "The settings files, against what was to be written:");
    EXPECT_NE(state.m_difference.find("\n-a\n+b\n"), std::string::npos) << state.m_difference;
    EXPECT_EQ(state.m_recover, Recover{kRestore});
    const output::CHostState same = commands::FindHostStateAgainst(Now(), "ID");
    EXPECT_EQ(same.m_filesText, "The settings files are what was to be written.");
    EXPECT_EQ(same.m_recover, Recover{});
    SetServiceStatus(root, 3);
    EXPECT_EQ(commands::FindHostStateAgainst(wanted, "ID").m_recover, (Recover{kRestore, kStart}));
}

// ---- Who it is ----

TEST(FindOrigin, TellsWhoIsBehindIt) {
    setenv("SUDO_USER", "somebody else", 1);
    setenv("SSH_CONNECTION", "192.0.2.7 50000 192.0.2.1 22", 1);
    history::COrigin origin = commands::FindOrigin();
    EXPECT_FALSE(origin.m_user.empty());
    EXPECT_EQ(origin.m_sudoUser, "somebody");
    EXPECT_EQ(origin.m_from, "192.0.2.7");
    setenv("SUDO_USER", origin.m_user.c_str(), 1);
    unsetenv("SSH_CONNECTION");
    origin = commands::FindOrigin();
    EXPECT_EQ(origin.m_sudoUser, "");
    EXPECT_EQ(origin.m_from, "");
    unsetenv("SUDO_USER");
    EXPECT_EQ(commands::FindOrigin().m_sudoUser, "");
}

} // namespace
