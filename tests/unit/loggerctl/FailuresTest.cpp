#include "loggerctl/agent/Failures.h"

#include "KzmPaths.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/CWithoutFilePrivileges.h"
#include "tests/unit/loggerctl/HostFiles.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

namespace {

using agent::Stage;
using output::ExitCode;
using Texts = std::vector<std::string>;

agent::CReasons Explain(const Texts& lines) {
    std::vector<CTraceUtility::Line> traced;
    for (const std::string& line : lines) {
        traced.push_back({"TarnwellLogger", 2, line});
    }
    return agent::Explain(traced);
}

// ---- Texts ----

struct CTextRow {
    const char* m_name;
    Texts m_lines;
    Texts m_reasons;
};

const std::string kDescription = std::string(KzmPaths::kDeviceFolder) + "/Logger.conf";
const std::string kRunAndSee = ". Run it and see; it stands in " + kDescription + ".";
const std::string kSet = "CVELTARO_ToolServiceLogger::SetParameter() ";
const std::string kGet = "CVELTARO_ToolServiceLogger::GetParameter() ";
const std::string kEdit = "CLoggerConf::EditConfigFile() ";
const std::string kValidNow = ": was not valid, but is now. Try again.";

const CTextRow kTexts[] = {
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
    {"not installed",
     {kGet + "Logger not installed"},
     {"Install the agent. If it is installed, see the CheckInstall line in " + kDescription + "."}},
    {"a refused description",
     {"CDeviceDescription::Read() /x/Logger.conf:2 has an empty command; give the program to run",
      kGet + "CIM_VTR_E_CRITICAL_ERROR"},
     {"/x/Logger.conf:2 has an empty command; give the program to run."}},
    {"a description that was refused without a word",
     {kGet + "CIM_VTR_E_CRITICAL_ERROR"},
     {kDescription + ": the device description was refused."}},
    {"a service that is not stopped",
     {kSet + "ServiceStop failure 127"},
     {"The agent's service could not be stopped: the command ServiceStop ended with 127" +
      kRunAndSee}},
    {"a service that is not started",
     {kSet + "ServiceStart failure -1"},
     {"The agent's service could not be started: the command ServiceStart ended with -1" +
      kRunAndSee}},
    {"a command that cannot be run",
     {"CCommandRunner::Run() \"x\" is not on the fixed PATH; give its full path",
      "CVendor::ExecuteCommand() the description of device \"\x1B\" has no command \"y\""},
     {"\"x\" is not on the fixed PATH; give its full path.",
      "the description of device \"\\x1B\" has no command \"y\"."}},
    {"a field that is read back differently",
     {"CLoggerUsageMonitorConf::Compare Threshold not same. Threshold1=90 Threshold2=85",
      "CLoggerConf::Compare UsageMonitorConfMemory not same.",
      "CVELTARO_ToolServiceLogger::EditConfigFile() compare not same",
      kSet + "EditConfigFile failure"},
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
      kSet + "EditConfigFile failure"},
     {"The settings files were written, but could not be read back."}},
    {"a request that is refused",
     {kSet + "CLoggerConf status error"},
     {"The provider did not take the settings. Check that provider and tool are of the same "
      "version."}},
    {"file systems that cannot be listed",
     {"CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf GetMountPointList() failure",
      kGet + "CLoggerConf status error"},
     {"The mounted file systems cannot be listed: the command \"" +
      std::string(KzmPaths::kMountCommand) +
      "\" cannot be run, or prints a line without a mount point. Run it and see."}},
    {"files that are good by now",
     {"CLoggerSyslogOutputConf::CLoggerSyslogOutputConf nSetFlag=0007",
      "CLoggerUsageMonitorConf::CLoggerUsageMonitorConf nSetFlag=000E"},
     {kAgent + kValidNow, kAlert + kValidNow}},
    {"a record that is good by now",
     {kGet + "CLoggerConf status error"},
     {"The settings files were not valid, but are now. Try again."}},
    {"a file that can be opened by now",
     {"CLoggerConf::CLoggerConf agent.cfg open error", kEdit + "alert.cfg open error"},
     {kAgent + ": could not be opened.", kAlert + ": could not be opened."}},
    {"a list on another line",
     {kEdit + "EditAlert failure"},
     {kAlert + ": cannot be edited. Look for a second CPU, MEMORY or FILESYSTEM line with another "
               "number of values."}},
    {"a request that lacks a property",
     {"CLoggerConf::CLoggerConf getParameterClassFromIWbemClassObject is FAILED 80041002",
      kSet + "CLoggerConf status error"},
     {"The provider did not take the settings. Check that provider and tool are of the same "
      "version."}},
    {"an answer that does not take a property",
     {"CLoggerFsThresholdConf::ConvertToIWbemClassObject setIntToIWbemClassObject is FAILED "
      "80041005",
      kGet + "ConvertToIWbemClassObject failure"},
     {"The provider could not hand out the settings. Check that provider and class definitions are "
      "of the same version."}},
    {"a line that is not known", {"Something\n\x1B[2J new"}, {"Something\\x0A\\x1B[2J new"}},
    {"one reason twice", {"a", "b", "a"}, {"a", "b"}},
};

