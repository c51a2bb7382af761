// "loggerctl restore" after one that failed, and of copies that are not whole or not valid.

#include "KzmPaths.h"
#include "tests/support/CProgram.h"
#include "tests/support/CTestRoot.h"
#include "tests/system/loggerctl/RestoreSupport.h"
#include "tests/system/loggerctl/SampleHistory.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace fs = std::filesystem;
using namespace SampleHistory;

namespace {

class RestoreAgain : public testing::Test {
protected:
    RestoreAgain() {
        Add(kOlder, "x", SampleHistory::kAgentConfig, SampleHistory::kAlertConfig);
        Add(kNewer, "y", kNewerAgentConfig, kNewerAlertConfig);
    }

    static void ExpectFiles(const std::string& agent, const std::string& alert) {
        EXPECT_EQ(ReadFile(KzmPaths::kAgentConfig), agent);
        EXPECT_EQ(ReadFile(KzmPaths::kAlertConfig), alert);
    }
    static void ExpectOlder() {
        ExpectFiles(SampleHistory::kAgentConfig, SampleHistory::kAlertConfig);
    }
    static void ExpectUntouched() { ExpectFiles(CTestRoot::kAgentConfig, CTestRoot::kAlertConfig); }

    const CTestRoot m_root;
};

// ---- After a failure ----

TEST_F(RestoreAgain, RestoresTheSameAfterTheStopFailed) {
    m_root.SetVendorAnswers(0, 5, 0);
    EXPECT_EQ(Restore({kOlder}).m_iExitCode, 4);
    EXPECT_EQ(Names(), (std::vector<std::string>{".restoring", kOlder, kNewer}));
    m_root.SetVendorAnswers(0, 0, 0);
    const CProgram::Result again = Restore();
    EXPECT_EQ(again.m_iExitCode, 0) << again.m_sError;
    ExpectOlder();
}

TEST_F(RestoreAgain, RestoresTheSameAfterTheStartFailed) {
    m_root.SetVendorAnswers(0, 0, 6);
    EXPECT_EQ(Restore({kOlder}).m_iExitCode, 4);
    m_root.SetVendorAnswers(0, 0, 0);
    const CProgram::Result again = Restore();
    EXPECT_EQ(again.m_iExitCode, 0) << again.m_sError;
    EXPECT_EQ(m_root.VendorCalls().back(), "ServiceStart");
    ExpectOlder();
    // And taking it back gives the state before the first try.
    EXPECT_EQ(Restore().m_iExitCode, 0);
    ExpectUntouched();
}

TEST_F(RestoreAgain, RestoresTheSameAfterAFileCouldNotBeExchanged) {
    // The second file's new version cannot take the place of what is put there meanwhile.
    WriteFile(CTestRoot::Path("/opt/veltaro/agent/vendor-command"),
              std::string("#!/bin/sh\n[ \"$1\" != ServiceStop ] || { rm ") +
                  KzmPaths::kAlertConfig + "; mkdir " + KzmPaths::kAlertConfig + "; }\n");
    const CProgram::Result first = Restore({kOlder});
    EXPECT_EQ(first.m_iExitCode, 4);
    EXPECT_NE(first.m_sError.find("restored in part only"), std::string::npos) << first.m_sError;
    fs::remove(KzmPaths::kAlertConfig);
    WriteFile(KzmPaths::kAlertConfig, CTestRoot::kAlertConfig);
    m_root.SetVendorAnswers(0, 0, 0);
    const CProgram::Result again = Restore();
    EXPECT_EQ(again.m_iExitCode, 0) << again.m_sError;
    ExpectOlder();
    EXPECT_EQ(Restore().m_iExitCode, 0);
    ExpectUntouched();
}

TEST_F(RestoreAgain, RestoresTheNewestOnceTheSettingsWereChanged) {
    m_root.SetVendorAnswers(0, 5, 0);
    Restore({kOlder});
    m_root.SetVendorAnswers(0, 0, 0);
    EXPECT_EQ(CProgram({"set", "cpu.threshold=50"}).Run().m_iExitCode, 0);
    EXPECT_EQ(Restore().m_iExitCode, 0);
    ExpectUntouched();
}

TEST_F(RestoreAgain, IsFoundByAForeignChange) {
    WriteFile(CTestRoot::Path("/opt/veltaro/agent/vendor-command"),
              std::string("#!/bin/sh\n[ \"$1\" != ServiceStart ] || echo '# by hand' >> ") +
                  KzmPaths::kAlertConfig + "\n");
    ExpectGolden("error-changed-at-the-end", Restore({kOlder}));
}

// ---- Choosing ----

TEST_F(RestoreAgain, TakesNumbersOfWhichTheNewestIsOne) {
    EXPECT_EQ(Restore({"2"}).m_iExitCode, 0);
    ExpectOlder();
    EXPECT_EQ(Restore({"4"}).m_iExitCode, 2);
    EXPECT_EQ(Restore({"0"}).m_iExitCode, 2);
    EXPECT_EQ(CProgram({"diff", "3"}).Run().m_sOutput,
              std::string("Both files are as in ") + kOlder + ".\n");
}

TEST_F(RestoreAgain, TakesAnEmptyIdForWrongUsage) {
    EXPECT_EQ(Restore({""}).m_iExitCode, 2);
    ExpectUntouched();
    EXPECT_TRUE(m_root.VendorCalls().empty());
}

TEST_F(RestoreAgain, DryRunTouchesNothing) {
    ExpectGolden("dry-run", Restore({"--dry-run", kOlder}));
    ExpectUntouched();
    EXPECT_TRUE(m_root.VendorCalls().empty());
    EXPECT_EQ(Names(), (std::vector<std::string>{kOlder, kNewer}));
}

// ---- Copies that are not whole, or not valid ----

TEST_F(RestoreAgain, LeavesAFileThatTheCopyLacks) {
    fs::remove(Path(std::string(kOlder) + "/agent.cfg"));
    WriteFile(Path(std::string(kOlder) + "/reason"), "x\nmissing=agent.cfg\n");
    ExpectGolden("file-missing", Restore({kOlder}));
    ExpectFiles(CTestRoot::kAgentConfig, SampleHistory::kAlertConfig);
}

TEST_F(RestoreAgain, RefusesACopyWithoutAnyFile) {
    for (const char* file : {"agent.cfg", "alert.cfg"}) {
        fs::remove(Path(std::string(kOlder) + "/" + file));
    }
    WriteFile(Path(std::string(kOlder) + "/reason"), "x\nmissing=agent.cfg\nmissing=alert.cfg\n");
    ExpectGolden("nothing", Restore({kOlder}));
    ExpectUntouched();
    EXPECT_EQ(m_root.VendorCalls(), std::vector<std::string>{"CheckInstall"});
}

TEST_F(RestoreAgain, RestoresWhatCannotBeReadOnlyWhenForced) {
    WriteFile(Path(std::string(kOlder) + "/agent.cfg"), "SyslogOutput=Perhaps\n");
    ExpectGolden("not-valid", Restore({kOlder}));
    ExpectUntouched();
    const std::string warning = Restore({kOlder, "--dry-run"}).m_sError;
    EXPECT_NE(warning.find("could neither be read nor changed. The restore needs --force."),
              std::string::npos)
        << warning;
    ExpectGolden("not-valid-forced", Restore({kOlder, "--force"}));
    EXPECT_EQ(ReadFile(KzmPaths::kAgentConfig), "SyslogOutput=Perhaps\n");
}

TEST_F(RestoreAgain, ChecksTheServiceCommandsFirst) {
    const std::string file = std::string(KzmPaths::kDeviceFolder) + "/Logger.conf";
    std::string text = ReadFile(file);
    text.replace(text.find("ServiceStart="), std::string("ServiceStart=").size(), "ServiceGo=");
    WriteFile(file, text);
    EXPECT_EQ(Restore({kOlder}).m_iExitCode, 4);
    ExpectUntouched();
    EXPECT_EQ(m_root.VendorCalls(), std::vector<std::string>{"CheckInstall"});
    EXPECT_EQ(Names().size(), 2U);
}

} // namespace
