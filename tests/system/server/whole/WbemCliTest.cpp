// What people get who use wbemcli.

#include "KzmPaths.h"
#include "tests/support/SampleConf.h"
#include "tests/system/loggerctl/CGolden.h"
#include "tests/system/server/whole/CWbemCli.h"
#include "tests/system/server/whole/RecordText.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

using std::string;
using Words = CProgram::Words;

namespace {

const string kClass = "root/cimv2:VELTARO_ToolServiceLogger";

class WbemCli : public testing::Test {
protected:
    WbemCli() {
        if (CWbemCli::IsThere()) {
            m_server = std::make_unique<CWholeServer>();
        }
    }
    void SetUp() override {
        if (m_server == nullptr) {
            GTEST_SKIP() << "wbemcli is not installed";
        }
    }

    std::unique_ptr<CWholeServer> m_server;
};

struct CRow {
    const char* m_name; // of the golden file
    const char* m_operation;
    string m_object;
    Words m_more;
};

const CRow kRows[] = {
    {"get-class", "gc", kClass, {}},
    {"get-class-of-a-record", "gc", "root/cimv2:VELTARO_LoggerFsUsageMonitorConf", {}},
    {"get-class-with-properties", "gc", "root/cimv2:VELTARO_LoggerConf", {"UsageMonitorConfCpu"}},
    {"get-class-definition", "gcd", kClass, {}},
    {"class-names", "ecn", "root/cimv2", {}},
    {"classes", "ec", "root/cimv2", {}},
    {"instance-names", "ein", kClass, {}},
    {"instances", "ei", kClass, {}},
    {"get-instance", "gi", kClass + ".Name=\"x\"", {}},
    {"namespaces", "ei", "interop:CIM_Namespace", {}},
    {"namespace-names", "ein", "interop:CIM_Namespace", {}},
    {"object-manager", "ei", "interop:CIM_ObjectManager", {}},
    {"interop-class-names", "ecn", "interop", {}},
    {"get", "cm", kClass, {"GetParameter"}},
    {"get-xml", "cmx", kClass, {"GetParameter"}},
    {"other-namespace", "gc", "root/other:VELTARO_ToolServiceLogger", {}},
    {"other-class", "gc", "root/cimv2:VELTARO_Other", {}},
    {"other-class-called", "cm", "root/cimv2:VELTARO_Other", {"GetParameter"}},
    {"other-method", "cm", kClass, {"Reset"}},
    {"set-nothing", "cm", kClass, {"SetParameter"}},
    {"delete-class", "dc", kClass, {}},
    {"delete-instance", "di", kClass + ".Name=\"x\"", {}},
    {"associators", "ain", kClass, {}},
};

TEST_F(WbemCli, SeesWhatIsServed) {
    const CWbemCli client(m_server.get());
    for (const CRow& row : kRows) {
        SCOPED_TRACE(row.m_name);
        CGolden::Expect(row.m_name, client.Run(row.m_operation, row.m_object, row.m_more));
    }
    EXPECT_EQ(CTestRoot::kAgentConfig, ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(CTestRoot::kAlertConfig, ReadFile(KzmPaths::kAlertConfig));
}

} // namespace
