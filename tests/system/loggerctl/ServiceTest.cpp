// "loggerctl service": what it says, what it runs, and how it fails.

#include "KzmPaths.h"
#include "providerbase/CCommandRunner.h"
#include "tests/support/CProgram.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/system/loggerctl/CGolden.h"
#include "tests/system/loggerctl/CHeldLock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <ostream>
#include <thread>

namespace fs = std::filesystem;

namespace {

using Calls = std::vector<std::string>;

std::string DeviceFile() {
    return std::string(KzmPaths::kDeviceFolder) + "/Logger.conf";
}

void AddStatusCommand(const std::string& command) {
    WriteFile(DeviceFile(), ReadFile(DeviceFile()) + "ServiceStatus=" + command + "\n");
}

void AddRecordedStatus(int answer) {
    AddStatusCommand(CTestRoot::Path("/opt/veltaro/agent/vendor-command") + " ServiceStatus " +
                     std::to_string(answer));
}

struct ServiceRow {
    const char* m_pName; // of the test and of its golden file, where "_" is "-"
    void (*m_pPrepare)(const CTestRoot& root);
    const char* m_pAction;
    Calls m_calls; // the vendor commands that are run
};

std::ostream& operator<<(std::ostream& out, const ServiceRow& row) {
    return out << row.m_pName;
}

void Nothing(const CTestRoot& /*root*/) {}

const ServiceRow kServiceRows[] = {
    {"start", Nothing, "start", {"CheckInstall", "ServiceStart"}},
    {"stop", Nothing, "stop", {"CheckInstall", "ServiceStop"}},
    {"status_running",
     [](const CTestRoot&) { AddRecordedStatus(0); },
     "status",
     {"CheckInstall", "ServiceStatus"}},
    {"status_stopped",
     [](const CTestRoot&) { AddRecordedStatus(3); },
     "status",
     {"CheckInstall", "ServiceStatus"}},
    {"status_not_described", Nothing, "status", {"CheckInstall"}},
    {"status_timed_out", // the answer in place of a command that took too long
     [](const CTestRoot&) { AddRecordedStatus(CCommandRunner::kTimedOut); },
     "status",
     {"CheckInstall", "ServiceStatus"}},
    {"status_not_run",
     [](const CTestRoot&) { AddStatusCommand("/no/such/program"); },
     "status",
     {"CheckInstall"}},
    {"start_fails",
     [](const CTestRoot& root) { root.SetVendorAnswers(0, 0, 7); },
     "start",
     {"CheckInstall", "ServiceStart"}},
    {"stop_fails",
     [](const CTestRoot& root) { root.SetVendorAnswers(0, 255, 0); },
     "stop",
     {"CheckInstall", "ServiceStop"}},
    {"restart", Nothing, "restart", {"CheckInstall", "ServiceStop", "ServiceStart"}},
    {"restart_stop_fails",
     [](const CTestRoot& root) { root.SetVendorAnswers(0, 255, 0); },
     "restart",
     {"CheckInstall", "ServiceStop"}},
    {"stop_not_run",
     [](const CTestRoot&) { WriteFile(DeviceFile(), "ServiceStop=/no/such/program\n"); },
     "stop",
     {}},
    {"not_installed",
     [](const CTestRoot& root) { root.SetVendorAnswers(1, 0, 0); },
     "start",
     {"CheckInstall"}},
    {"no_description", [](const CTestRoot& root) { root.RemoveDeviceDescription(); }, "stop", {}},
    {"refused_description",
     [](const CTestRoot&) {
         fs::permissions(DeviceFile(), fs::perms::group_write, fs::perm_options::add);
     },
     "status",
     {}},
    {"no_lock_folder",
     [](const CTestRoot&) { fs::remove_all(fs::path(KzmPaths::kLockFile).parent_path()); },
     "stop",
     {"CheckInstall"}},
    {"unknown_action", Nothing, "strat", {}},
    {"unknown_action_unsafe", Nothing, "\x1B[2J", {}},
};

class Service : public testing::TestWithParam<ServiceRow> {};

TEST_P(Service, SaysAndRuns) {
    const CTestRoot root;
    GetParam().m_pPrepare(root);
    const CProgram::Result result = CProgram({"service", GetParam().m_pAction}).Run();
    std::string name = GetParam().m_pName;
    std::replace(name.begin(), name.end(), '_', '-');
    CGolden::Expect("service-" + name, result);
    EXPECT_EQ(root.VendorCalls(), GetParam().m_calls);
}

std::string ServiceRowName(const testing::TestParamInfo<ServiceRow>& info) {
    return info.param.m_pName;
}

INSTANTIATE_TEST_SUITE_P(Rows, Service, testing::ValuesIn(kServiceRows), ServiceRowName);

TEST(ServiceCommand, WantsAnAction) {
    const CTestRoot root;
    CGolden::Expect("service-no-action", CProgram({"service"}).Run());
}

TEST(ServiceCommand, WaitsForTheLock) {
    const CTestRoot root;
    const CHeldLock lock;
    std::thread holder([&root, &lock] {
        std::this_thread::sleep_for(std::chrono::milliseconds(700));
        EXPECT_EQ(root.VendorCalls(), Calls{"CheckInstall"});
        lock.Release();
    });
    const CProgram::Result result = CProgram({"service", "stop"}).Run();
    holder.join();
    EXPECT_EQ(result.m_iExitCode, 0) << result.m_sError;
    EXPECT_EQ(root.VendorCalls(), (Calls{"CheckInstall", "ServiceStop"}));
    EXPECT_TRUE(IsLockFree());
}

TEST(ServiceCommand, TellsTheStatusWithoutTheLock) {
    const CTestRoot root;
    AddRecordedStatus(0);
    const CHeldLock lock;
    EXPECT_EQ(CProgram({"service", "status"}).Run().m_sOutput, "running\n");
}

} // namespace
