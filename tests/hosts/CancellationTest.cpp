// Hosts that cancel threads in a call.

#include "KzmPaths.h"
#include "providerbase/CVendor.h"
#include "providerbase/CVendorFactory.h"
#include "settings/LockFile.h"
#include "tests/hosts/ProcessState.h"
#include "tests/support/CLoadedProvider.h"
#include "tests/support/CPthread.h"
#include "tests/support/CTempFile.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/ProviderLockFile.h"
#include "tests/support/TableTest.h"

#include <signal.h>

#include <filesystem>

using std::string;

namespace {

class CancelledCall : public testing::Test {
protected:
    // A call of the method with a request that changes both files.
    void Run(const string& method) {
        IWbemClassObject request;
        ChangedConf().ConvertToIWbemClassObject(&request);
        m_provider->Call(method, &request);
    }

    void ExpectNothingHeld() const {
        EXPECT_TRUE(IsLockFree());
        EXPECT_EQ(m_descriptors, OpenDescriptors());
    }

    CTestRoot m_root;
    std::unique_ptr<CLoadedProvider> m_provider = std::make_unique<CLoadedProvider>();
    std::size_t m_descriptors = OpenDescriptors();
};

TEST_F(CancelledCall, EndsInTheWaitForTheLock) {
    for (const string method : {"GetParameter", "SetParameter"}) {
        const int lock = LockFile::Take();
        const std::size_t before = m_root.VendorCalls().size();
        CPthread thread([&] { Run(method); });
        // Behind the first command there is nothing to wait for but the lock.
        EXPECT_TRUE(WaitUntil([&] { return m_root.VendorCalls().size() == before + 1; }));
        thread.Cancel();
        EXPECT_TRUE(thread.WasCancelled());
        EXPECT_FALSE(IsLockFree());
        LockFile::Give(lock);
        ExpectNothingHeld();
        EXPECT_EQ(0U, m_provider->Result("GetParameter"));
    }
}

// ---- In a command ----

struct CommandRow {
    const char* name;
    const char* method;
    bool isWritten; // by the time that the command runs
};
void PrintTo(const CommandRow& row, std::ostream* out) {
    *out << row.name << " of " << row.method;
}

class CancelledCommand : public testing::TestWithParam<CommandRow> {
protected:
    CancelledCommand() {
        // As long as the file "hang" names it, a command says who it is and does not end.
        WriteFile(kScript, "#!/bin/sh\n"
                           "[ \"$(cat " +
                               kHang +
                               ")\" = \"$1\" ] || exit 0\n"
                               "echo $$ > " +
                               kPid + ".new; mv " + kPid + ".new " + kPid +
                               "\n"
                               "exec /bin/sleep 600\n");
        std::filesystem::permissions(kScript, std::filesystem::perms(0755));
        string description;
        for (const string command : {"CheckInstall", "ServiceStop", "ServiceStart"}) {
            description.append(command).append("=").append(kScript).append(" ").append(command);
            description += "\n";
        }
        WriteFile(string(KzmPaths::kDeviceFolder) + "/Logger.conf", description);
        WriteFile(kHang, GetParam().name);
    }

