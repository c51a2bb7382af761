#include "tests/fault/HostRecovery.h"

#include "KzmPaths.h"
#include "tests/support/CProgram.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/system/loggerctl/SampleHistory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

void HostRecovery::KeepCopies() {
    SampleHistory::Add(SampleHistory::kOlder, "before", ReadFile(KzmPaths::kAgentConfig),
                       ReadFile(KzmPaths::kAlertConfig));
}

void HostRecovery::ExpectRestored(const CTestRoot& root) {
    // Forced, since a failure may leave the files as they were and the service stopped.
    const CProgram::Result result = CProgram({"restore", "--force", SampleHistory::kOlder}).Run();
    EXPECT_EQ(0, result.m_iExitCode) << result.m_sError;
    const std::string copy = SampleHistory::Path(SampleHistory::kOlder);
    EXPECT_EQ(ReadFile(copy + "/agent.cfg"), ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(ReadFile(copy + "/alert.cfg"), ReadFile(KzmPaths::kAlertConfig));
    EXPECT_FALSE(IsStopped(root));
    ExpectNoRemains();
    EXPECT_TRUE(IsLockFree());
}

bool HostRecovery::IsStopped(const CTestRoot& root) {
    std::vector<std::string> calls = root.VendorCalls();
    calls.erase(std::remove(calls.begin(), calls.end(), "CheckInstall"), calls.end());
    return !calls.empty() && calls.back() == "ServiceStop";
}

void HostRecovery::ExpectNoRemains() {
    for (const fs::directory_entry& entry :
         fs::directory_iterator(fs::path(KzmPaths::kAgentConfig).parent_path())) {
        EXPECT_EQ(".cfg", entry.path().extension()) << entry.path();
    }
    for (const std::string& name : SampleHistory::Names()) {
        EXPECT_NE('.', name.front()) << name;
    }
}
