// Every failure that the provider traces has its reason in words. The texts are found in the
// sources, so that a new one cannot be forgotten.

#include "loggerctl/agent/Failures.h"
#include "tests/support/CTestRoot.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <regex>
#include <set>

namespace {

using Texts = std::vector<std::string>;

const std::string kProvider = "CVELTARO_ToolServiceLogger::";
const std::string kMethods[] = {kProvider + "GetParameter() ", kProvider + "SetParameter() "};

// The texts as they stand in the sources, each with the lines that it becomes. Those without lines
// are not traced in a call of the tool's.
const std::map<std::string, Texts> kLines{
    // Exceptions, by the operation that caught one. When the provider is destroyed nobody listens.
    {"%s [exception:%s]",
     {kProvider + "ExecMethodAsync() [exception:x]",
      kProvider + "CVELTARO_ToolServiceLogger() [exception:x]"}},
    {"%s unknown exception",
     {kProvider + "ExecMethodAsync() unknown exception",
      kProvider + "CVELTARO_ToolServiceLogger() unknown exception"}},
    {"CVELTARO_ToolServiceLogger::SetParameter() unknown exception",
     {kMethods[1] + "unknown exception"}},

    // Both methods.
    {"CVELTARO_ToolServiceLogger::%s() %s", {}}, // with one of the next three
    {"CIM_VTR_E_CRITICAL_ERROR",
     {kMethods[0] + "CIM_VTR_E_CRITICAL_ERROR", kMethods[1] + "CIM_VTR_E_CRITICAL_ERROR"}},
    {"Logger not installed",
     {kMethods[0] + "Logger not installed", kMethods[1] + "Logger not installed"}},
    {"GetMutex failure", {kMethods[0] + "GetMutex failure", kMethods[1] + "GetMutex failure"}},
    {"%s pClass == NULL", {"VELTARO_ToolServiceLogger pClass == NULL"}},
    {"%s hr=0x%08x", {kProvider + "ExecMethodAsync hr=0x80041001"}},

    // GetParameter.
    {"CVELTARO_ToolServiceLogger::GetParameter() CLoggerConf status error",
     {kMethods[0] + "CLoggerConf status error"}},
    {"CVELTARO_ToolServiceLogger::GetParameter() ConvertToIWbemClassObject failure",
     {kMethods[0] + "ConvertToIWbemClassObject failure"}},

    // SetParameter.
    {"CVELTARO_ToolServiceLogger::SetParameter() CLoggerConf status error",
     {kMethods[1] + "CLoggerConf status error"}},
    {"CVELTARO_ToolServiceLogger::SetParameter() EditConfigFile failure",
     {kMethods[1] + "EditConfigFile failure"}},
    {"CVELTARO_ToolServiceLogger::SetParameter() %s failure %d",
     {kMethods[1] + "ServiceStop failure 1", kMethods[1] + "ServiceStart failure 1"}},
    {"CVELTARO_ToolServiceLogger::EditConfigFile() %s", {}}, // with one of the next three
    {"LoggerConfEdit->EditConfigFile failure",
     {kProvider + "EditConfigFile() LoggerConfEdit->EditConfigFile failure"}},
    {"CLoggerConf status error", {kProvider + "EditConfigFile() CLoggerConf status error"}},
    {"compare not same", {kProvider + "EditConfigFile() compare not same"}},

    // Settings in WBEM objects.
    {"%s %s is FAILED %08x",
     {"CLoggerConf::CLoggerConf getParameterClassFromIWbemClassObject is FAILED 80041001",
      "CLoggerConf::ConvertToIWbemClassObject setParameterClassToIWbemClassObject is FAILED "
      "80041001",
      "CLoggerSyslogOutputConf::CLoggerSyslogOutputConf getBoolFromIWbemClassObject is FAILED 1",
      "CLoggerSyslogOutputConf::ConvertToIWbemClassObject setBoolToIWbemClassObject is FAILED 1",
      "CLoggerUsageMonitorConf::CLoggerUsageMonitorConf getUIntFromIWbemClassObject is FAILED 1",
      "CLoggerUsageMonitorConf::ConvertToIWbemClassObject setUIntToIWbemClassObject is FAILED 1",
      "CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf getBoolFromIWbemClassObject is FAILED "
      "1",
      "CLoggerFsUsageMonitorConf::ConvertToIWbemClassObject setBoolToIWbemClassObject is FAILED 1",
      "CLoggerFsThresholdConf::CLoggerFsThresholdConf getStringFromIWbemClassObject is FAILED 1",
      "CLoggerFsThresholdConf::ConvertToIWbemClassObject setStringToIWbemClassObject is FAILED "
      "1"}},

    // Settings in the files.
    {"%s", {}}, // with one of the next two
    {"CLoggerConf::CLoggerConf agent.cfg open error",
     {"CLoggerConf::CLoggerConf agent.cfg open error"}},
    {"CLoggerConf::CLoggerConf alert.cfg open error",
     {"CLoggerConf::CLoggerConf alert.cfg open error"}},
    {"CLoggerSyslogOutputConf::CLoggerSyslogOutputConf nSetFlag=%04X",
     {"CLoggerSyslogOutputConf::CLoggerSyslogOutputConf nSetFlag=0001"}},
    {"CLoggerUsageMonitorConf::CLoggerUsageMonitorConf nSetFlag=%04X",
     {"CLoggerUsageMonitorConf::CLoggerUsageMonitorConf nSetFlag=0001"}},
    {"CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf nSetFlag=%04X",
     {"CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf nSetFlag=0001"}},
    {"CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf GetMountPointList() failure",
     {"CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf GetMountPointList() failure"}},
    {"CLoggerConf::EditConfigFile() %s %s", {}}, // with the next two
    {"open error",
     {"CLoggerConf::EditConfigFile() agent.cfg open error",
      "CLoggerConf::EditConfigFile() alert.cfg open error"}},
    {"failure",
     {"CLoggerConf::EditConfigFile() EditAgent failure",
      "CLoggerConf::EditConfigFile() EditAlert failure"}},

    // Differences.
    {"%s::Compare %s not same. %s1=%d %s2=%d",
     {"CLoggerSyslogOutputConf::Compare A not same. A1=0 A2=1",
      "CLoggerUsageMonitorConf::Compare A not same. A1=0 A2=1",
      "CLoggerFsUsageMonitorConf::Compare A not same. A1=0 A2=1",
      "CLoggerFsThresholdConf::Compare A not same. A1=0 A2=1"}},
    {"CLoggerConf::Compare %s not same.", {"CLoggerConf::Compare A not same."}},
    {"CLoggerFsUsageMonitorConf::Compare VolumeName not same. VolumeName1(%s) not found.",
     {"CLoggerFsUsageMonitorConf::Compare VolumeName not same. VolumeName1(/) not found."}},
    {"CLoggerFsUsageMonitorConf::Compare FsList size is not same. FsList1.size=%d FsList2.size=%d",
     {"CLoggerFsUsageMonitorConf::Compare FsList size is not same. FsList1.size=1 FsList2.size=2"}},
    {"CLoggerFsThresholdConf::Compare VolumeName not same. VolumeName1=%s VolumeName2=%s",
     {"CLoggerFsThresholdConf::Compare VolumeName not same. VolumeName1=/a VolumeName2=/b"}},
};

// The last literals in the calls that trace a failure or an exception, and in those of the helpers
// that do.
void Collect(const std::string& source, std::set<std::string>* found) {
    static const std::regex kAdjacent("\"\\s*\"");
    static const std::regex kTraced("\\bk(?:Failure|Exception),\\s*\"([^\"]*)\"");
    static const std::regex kHelped(
        "\\b[tT]raceFailure\\((?:\\w+,\\s*|\"[^\"]*\",\\s*)?\"([^\"]*)\"\\)");
    const std::string text = std::regex_replace(source, kAdjacent, "");
    for (const std::regex& pattern : {kTraced, kHelped}) {
        for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end;
             ++match) {
            found->insert((*match)[1]);
        }
    }
}

std::size_t CountOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

std::set<std::string> FindTraceTexts(std::size_t* levels) {
    std::set<std::string> found;
    for (const char* folder : {"provider", "settings", "configfile"}) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(
                 std::string(SOURCE_FOLDER "/") + folder)) {
            if (entry.path().extension() == ".cpp" || entry.path().extension() == ".h") {
                const std::string source = ReadFile(entry.path().string());
                Collect(source, &found);
                *levels += CountOf(source, "kFailure,") + CountOf(source, "kException,");
            }
        }
    }
    return found;
}

TEST(TraceTexts, OfTheSourcesAreKnownHere) {
    std::set<std::string> known;
    for (const auto& [text, lines] : kLines) {
        known.insert(text);
    }
    std::size_t levels = 0;
    EXPECT_EQ(FindTraceTexts(&levels), known);
    EXPECT_EQ(levels, 26U) << "a call names its level in a way that is not looked for here";
}

TEST(TraceTexts, HaveTheirRules) {
    const CTestRoot root;
    for (const auto& [text, lines] : kLines) {
        for (const std::string& line : lines) {
            EXPECT_NE(agent::Explain({{"TarnwellLogger", 2, line}}).m_texts, Texts{line});
        }
    }
}

} // namespace
