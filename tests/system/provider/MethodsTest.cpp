// Both methods end to end: the answer, the files, the vendor commands and the whole trace.

#include "tests/support/CLoadedProvider.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/ProviderLockFile.h"

#include "KzmPaths.h"
#include "comlib/CIWbemUtil.h"

#include <gtest/gtest.h>

using std::string;

namespace {

const string kClass = "CVELTARO_ToolServiceLogger::";
const TraceLines kLoading = {{4, "CLoggerConf::CLoggerConf() [START]"},
                             {4, "CLoggerConf::CLoggerConf() [END]"}};
const std::vector<string> kStopped = {"CheckInstall", "ServiceStop"};
const std::vector<string> kRestarted = {"CheckInstall", "ServiceStop", "ServiceStart"};

TraceLines Join(std::initializer_list<TraceLines> lists) {
    TraceLines lines;
    for (const TraceLines& list : lists) {
        lines.insert(lines.end(), list.begin(), list.end());
    }
    return lines;
}

// The whole trace of a method call, with what the method traces between its start and end.
TraceLines CallTrace(const string& method, const TraceLines& lines, const string& result) {
    return Join({{{4, kClass + "ExecMethodAsync [START]"}, {4, kClass + method + " [START]"}},
                 lines,
                 {{4, kClass + method + " [END]"},
                  {1, kClass + "ExecMethodAsync mr=" + result},
                  {4, kClass + "ExecMethodAsync [END]"}}});
}

// The dump of the settings that differ from the sample.
TraceLines ChangedDump() {
    TraceLines lines = SampleDump();
    for (TraceLine& line : lines) {
        line.m_sText = line.m_sText == "m_iThreshold=90" ? "m_iThreshold=95" : line.m_sText;
        if (line.m_sText == "m_sVolumeName=/") {
            break;
        }
    }
    lines[3].m_sText = "m_bInformationAlert=1";
    return lines;
}

class Methods : public testing::Test {
protected:
    CTestRoot m_root;
};

TEST_F(Methods, LifeOfTheObjectIsTraced) {
    const CTraceCapture trace;
    CLoadedProvider provider;
    const TraceLines made = {{4, kClass + "CVELTARO_ToolServiceLogger() [START]"},
                             {4, kClass + "CVELTARO_ToolServiceLogger() [END]"}};
    EXPECT_EQ(made, trace.Lines());
    provider.Unload();
    EXPECT_EQ(Join({made,
                    {{4, kClass + "~CVELTARO_ToolServiceLogger() [START]"},
                     {4, kClass + "~CVELTARO_ToolServiceLogger() [END]"}}}),
              trace.Lines());
}

TEST_F(Methods, WithoutDeviceDescriptionBothMethodsFail) {
    m_root.RemoveDeviceDescription();
    const CTraceCapture trace;
    CLoadedProvider provider;
    EXPECT_EQ((TraceLines{{1, kClass + "CVELTARO_ToolServiceLogger() pVendor == NULL"}}),
              trace.Lines(1));
    EXPECT_EQ(0x80000001U, provider.Result("GetParameter"));
    EXPECT_EQ(0x80000001U, provider.SetResult(ChangedConf()));
    EXPECT_EQ((TraceLines{{2, kClass + "GetParameter() CIM_VTR_E_CRITICAL_ERROR"},
                          {2, kClass + "SetParameter() CIM_VTR_E_CRITICAL_ERROR"}}),
              trace.Lines(2));
    EXPECT_EQ(CTestRoot::kAgentConfig, ReadFile(KzmPaths::kAgentConfig));
}

// ---- GetParameter ----

TEST_F(Methods, GetParameterAnswersTheSettings) {
    CLoadedProvider provider;
    const CTraceCapture trace;
    const CCallOutcome outcome = provider.Call("GetParameter");
    EXPECT_EQ(CallTrace("GetParameter", Join({kLoading, SampleDump()}), "0x00000000"),
              trace.Lines());
    EXPECT_EQ("", outcome.m_sError);
    EXPECT_EQ(0, outcome.m_status);
    EXPECT_EQ(0U, outcome.m_uiMethodResult);
    ASSERT_NE(nullptr, outcome.m_output);
    const CLoggerConf answered(outcome.m_output.get());
    const CLoggerConf sample = SampleConf();
    EXPECT_EQ(0, answered.m_iStatus);
    EXPECT_TRUE(sample.Compare(&answered));
    EXPECT_EQ(std::vector<string>{"CheckInstall"}, m_root.VendorCalls());
    EXPECT_TRUE(IsLockFree());
    EXPECT_EQ(CTestRoot::kAgentConfig, ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(CTestRoot::kAlertConfig, ReadFile(KzmPaths::kAlertConfig));
}

IWbemClassObject* Embedded(IWbemClassObject* object, const char* name) {
    IWbemClassObject* value = nullptr;
    EXPECT_EQ(0, CIWbemUtil::getParameterClassFromIWbemClassObject(object, name, &value)) << name;
    return value;
}

TEST_F(Methods, AnswerHasThePropertiesThatClientsRead) {
    CLoadedProvider provider;
    const CCallOutcome outcome = provider.Call("GetParameter");
    IWbemClassObject* conf = Embedded(outcome.m_output.get(), "LoggerConf");
    bool flag = true;
    EXPECT_EQ(0, CIWbemUtil::getBoolFromIWbemClassObject(Embedded(conf, "SyslogOutputConf"),
                                                         "InformationAlert", &flag));
    EXPECT_FALSE(flag);
    unsigned int count = 0;
    EXPECT_EQ(0, CIWbemUtil::getUIntFromIWbemClassObject(Embedded(conf, "UsageMonitorConfMemory"),
                                                         "SamplingCount", &count));
    EXPECT_EQ(3U, count);
    int threshold = 0;
    EXPECT_EQ(0, CIWbemUtil::getIntFromIWbemClassObject(Embedded(conf, "UsageMonitorConfCpu"),
                                                        "Threshold", &threshold));
    EXPECT_EQ(90, threshold);
    std::vector<IWbemClassObject*> rows;
    EXPECT_EQ(0, CIWbemUtil::getParameterClassArrayFromIWbemClassObject(
                     Embedded(conf, "FsUsageMonitorConf"), "FsThresholdConfList", &rows));
    ASSERT_EQ(3U, rows.size());
    string name;
    EXPECT_EQ(0, CIWbemUtil::getStringFromIWbemClassObject(rows[2], "VolumeName", &name));
    EXPECT_EQ("/data", name);
}

TEST_F(Methods, GetParameterThatFailsAnswersTheResultAlone) {
    m_root.SetAlertConfig("CPU=(True, 60, 5, 90)\nFILESYSTEM=(True, 300, 2)\n");
    CLoadedProvider provider;
    const CTraceCapture trace;
    const CCallOutcome outcome = provider.Call("GetParameter");
    const TraceLine missing{2, "CLoggerUsageMonitorConf::CLoggerUsageMonitorConf nSetFlag=0000"};
    EXPECT_EQ(CallTrace("GetParameter",
                        {kLoading[0],
                         missing,
                         kLoading[1],
                         {2, kClass + "GetParameter() CLoggerConf status error"}},
                        "0x80000001"),
              trace.Lines());
    EXPECT_EQ("", outcome.m_sError);
    EXPECT_EQ(0, outcome.m_status);
    EXPECT_EQ(0x80000001U, outcome.m_uiMethodResult);
    IWbemClassObject* conf = nullptr;
    EXPECT_GT(0, CIWbemUtil::getParameterClassFromIWbemClassObject(outcome.m_output.get(),
                                                                   "LoggerConf", &conf));
    EXPECT_TRUE(IsLockFree());
}

// ---- SetParameter ----

TEST_F(Methods, SetParameterWritesTheSettings) {
    CLoadedProvider provider;
    IWbemClassObject inParams;
    ASSERT_TRUE(ChangedConf().ConvertToIWbemClassObject(&inParams));
    const CTraceCapture trace;
    const CCallOutcome outcome = provider.Call("SetParameter", &inParams);
    EXPECT_EQ(CallTrace("SetParameter",
                        Join({kLoading,
                              ChangedDump(),
                              ChangedDump(),
                              {{4, kClass + "EditConfigFile [START]"}},
                              kLoading,
                              {{4, kClass + "EditConfigFile [END]"}}}),
                        "0x00000000"),
              trace.Lines());
    EXPECT_EQ("", outcome.m_sError);
    EXPECT_EQ(0, outcome.m_status);
    EXPECT_EQ(0U, outcome.m_uiMethodResult);
    EXPECT_EQ(kRestarted, m_root.VendorCalls());
    EXPECT_EQ(ChangedAgent(), ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(ChangedAlert(), ReadFile(KzmPaths::kAlertConfig));
    EXPECT_TRUE(IsLockFree());
}

TEST_F(Methods, WhatWasSetIsAnswered) {
    CLoadedProvider provider;
    ASSERT_EQ(0U, provider.SetResult(ChangedConf()));
    const CCallOutcome outcome = provider.Call("GetParameter");
    ASSERT_NE(nullptr, outcome.m_output);
    const CLoggerConf answered(outcome.m_output.get());
    const CLoggerConf changed = ChangedConf();
    EXPECT_TRUE(changed.Compare(&answered));
    // An answer can be handed back as a request.
    CCallOutcome again = provider.Call("SetParameter", outcome.m_output.get());
    EXPECT_EQ(0U, again.m_uiMethodResult);
    EXPECT_EQ(ChangedAlert(), ReadFile(KzmPaths::kAlertConfig));
}

TEST_F(Methods, SetParameterWithoutACompleteRequestLeavesTheServiceStopped) {
    CLoadedProvider provider;
    IWbemClassObject inParams;
    IWbemClassObject incomplete;
    CIWbemUtil::setParameterClassToIWbemClassObject(&inParams, "LoggerConf", &incomplete);
    const CTraceCapture trace;
    const CCallOutcome outcome = provider.Call("SetParameter", &inParams);
    EXPECT_EQ(CallTrace("SetParameter",
                        {kLoading[0],
                         {2, "CLoggerConf::CLoggerConf getParameterClassFromIWbemClassObject is "
                             "FAILED 80041002"},
                         kLoading[1],
                         {2, kClass + "SetParameter() CLoggerConf status error"}},
                        "0x80000001"),
              trace.Lines());
    EXPECT_EQ("", outcome.m_sError);
    EXPECT_EQ(0x80000001U, outcome.m_uiMethodResult);
    EXPECT_EQ(kStopped, m_root.VendorCalls());
    EXPECT_EQ(CTestRoot::kAgentConfig, ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(CTestRoot::kAlertConfig, ReadFile(KzmPaths::kAlertConfig));
    EXPECT_TRUE(IsLockFree());
}

TEST_F(Methods, VendorAnswersDecide) {
    const struct {
        int checkInstall, serviceStop, serviceStart;
        std::uint32_t result;
        string reason;
        std::vector<string> calls;
        bool isWritten;
    } rows[] = {
        {1, 0, 0, 176, "Logger not installed", {"CheckInstall"}, false},
        {2, 0, 0, 0, "", kRestarted, true},
        {0, 1, 0, 0x80000001, "ServiceStop failure 1", kStopped, false},
        {0, 124, 0, 0x80000001, "ServiceStop failure 124", kStopped, false},
        {0, 0, 3, 0x80000001, "ServiceStart failure 3", kRestarted, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reason);
        const CTestRoot root;
        root.SetVendorAnswers(row.checkInstall, row.serviceStop, row.serviceStart);
        CLoadedProvider provider;
        const CTraceCapture trace;
        EXPECT_EQ(row.result, provider.SetResult(ChangedConf()));
        TraceLines failures;
        if (!row.reason.empty()) {
            failures = {{2, kClass + "SetParameter() " + row.reason}};
        }
        EXPECT_EQ(failures, trace.Lines(2));
        EXPECT_EQ(row.calls, root.VendorCalls());
        EXPECT_EQ(row.isWritten ? ChangedAgent() : CTestRoot::kAgentConfig,
                  ReadFile(KzmPaths::kAgentConfig));
    }
}

TEST_F(Methods, OtherMethodsAreNotSupported) {
    CLoadedProvider provider;
    for (const string method : {"ExecuteUpdate", "getparameter", ""}) {
        SCOPED_TRACE(method);
        const CCallOutcome outcome = provider.Call(method);
        EXPECT_EQ("", outcome.m_sError);
        EXPECT_EQ(static_cast<HRESULT>(0x8004100C), outcome.m_status);
        EXPECT_EQ(nullptr, outcome.m_output);
        EXPECT_EQ(std::vector<string>{}, m_root.VendorCalls());
    }
}

} // namespace
