// Objects of the product's own classes on their way into CIM-XML and back.

#include "host/CCimXmlReader.h"
#include "host/CInstanceReader.h"
#include "host/InstanceText.h"
#include "tests/unit/host/ObjectDump.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

using std::string;
using Object = std::unique_ptr<IWbemClassObject>;

namespace {

const char kClass[] = "VELTARO_LoggerConf";

// What names of file systems can be made of: anything but a zero byte.
const std::vector<string> kHostile{
    "/srv",
    "\"",
    "'",
    "]]>",
    "<![CDATA[",
    "\\",
    "\\x41",
    "\\\\",
    "\xFF",
    "\xC3",
    "\xE2\x82",
    "\xED\xA0\x80",
    "\xF4\x90\x80\x80",
    "\x01",
    "\t",
    "\n",
    "\r\n",
    "\x7F",
    "\xEF\xBF\xBE",
    "\xEF\xBF\xBF",
    "\xC2\x85",
    "&",
    "&amp;",
    "<",
    ">",
    " ",
    "&#10;",
    "</VALUE>",
    "<!--",
    "\xE2\x80\xAE",
    "\xC3\xBC",
    "%s",
    "\xF0\x9F\x98\x80",
    "\xEF\xBB\xBF",
    "<?xml?>",
    "-->",
    ",",
    "\xC0\xAF",
    "/home",
    "\x1B[31m",
};

// A record, by chance but the same in every run. Its objects have the order of their classes.
class CRecords {
public:
    Object Next() {
        Object conf = Make(kClass);
        Object syslog = Make("VELTARO_LoggerSyslogOutputConf");
        for (const char* name :
             {"SyslogOutput", "InformationAlert", "WarningAlert", "ObstacleAlert"}) {
            syslog->Put(name, Bool());
        }
        conf->Put("SyslogOutputConf", std::move(syslog));
        conf->Put("UsageMonitorConfCpu", Monitor());
        conf->Put("UsageMonitorConfMemory", Monitor());
        Object systems = Make("VELTARO_LoggerFsUsageMonitorConf");
        PutSampling(systems.get());
        CWbemObjectArray rows;
        for (std::size_t count = Below(6); count > 0; --count) {
            rows.push_back(Row());
        }
        systems->Put("FsThresholdConfList", std::move(rows));
        conf->Put("FsUsageMonitorConf", std::move(systems));
        return conf;
    }

private:
    static Object Make(const char* className) {
        return std::make_unique<IWbemClassObject>(className);
    }
    std::size_t Below(std::size_t end) { return m_random() % end; }
    bool Bool() { return Below(2) == 1; }
    std::uint32_t Unsigned() {
        const std::uint32_t values[] = {0, 1, 60, 4294967295};
        return values[Below(4)];
    }
    std::int32_t Signed() {
        const std::int32_t values[] = {0, -1, 80, 2147483647, -2147483647 - 1};
        return values[Below(5)];
    }
    string Name() {
        string name;
        for (std::size_t count = Below(5); count > 0; --count) {
            name += kHostile[Below(kHostile.size())];
        }
        return name;
    }
    void PutSampling(IWbemClassObject* object) {
        object->Put("MonitoringEnable", Bool());
        object->Put("SamplingInterval", Unsigned());
        object->Put("SamplingCount", Unsigned());
    }
    Object Monitor() {
        Object monitor = Make("VELTARO_LoggerUsageMonitorConf");
        PutSampling(monitor.get());
        monitor->Put("Threshold", Signed());
        return monitor;
    }
    Object Row() {
        Object row = Make("VELTARO_LoggerFsThresholdConf");
        row->Put("VolumeName", Name());
        row->Put("Threshold", Signed());
        row->Put("VolMonitoringEnable", Bool());
        return row;
    }

    std::mt19937 m_random{20};
};

std::vector<CCimClass> Classes() {
    string error;
    auto classes =
        CCimXmlReader::ReadFile(KZM_TEST_SCHEMA "/VELTARO_ToolServiceLogger.xml", &error);
    EXPECT_TRUE(classes) << error;
    return classes.value_or(std::vector<CCimClass>());
}

TEST(Records, ComeBackFromTheirTextAsTheyWere) {
    const std::vector<CCimClass> classes = Classes();
    const CInstanceReader reader(classes);
    CRecords records;
    for (int i = 0; i < 500; ++i) {
        const Object record = records.Next();
        SCOPED_TRACE(testing::PrintToString(Dump(*record)));
        string error;
        const auto text = cim::InstanceText(*record, kClass, classes, &error);
        ASSERT_TRUE(text) << error;
        const Object read = reader.Read(kClass, *text, &error);
        ASSERT_NE(nullptr, read) << error << "\n" << *text;
        ASSERT_EQ(Dump(*record), Dump(*read)) << *text;
    }
}

TEST(Records, ComeBackWhateverTheirNamesHold) {
    const std::vector<CCimClass> classes = Classes();
    const CInstanceReader reader(classes);
    const string className = "VELTARO_LoggerFsThresholdConf";
    for (const string& one : kHostile) {
        for (const string& other : kHostile) {
            IWbemClassObject row(className);
            row.Put("VolumeName", one + other);
            row.Put("Threshold", std::int32_t{80});
            row.Put("VolMonitoringEnable", true);
            SCOPED_TRACE(testing::PrintToString(one + other));
            string error;
            const auto text = cim::InstanceText(row, className, classes, &error);
            ASSERT_TRUE(text) << error;
            const Object read = reader.Read(className, *text, &error);
            ASSERT_NE(nullptr, read) << error;
            ASSERT_EQ(Dump(row), Dump(*read));
        }
    }
}

} // namespace
