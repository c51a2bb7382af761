#include "tests/unit/wbemd/operations/SampleInstances.h"

#include "tests/unit/wbemd/operations/Requests.h"

using requests::Escape;
using std::string;

namespace samples {

namespace {

CWbemObjectPtr Syslog() {
    auto object = std::make_unique<IWbemClassObject>("VELTARO_LoggerSyslogOutputConf");
    object->Put("SyslogOutput", true);
    object->Put("InformationAlert", false);
    object->Put("WarningAlert", true);
    object->Put("ObstacleAlert", true);
    return object;
}

CWbemObjectPtr Usage(std::uint32_t interval, std::int32_t threshold) {
    auto object = std::make_unique<IWbemClassObject>("VELTARO_LoggerUsageMonitorConf");
    object->Put("MonitoringEnable", true);
    object->Put("SamplingInterval", interval);
    object->Put("SamplingCount", std::uint32_t{0});
    object->Put("Threshold", threshold);
    return object;
}

CWbemObjectPtr FileSystem(const string& name) {
    auto object = std::make_unique<IWbemClassObject>("VELTARO_LoggerFsThresholdConf");
    object->Put("VolumeName", name);
    object->Put("Threshold", std::int32_t{80});
    object->Put("VolMonitoringEnable", false);
    return object;
}

CWbemObjectPtr FileSystems() {
    auto object = std::make_unique<IWbemClassObject>("VELTARO_LoggerFsUsageMonitorConf");
    object->Put("MonitoringEnable", true);
    object->Put("SamplingInterval", std::uint32_t{60});
    object->Put("SamplingCount", std::uint32_t{3});
    CWbemObjectArray list;
    list.push_back(FileSystem("/"));
    list.push_back(FileSystem("/a <b> & \"c\" \\ \x01\xFF"));
    object->Put("FsThresholdConfList", std::move(list));
    return object;
}

// One element after another, as a client writes them.
class CText {
public:
    explicit CText(const string& className)
        : m_text("<INSTANCE CLASSNAME=\"" + className + "\">") {}

    CText& Plain(const string& name, const string& type, const string& value) {
        m_text += "<PROPERTY NAME=\"" + name + "\" TYPE=\"" + type + "\"><VALUE>" + Escape(value) +
                  "</VALUE></PROPERTY>";
        return *this;
    }
    CText& List(const string& name, const std::initializer_list<string>& entries) {
        m_text += "<PROPERTY.ARRAY NAME=\"" + name + "\" TYPE=\"string\"><VALUE.ARRAY>";
        for (const string& entry : entries) {
            m_text += "<VALUE>" + Escape(entry) + "</VALUE>";
        }
        m_text += "</VALUE.ARRAY></PROPERTY.ARRAY>";
        return *this;
    }
    [[nodiscard]] string Text() const { return m_text + "</INSTANCE>"; }

private:
    string m_text;
};

string UsageText(const string& interval, const string& threshold) {
    return CText("VELTARO_LoggerUsageMonitorConf")
        .Plain("MonitoringEnable", "boolean", "TRUE")
        .Plain("SamplingInterval", "uint32", interval)
        .Plain("SamplingCount", "uint32", "0")
        .Plain("Threshold", "sint32", threshold)
        .Text();
}

string FileSystemText(const string& name) {
    return CText("VELTARO_LoggerFsThresholdConf")
        .Plain("VolumeName", "string", name)
        .Plain("Threshold", "sint32", "80")
        .Plain("VolMonitoringEnable", "boolean", "false")
        .Text();
}

} // namespace

std::unique_ptr<IWbemClassObject> Settings() {
    auto object = std::make_unique<IWbemClassObject>("VELTARO_LoggerConf");
    object->Put("SyslogOutputConf", Syslog());
    object->Put("UsageMonitorConfCpu", Usage(4294967295, 2147483647));
    object->Put("UsageMonitorConfMemory", Usage(0, -2147483647 - 1));
    object->Put("FsUsageMonitorConf", FileSystems());
    return object;
}

string SettingsText() {
    const string syslog = CText("VELTARO_LoggerSyslogOutputConf")
                              .Plain("SyslogOutput", "boolean", "TRUE")
                              .Plain("InformationAlert", "boolean", "FALSE")
                              .Plain("WarningAlert", "boolean", "true")
                              .Plain("ObstacleAlert", "boolean", "True")
                              .Text();
    const string fileSystems =
        CText("VELTARO_LoggerFsUsageMonitorConf")
            .Plain("MonitoringEnable", "boolean", "TRUE")
            .Plain("SamplingInterval", "uint32", "60")
            .Plain("SamplingCount", "uint32", "3")
            .List("FsThresholdConfList",
                  {FileSystemText("/"), FileSystemText("/a <b> & \"c\" \\\\ \\x01\\xff")})
            .Text();
    return CText("VELTARO_LoggerConf")
        .Plain("SyslogOutputConf", "string", syslog)
        .Plain("UsageMonitorConfCpu", "string", UsageText("4294967295", "2147483647"))
        .Plain("UsageMonitorConfMemory", "string", UsageText("0", "-2147483648"))
        .Plain("FsUsageMonitorConf", "string", fileSystems)
        .Text();
}

} // namespace samples
