#include "settings/CLoggerConf.h"

#include "comlib/CIWbemUtil.h"
#include "providerbase/IWbemClassObject.h"
#include "tests/support/CTraceCapture.h"
#include "tests/support/SampleConf.h"
#include "tests/unit/settings/RecordTest.h"

#include <gtest/gtest.h>

#include <functional>

using std::string;

namespace {

const string kParts[] = {"SyslogOutputConf", "UsageMonitorConfCpu", "UsageMonitorConfMemory",
                         "FsUsageMonitorConf"};

// Input parameters that hold the sample, with one change to its "LoggerConf" object.
IWbemClassObject InParams(const std::function<void(IWbemClassObject*)>& change = {}) {
    IWbemClassObject inParams;
    EXPECT_TRUE(SampleConf().ConvertToIWbemClassObject(&inParams));
    IWbemClassObject* conf = nullptr;
    EXPECT_EQ(0, CIWbemUtil::getParameterClassFromIWbemClassObject(&inParams, "LoggerConf", &conf));
    if (change) {
        change(conf);
    }
    return inParams;
}

bool IsDefault(const CLoggerConf& conf) {
    const CLoggerConf defaults;
    return conf.Compare(&defaults);
}

TEST(CLoggerConf, DefaultRecordIsTracedAndOff) {
    const CTraceCapture trace;
    const CLoggerConf conf;
    EXPECT_EQ((TraceLines{kStart, kEnd}), trace.Lines());
    EXPECT_EQ(0, conf.m_iStatus);
    EXPECT_TRUE(IsDefault(conf));
}

TEST(CLoggerConf, InitMemberClearsEveryPart) {
    CLoggerConf conf = SampleConf();
    conf.m_iStatus = 1;
    conf.InitMember();
    EXPECT_EQ(0, conf.m_iStatus);
    EXPECT_TRUE(IsDefault(conf));
}

TEST(CLoggerConf, SurvivesTheParameters) {
    IWbemClassObject inParams = InParams();
    const CTraceCapture trace;
    const CLoggerConf conf(&inParams);
    EXPECT_EQ((TraceLines{kStart, kEnd}), trace.Lines());
    EXPECT_EQ(0, conf.m_iStatus);
    const CLoggerConf sample = SampleConf();
    EXPECT_TRUE(conf.Compare(&sample));
    EXPECT_TRUE(sample.Compare(&conf));
}

TEST(CLoggerConf, WritesFourObjectsInOrder) {
    IWbemClassObject outParams;
    const CTraceCapture trace;
    ASSERT_TRUE(CLoggerConf().ConvertToIWbemClassObject(&outParams));
    EXPECT_EQ((TraceLines{kStart, kEnd}), trace.Lines());
    IWbemClassObject* conf = nullptr;
    ASSERT_EQ(0,
              CIWbemUtil::getParameterClassFromIWbemClassObject(&outParams, "LoggerConf", &conf));
    ASSERT_EQ(4U, conf->GetProperties().size());
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(kParts[i], conf->GetProperties()[i].m_sName);
        EXPECT_EQ(WbemType::Object, conf->GetProperties()[i].m_type);
    }
    EXPECT_TRUE(IsDefault(CLoggerConf(&outParams)));
}

TEST(CLoggerConf, NeedsTheLoggerConfObject) {
    IWbemClassObject empty;
    for (const auto& [object, result] :
         {std::pair<IWbemClassObject*, string>{&empty, "80041002"}, {nullptr, "80041008"}}) {
        const CTraceCapture trace;
        const CLoggerConf conf(object);
        EXPECT_EQ((TraceLines{kStart,
                              {2, "CLoggerConf::CLoggerConf getParameterClassFromIWbemClassObject "
                                  "is FAILED " +
                                      result},
                              kEnd}),
                  trace.Lines());
        EXPECT_EQ(1, conf.m_iStatus);
        EXPECT_TRUE(IsDefault(conf));
    }
}

TEST(CLoggerConf, PartsBesideTheLoggerConfObjectAreNotRead) {
    IWbemClassObject inParams = InParams();
    IWbemClassObject* conf = nullptr;
    CIWbemUtil::getParameterClassFromIWbemClassObject(&inParams, "LoggerConf", &conf);
    IWbemClassObject flat(*conf);
    EXPECT_EQ(1, CLoggerConf(&flat).m_iStatus);
}

TEST(CLoggerConf, NeedsEachPart) {
    for (const string& missing : kParts) {
        SCOPED_TRACE(missing);
        IWbemClassObject inParams =
            InParams([&missing](IWbemClassObject* conf) { conf->Put(missing.c_str(), {}); });
        const CTraceCapture trace;
        const CLoggerConf conf(&inParams);
        EXPECT_EQ((TraceLines{kStart,
                              {2, "CLoggerConf::CLoggerConf getParameterClassFromIWbemClassObject "
                                  "is FAILED 80041002"},
                              kEnd}),
                  trace.Lines());
        EXPECT_EQ(1, conf.m_iStatus);
        EXPECT_TRUE(IsDefault(conf));
    }
}

