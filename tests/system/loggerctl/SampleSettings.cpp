#include "tests/system/loggerctl/SampleSettings.h"

#include "comlib/CIWbemUtil.h"

#include <map>

namespace {

IWbemClassObject MakeMonitor(bool enable, unsigned int interval, unsigned int count) {
    IWbemClassObject object;
    CIWbemUtil::setBoolToIWbemClassObject(&object, "MonitoringEnable", enable);
    CIWbemUtil::setUIntToIWbemClassObject(&object, "SamplingInterval", interval);
    CIWbemUtil::setUIntToIWbemClassObject(&object, "SamplingCount", count);
    return object;
}

IWbemClassObject MakeUsageMonitor(bool enable, unsigned int interval, unsigned int count,
                                  int threshold) {
    IWbemClassObject object = MakeMonitor(enable, interval, count);
    CIWbemUtil::setIntToIWbemClassObject(&object, "Threshold", threshold);
    return object;
}

IWbemClassObject MakeSyslog() {
    IWbemClassObject object;
    CIWbemUtil::setBoolToIWbemClassObject(&object, "SyslogOutput", true);
    CIWbemUtil::setBoolToIWbemClassObject(&object, "InformationAlert", false);
    CIWbemUtil::setBoolToIWbemClassObject(&object, "WarningAlert", true);
    CIWbemUtil::setBoolToIWbemClassObject(&object, "ObstacleAlert", true);
    return object;
}

IWbemClassObject MakeFileSystems(const std::vector<std::string>& names) {
    std::vector<IWbemClassObject> volumes(names.size());
    std::vector<IWbemClassObject*> pointers;
    for (std::size_t i = 0; i < names.size(); ++i) {
        IWbemClassObject* volume = &volumes[i];
        CIWbemUtil::setStringToIWbemClassObject(volume, "VolumeName", names[i]);
        CIWbemUtil::setIntToIWbemClassObject(volume, "Threshold", 80 + static_cast<int>(i));
        CIWbemUtil::setBoolToIWbemClassObject(volume, "VolMonitoringEnable", i % 2 == 0);
        pointers.push_back(volume);
    }
    IWbemClassObject object = MakeMonitor(true, 300, 2);
    CIWbemUtil::setParameterClassArrayToIWbemClassObject(&object, "FsThresholdConfList", &pointers);
    return object;
}

std::map<std::string, IWbemClassObject> MakeDefinitions() {
    IWbemClassObject syslog("SyslogOutputConf");
    for (const char* name : {"SyslogOutput", "InformationAlert", "WarningAlert", "ObstacleAlert"}) {
        syslog.DefineProperty(name, WbemType::Boolean);
    }
    IWbemClassObject fileSystems("FsUsageMonitorConf");
    fileSystems.DefineProperty("MonitoringEnable", WbemType::Boolean);
    fileSystems.DefineProperty("SamplingInterval", WbemType::UInt32);
    fileSystems.DefineProperty("SamplingCount", WbemType::UInt32);
    IWbemClassObject monitor("UsageMonitorConf");
    for (const auto& property : fileSystems.GetProperties()) {
        monitor.DefineProperty(property.m_sName, property.m_type);
    }
    monitor.DefineProperty("Threshold", WbemType::SInt32);
    fileSystems.DefineProperty("FsThresholdConfList", WbemType::ObjectArray, "Volume");
    IWbemClassObject volume("Volume");
    volume.DefineProperty("VolumeName", WbemType::String);
    volume.DefineProperty("Threshold", WbemType::SInt32);
    volume.DefineProperty("VolMonitoringEnable", WbemType::Boolean);
    IWbemClassObject conf("LoggerConf");
    conf.DefineProperty("SyslogOutputConf", WbemType::Object, "SyslogOutputConf");
    conf.DefineProperty("UsageMonitorConfCpu", WbemType::Object, "UsageMonitorConf");
    conf.DefineProperty("UsageMonitorConfMemory", WbemType::Object, "UsageMonitorConf");
    conf.DefineProperty("FsUsageMonitorConf", WbemType::Object, "FsUsageMonitorConf");
    return {{"LoggerConf", conf},
            {"SyslogOutputConf", syslog},
            {"UsageMonitorConf", monitor},
            {"FsUsageMonitorConf", fileSystems},
            {"Volume", volume}};
}

} // namespace

std::unique_ptr<IWbemClassObject> MakeLoggerConf(const std::vector<std::string>& volumes) {
    auto conf = std::make_unique<IWbemClassObject>();
    const auto add = [&conf](const char* name, IWbemClassObject object) {
        CIWbemUtil::setParameterClassToIWbemClassObject(conf.get(), name, &object);
    };
    add("SyslogOutputConf", MakeSyslog());
    add("UsageMonitorConfCpu", MakeUsageMonitor(true, 60, 5, 90));
    add("UsageMonitorConfMemory", MakeUsageMonitor(false, 30, 3, 85));
    add("FsUsageMonitorConf", MakeFileSystems(volumes));
    return conf;
}

const IWbemClassObject* SampleDefinition(const std::string& className) {
    static const std::map<std::string, IWbemClassObject> definitions = MakeDefinitions();
    const auto found = definitions.find(className);
    return found == definitions.end() ? nullptr : &found->second;
}
