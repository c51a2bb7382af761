// Names of file systems that come from the mount command, from a request and from alert.cfg.

#include "provider/MethodResult.h"
#include "tests/security/HostileNames.h"
#include "tests/support/CLoadedProvider.h"
#include "tests/support/CProgram.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/CTraceCapture.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/support/TableTest.h"

#include "KzmPaths.h"

#include <algorithm>
#include <filesystem>

namespace {

using std::string;

const std::vector<string> kStopped = {"CheckInstall", "ServiceStop"};
const std::vector<string> kRestarted = {"CheckInstall", "ServiceStop", "ServiceStart"};

const CLoggerFsThresholdConf& OnlyVolume(const CLoggerConf& conf) {
    const auto& list = conf.m_FsUsageMonitorConf.m_FsThresholdConfList;
    EXPECT_EQ(1U, list.size());
    static const CLoggerFsThresholdConf kNone;
    return list.empty() ? kNone : list.front();
}

// Everything below the root but what a call leaves there anyway.
std::vector<string> Tree() {
    std::vector<string> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(CTestRoot::Path("/"))) {
        const string path = entry.path().string();
        if (path != KzmPaths::kLockFile && entry.path().filename() != "vendor-calls") {
            paths.push_back(path);
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

// alert.cfg of the sample with one block of lines in place of its FSNAME lines.
string AlertWith(const string& block) {
    return "# Usage monitoring\nCPU=(True, 60, 5, 90)\nMEMORY=(False, 30, 3, 85)\n\n"
           "FILESYSTEM=(True, 300, 2)\n" +
           block + "Retention=14\n";
}

// ---- Mounted under such a name ----

class MountedName : public testing::TestWithParam<HostileName> {
protected:
    MountedName() { m_root.SetMountOutput(MountOutput(GetParam().m_sBytes)); }

    CTestRoot m_root;
    CLoadedProvider m_provider;
};

TEST_P(MountedName, IsAnsweredByteForByteAndDoesNothingElse) {
    const std::vector<string> before = Tree();
    const CTraceCapture trace;
    const CCallOutcome outcome = m_provider.Call("GetParameter");
    ASSERT_EQ(0U, outcome.m_uiMethodResult) << outcome.m_sError;
    const TraceLines values = trace.Lines(1);
    EXPECT_EQ(GetParam().m_sBytes, OnlyVolume(CLoggerConf(outcome.m_output.get())).m_sVolumeName);
    EXPECT_NE(values.end(), std::find(values.begin(), values.end(),
                                      TraceLine{1, "m_sVolumeName=" + GetParam().m_sBytes}));
    EXPECT_EQ(before, Tree());
    EXPECT_EQ(CTestRoot::kAlertConfig, ReadFile(KzmPaths::kAlertConfig));
}

TEST_P(MountedName, IsWrittenAsOneLineOrTheChangeIsAnsweredAsFailed) {
    const std::vector<string> before = Tree();
    const bool isHeld = GetParam().m_bHeld;
    EXPECT_EQ(isHeld ? 0U : MethodResult::kFailure,
              m_provider.SetResult(ConfWith(GetParam().m_sBytes)));
    EXPECT_EQ(isHeld ? kRestarted : kStopped, m_root.VendorCalls());
    EXPECT_EQ(AlertWith("FSNAME=\"" + GetParam().m_sBytes + "\"   (90)\n"),
              ReadFile(KzmPaths::kAlertConfig));
    EXPECT_EQ(CTestRoot::kAgentConfig, ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(before, Tree());
    EXPECT_TRUE(IsLockFree());
}

INSTANTIATE_TEST_SUITE_P(Rows, MountedName, testing::ValuesIn(MountableNames()),
                         RowName<HostileName>);

// ---- In the request alone ----

class RequestedName : public testing::TestWithParam<HostileName> {};

TEST_P(RequestedName, IsNotTakenForAMountedFileSystem) {
    const CTestRoot root;
    CLoadedProvider provider;
    const std::vector<string> before = Tree();
    EXPECT_EQ(MethodResult::kFailure, provider.SetResult(ConfWith(GetParam().m_sBytes)));
    EXPECT_EQ(kStopped, root.VendorCalls());
    EXPECT_EQ(before, Tree());
    EXPECT_TRUE(IsLockFree());
}

INSTANTIATE_TEST_SUITE_P(Rows, RequestedName, testing::ValuesIn(RequestableNames()),
                         RowName<HostileName>);

// ---- What can be done ----

class NameThatIsAllowed : public testing::Test {
protected:
    CTestRoot m_root;
    CLoadedProvider m_provider;
};

TEST_F(NameThatIsAllowed, CanPutAnyLineIntoAlertConfig) {
    EXPECT_EQ(MethodResult::kFailure, m_provider.SetResult(ConfWith("a\" (1)\nRetention=0\n#")));
    EXPECT_EQ(AlertWith("FSNAME=\"a\" (1)\nRetention=0\n#\"   (90)\n"),
              ReadFile(KzmPaths::kAlertConfig));
}

TEST_F(NameThatIsAllowed, WithALineFeedEndsReadingUntilTheFilesAreRestored) {
    ASSERT_EQ(0, CProgram({"set", "cpu.threshold=95"}).Run().m_iExitCode);
    EXPECT_EQ(MethodResult::kFailure, m_provider.SetResult(ConfWith("/a\nb")));
    EXPECT_EQ(MethodResult::kFailure, m_provider.Result("GetParameter"));
    EXPECT_EQ(MethodResult::kFailure, m_provider.SetResult(SampleConf()))
        << "the line stays where it is";
    EXPECT_EQ(MethodResult::kFailure, m_provider.Result("GetParameter"));

    const CProgram::Result restored = CProgram({"restore"}).Run();
    EXPECT_EQ(0, restored.m_iExitCode) << restored.m_sError;
    EXPECT_EQ(CTestRoot::kAlertConfig, ReadFile(KzmPaths::kAlertConfig));
    EXPECT_EQ("ServiceStart", m_root.VendorCalls().back());
    EXPECT_EQ(0U, m_provider.Result("GetParameter"));
}

TEST_F(NameThatIsAllowed, OfADeviceCanHideOrInventFileSystems) {
    m_root.SetMountOutput("x on /invented type y on /real type fuse (rw)\n");
    const CCallOutcome outcome = m_provider.Call("GetParameter");
    ASSERT_NE(nullptr, outcome.m_output);
    EXPECT_EQ("/invented", OnlyVolume(CLoggerConf(outcome.m_output.get())).m_sVolumeName);
}

TEST_F(NameThatIsAllowed, OfADeviceCanEndReadingWhileItIsMounted) {
    m_root.SetMountOutput(string("x on  type y on /real type fuse (rw)\n") +
                          CTestRoot::kMountOutput);
    EXPECT_EQ(MethodResult::kFailure, m_provider.Result("GetParameter"));
    m_root.SetMountOutput(CTestRoot::kMountOutput);
    EXPECT_EQ(0U, m_provider.Result("GetParameter"));
}

} // namespace