TEST(Explain, TellsReasonsFromTheTrace) {
    const CTestRoot root;
    for (const CTextRow& row : kTexts) {
        SCOPED_TRACE(row.m_name);
        const agent::CReasons reasons = Explain(row.m_lines);
        EXPECT_EQ(reasons.m_texts, row.m_reasons);
        EXPECT_EQ(reasons.m_code, output::ExitCode::Failure);
    }
}

TEST(Explain, LooksIntoTheFiles) {
    const CTestRoot root;
    root.SetAgentConfig("WarningAlert=yes\n");
    root.SetAlertConfig("MEMORY=(on, 1, 1, 1)\n");
    const std::string agent =
        kAgent + ", line 1: WarningAlert has the value \"yes\". Write True or False.";
    const std::string noCpu = kAlert + ": no line gives CPU its values. Add CPU=(True, 60, 5, 90), "
                                       "without a blank before the \"=\".";
    EXPECT_EQ(Explain({"CLoggerSyslogOutputConf::CLoggerSyslogOutputConf nSetFlag=0007"}).m_texts,
              Texts{agent});
    EXPECT_EQ(Explain({kEdit + "EditAgent failure"}).m_texts, Texts{agent});
    EXPECT_EQ(Explain({kGet + "CLoggerConf status error"}).m_texts, Texts{agent});
    EXPECT_EQ(Explain({"CLoggerUsageMonitorConf::CLoggerUsageMonitorConf nSetFlag=0000"}).m_texts,
              Texts{noCpu});
    EXPECT_EQ(Explain({kEdit + "EditAlert failure"}).m_texts, Texts{noCpu});
    EXPECT_EQ(
        Explain({"CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf nSetFlag=0008"}).m_texts,
        Texts{kAlert + ": no line gives FILESYSTEM its values. Add FILESYSTEM=(True, 60, 5), "
                       "without a blank before the \"=\"."});
}

TEST(Explain, LooksWhyFilesCannotBeOpened) {
    const CTestRoot root;
    std::remove(KzmPaths::kAgentConfig);
    ReplaceWithFolder(KzmPaths::kAlertConfig);
    const std::string agent = kAgent + ": does not exist. Install the agent, or put the file back.";
    const std::string alert = kAlert + ": is a directory. Put the agent's file in its place.";
    for (const char* begin : {"CLoggerConf::CLoggerConf ", "CLoggerConf::EditConfigFile() "}) {
        EXPECT_EQ(Explain({begin + std::string("agent.cfg open error")}).m_texts, Texts{agent});
        EXPECT_EQ(Explain({begin + std::string("alert.cfg open error")}).m_texts, Texts{alert});
    }
    root.RemoveDeviceDescription();
    EXPECT_EQ(Explain({kSet + "CIM_VTR_E_CRITICAL_ERROR"}).m_texts,
              Texts{kDescription + ": does not exist. Install the agent, or put the file back. "
                                   "Without it the agent's service is not known."});
}

