// Vendor objects whose code faults.

#include "comlib/KzmException.h"
#include "providerbase/CVendor.h"
#include "providerbase/CVendorFactory.h"
#include "tests/support/CLoadedProvider.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/ProviderLockFile.h"

#include <gtest/gtest.h>

namespace {

const char kCaught[] = "CVELTARO_ToolServiceLogger::ExecMethodAsync() [exception:SIGSEGV at 0x0]";

void WriteThroughNull() {
    int* volatile nowhere = nullptr;
    *nowhere = 1;
}

// What the vendor object of a test does.
struct Behaviour {
    std::string m_sFaultingCommand;
    bool m_bFaultsWhenDestroyed = false;
    std::vector<std::string> m_commands; // that were run
};

class CFaultyVendor : public CVendor {
public:
    explicit CFaultyVendor(Behaviour* behaviour)
        : CVendor("Logger", "Logger", CDeviceDescription()),
          m_pBehaviour(behaviour) {}
    ~CFaultyVendor() noexcept(false) override {
        if (m_pBehaviour->m_bFaultsWhenDestroyed) {
            WriteThroughNull();
        }
    }

    int ExecuteCommand(const std::string& command) override {
        m_pBehaviour->m_commands.push_back(command);
        if (command == m_pBehaviour->m_sFaultingCommand) {
            WriteThroughNull();
        }
        return 0;
    }

private:
    Behaviour* m_pBehaviour;
};

class VendorFault : public testing::Test {
protected:
    void SetUp() override {
#ifdef KZM_NO_FAULT_TRANSLATION
        GTEST_SKIP() << "the sanitizers handle the fault signals themselves";
#endif
        CVendorFactory::SetMaker(
            [this](const auto&...) { return std::make_unique<CFaultyVendor>(&m_behaviour); });
    }
    void TearDown() override {
        CVendorFactory::SetMaker({});
    }

    CTestRoot m_root;
    Behaviour m_behaviour;
};

void ExpectCaught(const CCallOutcome& outcome, const CTraceCapture& trace) {
    EXPECT_EQ("", outcome.m_sError);
    EXPECT_EQ(static_cast<HRESULT>(0x80041001), outcome.m_status);
    ASSERT_NE(nullptr, outcome.m_output);
    EXPECT_EQ(0x80000002U, outcome.m_uiMethodResult);
    EXPECT_EQ((TraceLines{{8, kCaught}}), trace.Lines(8));
}

TEST_F(VendorFault, BeforeTheLockLeavesItFree) {
    CLoadedProvider provider;
    for (const char* method : {"GetParameter", "SetParameter"}) {
        SCOPED_TRACE(method);
        m_behaviour.m_sFaultingCommand = "CheckInstall";
        const CTraceCapture trace;
        ExpectCaught(provider.Call(method), trace);
        EXPECT_TRUE(IsLockFree());
    }
    m_behaviour.m_sFaultingCommand.clear();
    EXPECT_EQ(0U, provider.Result("GetParameter"));
    EXPECT_EQ(0U, provider.SetResult(ChangedConf()));
}

TEST_F(VendorFault, BehindTheLockLeavesItHeld) {
    for (const char* command : {"ServiceStop", "ServiceStart"}) {
        SCOPED_TRACE(command);
        const CTestRoot root; // with a lock file of its own
        CLoadedProvider provider;
        m_behaviour.m_sFaultingCommand = command;
        m_behaviour.m_commands.clear();
        const CTraceCapture trace;
        ExpectCaught(provider.Set(ChangedConf()), trace);
        EXPECT_EQ(command, m_behaviour.m_commands.back());
        EXPECT_FALSE(IsLockFree());
    }
}

TEST_F(VendorFault, InTheVendorsDestructorIsTraced) {
    CLoadedProvider provider;
    m_behaviour.m_bFaultsWhenDestroyed = true;
    const CTraceCapture trace;
    provider.Unload();
    const std::string destroyed = "CVELTARO_ToolServiceLogger::~CVELTARO_ToolServiceLogger() ";
    EXPECT_EQ((TraceLines{{4, destroyed + "[START]"},
                          {8, destroyed + "[exception:SIGSEGV at 0x0]"},
                          {4, destroyed + "[END]"}}),
              trace.Lines());
}

} // namespace
