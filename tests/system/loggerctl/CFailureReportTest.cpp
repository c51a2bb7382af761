#include "loggerctl/agent/CFailureReport.h"

#include "KzmPaths.h"

#include <gtest/gtest.h>

namespace {

using Texts = std::vector<std::string>;

Texts ReasonsOf(const Texts& lines) {
    std::vector<CTraceUtility::Line> traced;
    for (const std::string& line : lines) {
        traced.push_back({"TarnwellLogger", 2, line});
    }
    return CFailureReport::Reasons(traced);
}

struct Row {
    const char* m_pName;
    Texts m_lines;
    Texts m_reasons;
};

const std::string kRunAndSee =
    ". Run it and see; it stands in " + std::string(KzmPaths::kDeviceFolder) + "/Logger.conf.";

const Row kRows[] = {
    {"nothing", {}, {}},
    {"an exception and its consequence",
     {"CVELTARO_ToolServiceLogger::ExecMethodAsync() [exception:no [more] memory]",
      "CVELTARO_ToolServiceLogger::ExecMethodAsync hr=0x80041001"},
     {"The provider met an exception: no [more] memory."}},
    {"an unknown exception",
     {"CVELTARO_ToolServiceLogger::ExecMethodAsync() unknown exception"},
     {"The provider met an exception of an unknown type."}},
    {"an exception while the provider was made",
     {"CVELTARO_ToolServiceLogger::CVELTARO_ToolServiceLogger() [exception:SIGSEGV at 0x0]"},
     {"The provider met an exception: SIGSEGV at 0x0."}},
    {"no class",
     {"VELTARO_ToolServiceLogger pClass == NULL"},
     {"The class definitions lack the provider's class. Install the product again, or name other "
      "definitions with --definitions."}},
    {"a refused description",
     {"CDeviceDescription::Read() /x/Logger.conf:2 has an empty command; give the program to run"},
     {"/x/Logger.conf:2 has an empty command; give the program to run."}},
    {"a service that is not stopped",
     {"CVELTARO_ToolServiceLogger::SetParameter() ServiceStop failure 127"},
     {"The agent's service could not be stopped: the command ServiceStop ended with 127" +
      kRunAndSee}},
    {"a service that is not started",
     {"CVELTARO_ToolServiceLogger::SetParameter() ServiceStart failure -1"},
     {"The agent's service could not be started: the command ServiceStart ended with -1" +
      kRunAndSee}},
    {"a field that is read back differently",
     {"CLoggerUsageMonitorConf::Compare Threshold not same. Threshold1=90 Threshold2=85",
      "CLoggerConf::Compare UsageMonitorConfMemory not same.",
      "CVELTARO_ToolServiceLogger::EditConfigFile() compare not same",
      "CVELTARO_ToolServiceLogger::SetParameter() EditConfigFile failure"},
     {"The files are read back other than they are written: Threshold (Threshold1=90 "
      "Threshold2=85; 1 is what is written, 2 what is read back). Look for a second line that sets "
      "the same, or for True or False in front of a key.",
      "The difference is in UsageMonitorConfMemory."}},
    {"another list of file systems",
     {"CLoggerFsUsageMonitorConf::Compare FsList size is not same. FsList1.size=3 FsList2.size=4",
      "CLoggerFsUsageMonitorConf::Compare VolumeName not same. VolumeName1(/x) not found."},
     {"File systems were mounted or unmounted meanwhile. Try again."}},
    {"files that cannot be read back",
     {"CVELTARO_ToolServiceLogger::EditConfigFile() CLoggerConf status error",
      "CVELTARO_ToolServiceLogger::SetParameter() EditConfigFile failure"},
     {"The settings files were written, but could not be read back."}},
    {"a request that is refused",
     {"CVELTARO_ToolServiceLogger::SetParameter() CLoggerConf status error"},
     {"The provider did not take the settings. Check that provider and tool are of the same "
      "version."}},
    {"a line that is not known", {"Something\n\x1B[2J new"}, {"Something\\x0A\\x1B[2J new"}},
    {"one reason twice", {"a", "b", "a"}, {"a", "b"}},
};

TEST(CFailureReport, TranslatesTheTrace) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.m_pName);
        EXPECT_EQ(ReasonsOf(row.m_lines), row.m_reasons);
    }
}

} // namespace