// ---- Codes ----

TEST(Explain, KnowsABusyLock) {
    const CTestRoot root;
    const agent::CReasons reasons = Explain({kGet + "GetMutex failure"});
    EXPECT_EQ(reasons.m_code, output::ExitCode::Busy);
    EXPECT_EQ(reasons.m_texts, Texts{"The settings lock " + std::string(KzmPaths::kLockFile) +
                                     " could not be taken. Try again later."});
}

TEST(Explain, KnowsALockWithoutAPlace) {
    const CTestRoot root;
    ReplaceWithFolder(KzmPaths::kLockFile);
    const agent::CReasons reasons = Explain({kGet + "GetMutex failure"});
    EXPECT_EQ(reasons.m_code, output::ExitCode::Failure);
    EXPECT_EQ(reasons.m_texts, Texts{std::string(KzmPaths::kLockFile) +
                                     ": is a directory. Remove it: the lock file belongs there."});
}

// ---- Stages ----

struct CStageRow {
    const char* m_name;
    Texts m_lines;
    Stage m_stage;
};

const CStageRow kStages[] = {
    {"no line at all", {}, Stage::Unknown},
    {"no class", {"VELTARO_ToolServiceLogger pClass == NULL"}, Stage::NotBegun},
    {"no vendor", {kSet + "CIM_VTR_E_CRITICAL_ERROR"}, Stage::NotBegun},
    {"not installed", {kSet + "Logger not installed"}, Stage::NotBegun},
    {"no lock", {kSet + "GetMutex failure"}, Stage::NotBegun},
    {"no stop", {"a line of the command's", kSet + "ServiceStop failure 7"}, Stage::StopFailed},
    {"request refused", {kSet + "CLoggerConf status error"}, Stage::Stopped},
    {"exception in the request", {kSet + "unknown exception"}, Stage::Stopped},
    {"not written", {kEdit + "EditAlert failure", kSet + "EditConfigFile failure"}, Stage::Stopped},
    {"no start", {kSet + "ServiceStart failure 1"}, Stage::StartFailed},
    {"another exception",
     {"CVELTARO_ToolServiceLogger::ExecMethodAsync() unknown exception"},
     Stage::Unknown},
    {"an exception and what followed it",
     {kSet + "unknown exception", "CVELTARO_ToolServiceLogger::ExecMethodAsync hr=0x80041001"},
     Stage::Stopped},
};

TEST(Explain, KnowsHowFarTheCallCame) {
    const CTestRoot root;
    for (const CStageRow& row : kStages) {
        SCOPED_TRACE(row.m_name);
        EXPECT_EQ(static_cast<int>(Explain(row.m_lines).m_stage), static_cast<int>(row.m_stage));
    }
}

// ---- The listener ----

TEST(CReasonListener, CollectsFailuresAndExceptions) {
    agent::CReasonListener listener;
    CTraceUtility::WriteDebug("a", CTraceUtility::TRACE_DBG_VALUE, "value");
    CTraceUtility::WriteDebug("a", CTraceUtility::TRACE_DBG_FAILURE, "failure");
    CTraceUtility::WriteDebug("b", CTraceUtility::TRACE_DBG_FLOW, "flow");
    CTraceUtility::WriteDebug("b", CTraceUtility::TRACE_DBG_EXCEPTION, "exception");
    Texts texts;
    for (const CTraceUtility::Line& line : listener.Lines()) {
        texts.push_back(line.m_sText);
    }
    EXPECT_EQ(texts, (Texts{"failure", "exception"}));
}

} // namespace
