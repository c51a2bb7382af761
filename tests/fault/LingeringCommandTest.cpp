// A process that dies while a command that it started goes on running.

#include "KzmPaths.h"
#include "tests/fault/COrphans.h"
#include "tests/fault/CTracedProcess.h"
#include "tests/fault/SystemCallNumbers.h"
#include "tests/support/CLoadedProvider.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/FindHost.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/support/TableTest.h"

#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

using Kind = CSystemCallFault::Kind;
using namespace SystemCallNumbers;
using std::string;
using Clock = std::chrono::steady_clock;

namespace {

struct CommandRow {
    const char* name;
    const char* path; // the command that goes on running
    string last;      // what the command does first
    int point;        // which start of a command is the last thing that the process does, if any
};
std::ostream& operator<<(std::ostream& out, const CommandRow& row) {
    return out << row.name;
}

// For a vendor's command, between which and the host stands its keeper.
const std::string kKillHost = std::string(kFindHost) + "kill -KILL $host; ";

class LingeringCommand : public testing::TestWithParam<CommandRow> {};

int SetAndDie() {
    CLoadedProvider provider;
    IWbemClassObject inParams;
    ChangedConf().ConvertToIWbemClassObject(&inParams);
    CTracedProcess::OpenWindow();
    provider.Call("SetParameter", &inParams);
    return 0;
}

bool BecomesFree(std::chrono::milliseconds time) {
    const Clock::time_point deadline = Clock::now() + time;
    while (!IsLockFree()) {
        if (Clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

TEST_P(LingeringCommand, HasNoPartInTheLock) {
    if (!CTracedProcess::IsPermitted()) {
        GTEST_SKIP() << "nobody may trace here";
    }
    const CTestRoot root;
    const COrphans orphans;
    const string running = CTestRoot::Path("/running");
    const string script = CTestRoot::Path(GetParam().path);
    const string beginning = "#!/bin/sh\n[ \"$1\" = CheckInstall ] || ";
    WriteFile(script,
              beginning + "{ : > " + running + "; " + GetParam().last + "exec sleep 60; }\n");
    const CSystemCallFault fault{kStarting, Kind::kKillAfterwards, 0, GetParam().point};

    EXPECT_EQ(CTracedProcess::kKilled, CTracedProcess::Run(SetAndDie, fault).m_iStatus);

    while (!std::filesystem::exists(running)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_TRUE(BecomesFree(std::chrono::seconds(2)));
    EXPECT_FALSE(orphans.HaveEnded(std::chrono::milliseconds(0))) << "the command does not run";
}

const CommandRow kCommandRows[] = {
    {"ServiceStop", "/opt/veltaro/agent/vendor-command", kKillHost, 0},
    {"MountCommand", "/bin/mount", "", 3},
};

INSTANTIATE_TEST_SUITE_P(ThatIs, LingeringCommand, testing::ValuesIn(kCommandRows),
                         RowName<CommandRow>);

} // namespace