TEST(CLoggerConf, BadPartFailsTheRecordWithThePartsOwnTrace) {
    const string kReasons[] = {
        "CLoggerSyslogOutputConf::CLoggerSyslogOutputConf getBoolFromIWbemClassObject",
        "CLoggerUsageMonitorConf::CLoggerUsageMonitorConf getBoolFromIWbemClassObject",
        "CLoggerUsageMonitorConf::CLoggerUsageMonitorConf getBoolFromIWbemClassObject",
        "CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf getBoolFromIWbemClassObject"};
    for (std::size_t i = 0; i < 4; ++i) {
        SCOPED_TRACE(kParts[i]);
        IWbemClassObject inParams = InParams([i](IWbemClassObject* conf) {
            IWbemClassObject empty;
            CIWbemUtil::setParameterClassToIWbemClassObject(conf, kParts[i].c_str(), &empty);
        });
        const CTraceCapture trace;
        const CLoggerConf conf(&inParams);
        EXPECT_EQ((TraceLines{kStart, {2, kReasons[i] + " is FAILED 80041002"}, kEnd}),
                  trace.Lines());
        EXPECT_EQ(1, conf.m_iStatus);
        EXPECT_TRUE(IsDefault(conf)) << "parts that were read before must not be kept";
    }
}

TEST(CLoggerConf, OutputThatCannotTakeTheObjectFails) {
    IWbemClassObject refusing;
    refusing.DefineProperty("LoggerConf", WbemType::String);
    for (const auto& [object, result] :
         {std::pair<IWbemClassObject*, string>{&refusing, "80041005"}, {nullptr, "80041008"}}) {
        const CLoggerConf conf = SampleConf();
        const CTraceCapture trace;
        EXPECT_FALSE(conf.ConvertToIWbemClassObject(object));
        EXPECT_EQ((TraceLines{{2, "CLoggerConf::ConvertToIWbemClassObject "
                                  "setParameterClassToIWbemClassObject is FAILED " +
                                      result}}),
                  trace.Lines());
    }
}

// ---- Comparison and dump ----

TEST(CLoggerConf, CompareNamesThePartBehindItsField) {
    struct Row {
        std::function<void(CLoggerConf*)> change;
        TraceLines trace;
    };
    const Row rows[] = {
        {[](CLoggerConf* conf) { conf->m_SyslogOutputConf.m_bSyslogOutput = false; },
         {{2, "CLoggerSyslogOutputConf::Compare SyslogOutput not same. SyslogOutput1=1 "
              "SyslogOutput2=0"},
          {2, "CLoggerConf::Compare SyslogOutputConf not same."}}},
        {[](CLoggerConf* conf) {
             conf->m_UsageMonitorConf[0].m_iThreshold = 1;
             conf->m_UsageMonitorConf[1].m_iThreshold = 1;
         },
         {{2, "CLoggerUsageMonitorConf::Compare Threshold not same. Threshold1=90 Threshold2=1"},
          {2, "CLoggerConf::Compare UsageMonitorConfCpu not same."}}},
        {[](CLoggerConf* conf) { conf->m_UsageMonitorConf[1].m_iThreshold = 1; },
         {{2, "CLoggerUsageMonitorConf::Compare Threshold not same. Threshold1=85 Threshold2=1"},
          {2, "CLoggerConf::Compare UsageMonitorConfMemory not same."}}},
        {[](CLoggerConf* conf) { conf->m_FsUsageMonitorConf.m_bMonitoringEnable = false; },
         {{2, "CLoggerFsUsageMonitorConf::Compare MonitoringEnable not same. MonitoringEnable1=1 "
              "MonitoringEnable2=0"},
          {2, "CLoggerConf::Compare FsUsageMonitorConf not same."}}},
        {[](CLoggerConf* conf) { conf->m_iStatus = 1; }, {}},
    };
    for (const Row& row : rows) {
        const CLoggerConf left = SampleConf();
        CLoggerConf right = SampleConf();
        row.change(&right);
        const CTraceCapture trace;
        EXPECT_EQ(row.trace.empty(), left.Compare(&right));
        EXPECT_EQ(row.trace, trace.Lines());
    }
}

TEST(CLoggerConf, DumpsItsPartsInOrder) {
    const CLoggerConf conf = SampleConf();
    const CTraceCapture trace;
    conf.OutPutMemberToDebugLog();
    EXPECT_EQ(SampleDump(), trace.Lines());
}

} // namespace
