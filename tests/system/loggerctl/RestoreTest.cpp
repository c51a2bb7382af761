// "loggerctl restore": the files before and after, the vendor commands, what it says, how it fails.

#include "KzmPaths.h"
#include "tests/support/CProgram.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/system/loggerctl/CGolden.h"
#include "tests/system/loggerctl/CHeldLock.h"
#include "tests/system/loggerctl/RestoreSupport.h"
#include "tests/system/loggerctl/SampleHistory.h"

#include <gtest/gtest.h>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

namespace fs = std::filesystem;
using namespace SampleHistory;

namespace {

using Calls = std::vector<std::string>;

const Calls kRestarted{"CheckInstall", "ServiceStop", "ServiceStart"};

// What a copy says of the user who runs the tests.
std::string Origin() {
    const passwd* user = getpwuid(getuid());
    return std::string("user=") + (user == nullptr ? std::to_string(getuid()) : user->pw_name) +
           "\n";
}

class RestoreCommand : public testing::Test {
protected:
    RestoreCommand() {
        Add(kOlder, "x", SampleHistory::kAgentConfig, SampleHistory::kAlertConfig);
        Add(kNewer, "y", kNewerAgentConfig, kNewerAlertConfig);
    }

    ~RestoreCommand() override {
        EXPECT_TRUE(IsLockFree());
        const fs::path folder = fs::path(KzmPaths::kAgentConfig).parent_path();
        for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
            EXPECT_EQ(entry.path().extension(), ".cfg") << entry.path();
        }
        EXPECT_FALSE(fs::exists(Path(".restoring")) && !m_bInterrupted);
    }

    static void ExpectFiles(const std::string& agent, const std::string& alert) {
        EXPECT_EQ(ReadFile(KzmPaths::kAgentConfig), agent);
        EXPECT_EQ(ReadFile(KzmPaths::kAlertConfig), alert);
    }
    static void ExpectOlder() {
        ExpectFiles(SampleHistory::kAgentConfig, SampleHistory::kAlertConfig);
    }
    void ExpectNothingDone(const Calls& calls) const {
        ExpectFiles(CTestRoot::kAgentConfig, CTestRoot::kAlertConfig);
        EXPECT_EQ(m_root.VendorCalls(), calls);
    }

    const CTestRoot m_root;
    bool m_bInterrupted = false; // the restore is left to be taken up again
};

TEST_F(RestoreCommand, PutsBothFilesBack) {
    ExpectGolden("done", Restore({kOlder}));
    ExpectOlder();
    EXPECT_EQ(m_root.VendorCalls(), kRestarted);
}

TEST_F(RestoreCommand, TakesTheNewestAndCanBeTakenBack) {
    EXPECT_EQ(Restore().m_iExitCode, 0);
    ExpectFiles(kNewerAgentConfig, kNewerAlertConfig);
    EXPECT_EQ(Restore().m_iExitCode, 0); // the newest is now the state before
    ExpectFiles(CTestRoot::kAgentConfig, CTestRoot::kAlertConfig);
}

TEST_F(RestoreCommand, KeepsThePresentStateFirst) {
    Restore({kOlder});
    ASSERT_EQ(Names().size(), 3U);
    const std::string kept = Names().back();
    EXPECT_EQ(ReadFile(Path(kept + "/agent.cfg")), CTestRoot::kAgentConfig);
    EXPECT_EQ(ReadFile(Path(kept + "/alert.cfg")), CTestRoot::kAlertConfig);
    EXPECT_EQ(ReadFile(Path(kept + "/reason")),
              std::string("before restore of ") + kOlder + "\n" + Origin());
}