    const string kScript = CTestRoot::Path("/opt/veltaro/agent/command");
    const string kHang = CTestRoot::Path("/opt/veltaro/agent/hang");
    const string kPid = CTestRoot::Path("/opt/veltaro/agent/pid");
    CTestRoot m_root;
};

TEST_P(CancelledCommand, IsEndedAndTheLockGivenBack) {
    CLoadedProvider provider;
    const std::size_t descriptors = OpenDescriptors();
    IWbemClassObject request;
    ChangedConf().ConvertToIWbemClassObject(&request);
    CPthread thread([&] { provider.Call(GetParam().method, &request); });
    ASSERT_TRUE(WaitUntil([&] { return std::filesystem::exists(kPid); }));
    const pid_t process = std::stoi(ReadFile(kPid));
    thread.Cancel();
    EXPECT_TRUE(thread.WasCancelled());
    EXPECT_EQ(-1, kill(process, 0)) << "the command runs, or nobody has taken its status";
    EXPECT_TRUE(IsLockFree());
    EXPECT_EQ(descriptors, OpenDescriptors());
    EXPECT_EQ(GetParam().isWritten ? ChangedAlert() : CTestRoot::kAlertConfig,
              ReadFile(KzmPaths::kAlertConfig));
    // The next call finds all as it should be.
    WriteFile(kHang, "none");
    EXPECT_EQ(0U, provider.SetResult(ChangedConf()));
}

INSTANTIATE_TEST_SUITE_P(Of, CancelledCommand,
                         testing::Values(CommandRow{"CheckInstall", "GetParameter", false},
                                         CommandRow{"ServiceStop", "SetParameter", false},
                                         CommandRow{"ServiceStart", "SetParameter", true}),
                         RowName<CommandRow>);

// ---- Requests that come while a thread cannot be cancelled ----

// A vendor object of the host's: its commands are the function, and succeed.
class CHostVendor : public CVendor {
public:
    explicit CHostVendor(std::function<void(const string&)> command)
        : CVendor("Logger", "Logger", {}),
          m_command(std::move(command)) {}

    ~CHostVendor() noexcept(false) override { pthread_testcancel(); }

    int ExecuteCommand(const string& command) override {
        m_command(command);
        return 0;
    }

private:
    std::function<void(const string&)> m_command;
};

class PendingCancellation : public CancelledCall {
protected:
    ~PendingCancellation() override {
        CVendorFactory::SetMaker({});
        CTraceUtility::SetDestination(0, "");
    }

    void UseVendor(const std::function<void(const string&)>& command) {
        CVendorFactory::SetMaker([command](const auto&, const auto&, const auto&) {
            return std::make_unique<CHostVendor>(command);
        });
        m_provider = std::make_unique<CLoadedProvider>();
        m_descriptors = OpenDescriptors();
    }
};

TEST_F(PendingCancellation, WaitsUntilTheFilesAreRead) {
    UseVendor([](const string&) { pthread_cancel(pthread_self()); });
    CCallOutcome outcome;
    CPthread thread([&] {
        outcome = m_provider->Call("GetParameter");
        pthread_testcancel();
    });
    EXPECT_TRUE(thread.WasCancelled());
    EXPECT_EQ("", outcome.m_sError);
    EXPECT_EQ(0, outcome.m_status);
    EXPECT_NE(nullptr, outcome.m_output);
    ExpectNothingHeld();
}

TEST_F(PendingCancellation, WaitsUntilTheFilesAreWritten) {
    UseVendor([](const string& command) {
        if (command == "ServiceStop") {
            pthread_cancel(pthread_self());
        } else {
            pthread_testcancel();
        }
    });
    CPthread thread([&] { Run("SetParameter"); });
    EXPECT_TRUE(thread.WasCancelled());
    EXPECT_EQ(ChangedAgent(), ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(ChangedAlert(), ReadFile(KzmPaths::kAlertConfig));
    ExpectNothingHeld();
}

TEST_F(PendingCancellation, WaitsUntilTheProviderIsMadeOrDestroyed) {
    const CTempFile file("");
    CTraceUtility::SetDestination(15, file.Path()); // every line is a write
    bool isMade = false;
    bool isDestroyed = false;
    UseVendor({});
    CPthread thread([&] {
        pthread_cancel(pthread_self());
        {
            const CLoadedProvider provider;
            isMade = true;
        }
        isDestroyed = true;
        pthread_testcancel();
    });
    EXPECT_TRUE(thread.WasCancelled());
    EXPECT_TRUE(isMade);
    EXPECT_TRUE(isDestroyed);
    EXPECT_NE(string::npos, ReadFile(file.Path()).find("::~CVELTARO_ToolServiceLogger() [END]"));
}

TEST_F(PendingCancellation, EndsTheMakingWhereTheHostItselfCanBeCancelled) {
    CVendorFactory::SetMaker([](const auto&, const auto&, const auto&) {
        pthread_cancel(pthread_self());
        pthread_testcancel();
        return nullptr;
    });
    CPthread thread([] { const CLoadedProvider provider; });
    EXPECT_TRUE(thread.WasCancelled());
    ExpectNothingHeld();
}

} // namespace
