#include "providerbase/CVELTARO_ToolService.h"
#include "providerbase/IWbemClassObject.h"
#include "tests/support/CTraceCapture.h"

#include <gtest/gtest.h>

namespace {

class CVELTARO_ServiceTest : public testing::Test {
protected:
    CVELTARO_ToolService m_service{"Provider", "vendor", "34.1"};
};

TEST_F(CVELTARO_ServiceTest, KnowsItsNameAndVersion) {
    EXPECT_EQ("Provider", m_service.GetProviderName());
    EXPECT_EQ("34.1", m_service.GetProviderVersion());
}

TEST_F(CVELTARO_ServiceTest, TracesTheVersionOfItsLibrary) {
    const CTraceCapture trace("KzmProviderBase");
    m_service.writeDLLFileVersionLog("Provider%s.dll");
    EXPECT_EQ((TraceLines{{1, "Provider%s.dll version 34.1"}}), trace.Lines());
}

TEST_F(CVELTARO_ServiceTest, SupportsNoMethodOfItsOwn) {
    char className[] = "Class";
    char methodName[] = "GetParameter";
    EXPECT_EQ(WbemResult::kNotSupported,
              m_service.ExecMethodAsync(className, methodName, 0, nullptr, nullptr, nullptr));
    EXPECT_EQ(WbemResult::kNotSupported,
              m_service.ExecMethodAsync(nullptr, nullptr, 0, nullptr, nullptr, nullptr));
}

TEST_F(CVELTARO_ServiceTest, SupportsNoUpdateOperation) {
    using Operation = HRESULT (CVELTARO_ToolService::*)(IWbemClassObject*, IWbemClassObject*);
    using Service = CVELTARO_ToolService;
    const Operation operations[] = {
        &Service::CheckUpdateModuleConformity,
        &Service::RegisterUpdateModule,
        &Service::ExecuteUpdateBackup,
        &Service::ExecutePreUpdate,
        &Service::ExecuteUpdate,
        &Service::ExecuteUpdateRestore,
        &Service::ExecuteUpdateApplyCheck,
        &Service::SetUpdatePriority,
        &Service::CheckDependency,
        &Service::GetUpdatePlans,
        &Service::SetDependencyInfo,
        &Service::ClearUpdateStatus,
        &Service::OutputDeviceConfigInfo,
        &Service::GetShortageOfNecessaryComponentInfo,
    };
    for (const Operation operation : operations) {
        IWbemClassObject in;
        IWbemClassObject out;
        EXPECT_EQ(WbemResult::kNotSupported, (m_service.*operation)(&in, &out));
        EXPECT_TRUE(in.GetProperties().empty());
        EXPECT_TRUE(out.GetProperties().empty());
    }
    EXPECT_EQ(WbemResult::kNotSupported, m_service.CheckOtherDependency(nullptr, true));
    EXPECT_EQ(WbemResult::kNotSupported, m_service.ChangeRtnCdReboot("0"));
    EXPECT_EQ(WbemResult::kNotSupported, m_service.ChangeRtnCdPriority(0, 0));
    EXPECT_EQ(WbemResult::kNotSupported, m_service.CreateManageModuleInfo(nullptr, nullptr));
    EXPECT_EQ(WbemResult::kNotSupported, m_service.CheckUpdateCondition(nullptr, "", true, true));
}

} // namespace