TEST_F(RestoreCommand, GivesTheFilesTheirModeAndOwner) {
    const std::string copy = Path(std::string(kOlder) + "/agent.cfg");
    chmod(copy.c_str(), 0604);
    if (geteuid() == 0) {
        ASSERT_EQ(chown(copy.c_str(), 12, 34), 0);
    }
    EXPECT_EQ(Restore({kOlder}).m_iExitCode, 0);
    struct stat wanted {};
    struct stat status {};
    ASSERT_EQ(stat(copy.c_str(), &wanted), 0);
    ASSERT_EQ(stat(KzmPaths::kAgentConfig, &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0604U);
    EXPECT_EQ(status.st_uid, wanted.st_uid);
    EXPECT_EQ(status.st_gid, wanted.st_gid);
}

// Who watches a file by its time sees that it changed, however old the copy is.
TEST_F(RestoreCommand, GivesTheFilesTheTimeOfTheRestore) {
    const std::string copy = Path(std::string(kOlder) + "/agent.cfg");
    const auto old = fs::last_write_time(copy) - std::chrono::hours(1);
    fs::last_write_time(copy, old);
    EXPECT_EQ(Restore({kOlder}).m_iExitCode, 0);
    EXPECT_GT(fs::last_write_time(KzmPaths::kAgentConfig), old + std::chrono::minutes(30));
}

TEST_F(RestoreCommand, DoesNothingWhenNothingDiffers) {
    Restore({kOlder});
    const std::vector<std::string> names = Names();
    ExpectGolden("same", Restore({kOlder}));
    EXPECT_EQ(Names(), names);
    EXPECT_EQ(m_root.VendorCalls(),
              (Calls{"CheckInstall", "ServiceStop", "ServiceStart", "CheckInstall"}));
}

TEST_F(RestoreCommand, DoesItAllTheSameWhenForced) {
    Restore({kOlder});
    EXPECT_EQ(Restore({"--force", kOlder}).m_iExitCode, 0);
    EXPECT_EQ(m_root.VendorCalls().size(), 6U);
    ExpectOlder();
}

TEST_F(RestoreCommand, ReplacesTheFileThatALinkPointsTo) {
    const std::string target = CTestRoot::Path("/etc/real.cfg");
    fs::rename(KzmPaths::kAlertConfig, target);
    fs::create_symlink(target, KzmPaths::kAlertConfig);
    EXPECT_EQ(Restore({kOlder}).m_iExitCode, 0);
    EXPECT_EQ(fs::read_symlink(KzmPaths::kAlertConfig), target);
    EXPECT_EQ(ReadFile(target), SampleHistory::kAlertConfig);
    EXPECT_FALSE(fs::is_symlink(target));
}

TEST_F(RestoreCommand, BringsBackAMissingFile) {
    fs::remove(KzmPaths::kAgentConfig);
    EXPECT_EQ(Restore({kOlder}).m_iExitCode, 0);
    ExpectOlder();
    EXPECT_EQ(ReadFile(Path(Names().back() + "/reason")), std::string("before restore of ") +
                                                              kOlder + ", agent.cfg was missing\n" +
                                                              Origin() + "missing=agent.cfg\n");
}

TEST_F(RestoreCommand, WaitsForTheLock) {
    const CHeldLock lock;
    std::thread holder([this, &lock] {
        std::this_thread::sleep_for(std::chrono::milliseconds(700));
        ExpectNothingDone({"CheckInstall"});
        EXPECT_EQ(Names().size(), 2U);
        lock.Release();
    });
    const CProgram::Result result = Restore({kOlder});
    holder.join();
    EXPECT_EQ(result.m_iExitCode, 0) << result.m_sError;
    ExpectOlder();
}

TEST_F(RestoreCommand, HoldsTheLockFromBeforeTheStopUntilAfterTheStart) {
    const std::string script = CTestRoot::Path("/opt/veltaro/agent/vendor-command");
    WriteFile(script, "#!/bin/sh\nflock -n " + std::string(KzmPaths::kLockFile) +
                          " true && echo \"$1 without the lock\" >>" +
                          CTestRoot::Path("/opt/veltaro/agent/vendor-calls") + "\nexit 0\n");
    Restore({kOlder});
    EXPECT_EQ(m_root.VendorCalls(), Calls{"CheckInstall without the lock"});
    ExpectOlder();
}

TEST_F(RestoreCommand, ReplacesNothingWhenTheStopFails) {
    m_bInterrupted = true;
    m_root.SetVendorAnswers(0, 5, 0);
    ExpectGolden("error-stop", Restore({kOlder}));
    ExpectNothingDone({"CheckInstall", "ServiceStop"});
}

TEST_F(RestoreCommand, SaysThatTheServiceIsStoppedWhenTheStartFails) {
    m_bInterrupted = true;
    m_root.SetVendorAnswers(0, 0, 6);
    ExpectGolden("error-start", Restore({kOlder}));
    ExpectOlder();
    EXPECT_EQ(m_root.VendorCalls(), kRestarted);
}

TEST_F(RestoreCommand, RefusesWhenTheAgentIsNotInstalled) {
    m_root.SetVendorAnswers(1, 0, 0);
    ExpectGolden("error-not-installed", Restore({kOlder}));
    ExpectNothingDone({"CheckInstall"});
}

TEST_F(RestoreCommand, RefusesWithoutADeviceDescription) {
    m_root.RemoveDeviceDescription();
    ExpectGolden("error-no-description", Restore({kOlder}));
    ExpectNothingDone({});
}

TEST_F(RestoreCommand, RefusesAnUnknownCopy) {
    CGolden::Expect("restore-error-unknown", Restore({"20260102-030405-003"}));
    ExpectNothingDone({});
}

TEST_F(RestoreCommand, RefusesWhenThereIsNoCopy) {
    fs::remove_all(KzmPaths::kHistoryFolder);
    ExpectGolden("error-empty", Restore());
    ExpectNothingDone({});
}

TEST_F(RestoreCommand, RefusesAnUnsafeFolder) {
    chmod(KzmPaths::kHistoryFolder, 0707);
    ExpectGolden("error-unsafe-folder", Restore());
    ExpectNothingDone({});
}

TEST_F(RestoreCommand, RefusesAFileInWhosePlaceIsAFolder) {
    fs::remove(KzmPaths::kAgentConfig);
    fs::create_directory(KzmPaths::kAgentConfig);
    ExpectGolden("error-unreadable", Restore({kOlder}));
    EXPECT_EQ(m_root.VendorCalls(), Calls{"CheckInstall"});
}

TEST_F(RestoreCommand, RefusesALinkToNothing) {
    fs::remove(KzmPaths::kAgentConfig);
    fs::create_symlink("/no/such/file", KzmPaths::kAgentConfig);
    ExpectGolden("error-dangling-link", Restore({kOlder}));
    EXPECT_EQ(m_root.VendorCalls(), Calls{"CheckInstall"});
}

TEST_F(RestoreCommand, RefusesAnotherUserBeforeAnythingIsStopped) {
    if (geteuid() != 0 || access("/usr/bin/setpriv", X_OK) != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    // Not another user runs the tool, who may not even reach this build: the files are another's,
    // and the capabilities that would override that are given up.
    constexpr uid_t kAnother = 65534;
    const CProgram::Words ordinary{"/usr/bin/setpriv",
                                   "--bounding-set=-dac_override,-dac_read_search,-chown,-fowner",
                                   "--inh-caps=-all"};
    ASSERT_EQ(chown(KzmPaths::kHistoryFolder, kAnother, kAnother), 0);
    CProgram program({"restore", kOlder});
    program.SetWrapper(ordinary);
    ExpectGolden("error-not-root", program.Run());

    // Somebody who can read the history and take the lock, but not write the files.
    ASSERT_EQ(chown(KzmPaths::kHistoryFolder, 0, 0), 0);
    for (const char* path : {KzmPaths::kAgentConfig, KzmPaths::kAlertConfig}) {
        ASSERT_EQ(chown(path, kAnother, kAnother), 0);
    }
    CProgram keeper({"restore", kOlder});
    keeper.SetWrapper(ordinary);
    ExpectGolden("error-files-not-writable", keeper.Run());
    ExpectFiles(CTestRoot::kAgentConfig, CTestRoot::kAlertConfig);
    for (const std::string& call : m_root.VendorCalls()) {
        EXPECT_EQ(call, "CheckInstall");
    }
}

TEST_F(RestoreCommand, SendsAnotherUserToRoot) {
    CProgram program({"restore", kOlder});
    program.SetWrapper({"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
    const CProgram::Result result = program.Run();
    if (result.m_iExitCode == 1 || result.m_iExitCode >= 126) {
        GTEST_SKIP() << "another user cannot be, or cannot run the program: " << result.m_sError;
    }
    EXPECT_EQ(result.m_iExitCode, 8);
    EXPECT_NE(result.m_sError.find("Permission denied). Run the command as root.\n"),
              std::string::npos)
        << result.m_sError;
}

} // namespace
