#include "tests/support/CLoadedProvider.h"

#include <gtest/gtest.h>

#include <stdexcept>

CLoadedProvider::CLoadedProvider() {
    std::string error;
    m_host = CProviderHost::Open(PROVIDER_LIBRARY, CLASS_DEFINITIONS, &error);
    if (m_host == nullptr) {
        throw std::runtime_error(error);
    }
}

CCallOutcome CLoadedProvider::Call(const std::string& method, IWbemClassObject* inParams) {
    return m_host->Call("VELTARO_ToolServiceLogger", method, inParams);
}

CCallOutcome CLoadedProvider::Set(const CLoggerConf& conf) {
    IWbemClassObject inParams;
    EXPECT_TRUE(conf.ConvertToIWbemClassObject(&inParams));
    return Call("SetParameter", &inParams);
}

std::uint32_t CLoadedProvider::Result(const std::string& method) {
    return ResultOf(Call(method));
}

std::uint32_t CLoadedProvider::SetResult(const CLoggerConf& conf) {
    return ResultOf(Set(conf));
}

std::uint32_t CLoadedProvider::ResultOf(const CCallOutcome& outcome) {
    EXPECT_EQ("", outcome.m_sError);
    EXPECT_EQ(0, outcome.m_status);
    EXPECT_NE(nullptr, outcome.m_output);
    return outcome.m_uiMethodResult;
}
