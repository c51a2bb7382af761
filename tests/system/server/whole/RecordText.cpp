#include "tests/system/server/whole/RecordText.h"

using std::string;

namespace {

string Element(const string& name, const string& attributes, const string& content) {
    return "<" + name + attributes + ">" + content + "</" + name + ">";
}

string Attribute(const string& name, const string& value) {
    return " " + name + "=\"" + value + "\"";
}

string Instance(const string& className, const string& properties) {
    return Element("INSTANCE", Attribute("CLASSNAME", "VELTARO_" + className), properties);
}

string Value(const string& text) {
    return Element("VALUE", "", text);
}

string Scalar(const string& name, const string& type, const string& value) {
    return Element("PROPERTY", Attribute("NAME", name) + Attribute("TYPE", type), Value(value));
}

string Boolean(const string& name, bool value) {
    return Scalar(name, "boolean", value ? "TRUE" : "FALSE");
}

// Writes what depends on the style.
class CWriter {
public:
    explicit CWriter(RecordStyle style) : m_style(style) {}

    [[nodiscard]] string Record(const CLoggerConf& conf) const {
        return Instance(
            "LoggerConf",
            Embedded("SyslogOutputConf", Syslog(conf.m_SyslogOutputConf)) +
                Embedded("UsageMonitorConfCpu", Usage(conf.m_UsageMonitorConf[CLoggerConf::kCpu])) +
                Embedded("UsageMonitorConfMemory",
                         Usage(conf.m_UsageMonitorConf[CLoggerConf::kMemory])) +
                Embedded("FsUsageMonitorConf", FileSystems(conf.m_FsUsageMonitorConf)));
    }

private:
    [[nodiscard]] string Embedding(const string& name) const {
        return (m_style == RecordStyle::WithAttributes ? Attribute("EmbeddedObject", "instance")
                                                       : string()) +
               Attribute("NAME", name) + Attribute("TYPE", "string");
    }

    [[nodiscard]] string Embedded(const string& name, const string& instance) const {
        return Element("PROPERTY", Embedding(name), Value(XmlText(instance, m_style)));
    }

    static string Syslog(const CLoggerSyslogOutputConf& conf) {
        return Instance("LoggerSyslogOutputConf",
                        Boolean("SyslogOutput", conf.m_bSyslogOutput) +
                            Boolean("InformationAlert", conf.m_bInformationAlert) +
                            Boolean("WarningAlert", conf.m_bWarningAlert) +
                            Boolean("ObstacleAlert", conf.m_bObstacleAlert));
    }

    template <class Conf>
    static string Sampling(const Conf& conf) {
        return Boolean("MonitoringEnable", conf.m_bMonitoringEnable) +
               Scalar("SamplingInterval", "uint32", std::to_string(conf.m_uiSamplingInterval)) +
               Scalar("SamplingCount", "uint32", std::to_string(conf.m_uiSamplingCount));
    }

    static string Usage(const CLoggerUsageMonitorConf& conf) {
        return Instance("LoggerUsageMonitorConf",
                        Sampling(conf) +
                            Scalar("Threshold", "sint32", std::to_string(conf.m_iThreshold)));
    }

    [[nodiscard]] string FileSystems(const CLoggerFsUsageMonitorConf& conf) const {
        string entries;
        for (const CLoggerFsThresholdConf& entry : conf.m_FsThresholdConfList) {
            entries += Value(XmlText(FileSystem(entry), m_style));
        }
        return Instance("LoggerFsUsageMonitorConf",
                        Sampling(conf) + Element("PROPERTY.ARRAY", Embedding("FsThresholdConfList"),
                                                 Element("VALUE.ARRAY", "", entries)));
    }

    [[nodiscard]] string FileSystem(const CLoggerFsThresholdConf& conf) const {
        return Instance("LoggerFsThresholdConf",
                        Scalar("VolumeName", "string", XmlText(conf.m_sVolumeName, m_style)) +
                            Scalar("Threshold", "sint32", std::to_string(conf.m_iThreshold)) +
                            Boolean("VolMonitoringEnable", conf.m_bVolMonitoringEnable));
    }

    RecordStyle m_style;
};

} // namespace

string RecordText(const CLoggerConf& conf, RecordStyle style) {
    return CWriter(style).Record(conf);
}

string XmlText(const string& text, RecordStyle style) {
    string escaped;
    for (const char c : text) {
        const bool isEscapedQuote = c == '"' && style == RecordStyle::WithAttributes;
        escaped += c == '&'         ? "&amp;"
                   : c == '<'       ? "&lt;"
                   : c == '>'       ? "&gt;"
                   : isEscapedQuote ? "&quot;"
                                    : string(1, c);
    }
    return escaped;
}
