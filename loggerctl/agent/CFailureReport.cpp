#include "loggerctl/agent/CFailureReport.h"

#include "KzmPaths.h"
#include "loggerctl/agent/CAgentConfigCheck.h"
#include "loggerctl/agent/CAlertConfigCheck.h"
#include "loggerctl/agent/CFileProblem.h"
#include "loggerctl/agent/CProviderCall.h"
#include "loggerctl/agent/CSettingsLock.h"
#include "loggerctl/agent/CVendorService.h"
#include "loggerctl/output/COutput.h"
#include "loggerctl/output/CSafeText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using std::string;

// ---- The reasons. Each gets what stands in the line behind its known text. ----

string Consequence(const string& /*rest*/) {
    return "";
}

string Sentence(const string& rest) {
    return CSafeText::Escape(rest) + ".";
}

string Exception(const string& rest) {
    const string text = rest.substr(0, rest.rfind(']'));
    return "The provider met an exception: " + CSafeText::Escape(text) + ".";
}

string UnknownException(const string& /*rest*/) {
    return "The provider met an exception of an unknown type.";
}

// A description that was refused has a line of its own.
string NoVendor(const string& /*rest*/) {
    const string problem = CFileProblem::Reading(CVendorService::DescriptionFile());
    return problem.empty() ? "" : problem + " Without it the agent's service is not known.";
}

string VendorRefused() {
    return CSafeText::Escape(CVendorService::DescriptionFile()) +
           ": the device description was refused.";
}

string NotInstalled(const string& /*rest*/) {
    return "Install the agent. If it is installed, see the CheckInstall line in " +
           CSafeText::Escape(CVendorService::DescriptionFile()) + ".";
}

string NoLock(const string& /*rest*/) {
    return CSettingsLock::WhyRefused();
}

// Why the file cannot be opened, for writing if that is possible for reading.
string NotOpened(const char* path, bool forWriting) {
    string problem = CFileProblem::Reading(path);
    if (problem.empty() && forWriting) {
        problem = CFileProblem::Writing(path);
    }
    return problem.empty() ? CSafeText::Escape(path) + ": could not be opened." : problem;
}

string AgentNotOpened(const string& /*rest*/) {
    return NotOpened(KzmPaths::kAgentConfig, false);
}

string AlertNotOpened(const string& /*rest*/) {
    return NotOpened(KzmPaths::kAlertConfig, false);
}

string AgentNotWritten(const string& /*rest*/) {
    return NotOpened(KzmPaths::kAgentConfig, true);
}

string AlertNotWritten(const string& /*rest*/) {
    return NotOpened(KzmPaths::kAlertConfig, true);
}

string ChangedMeanwhile(const char* path) {
    return CSafeText::Escape(path) + ": was not valid, but is now. Try again.";
}

string AgentFlags(const string& rest) {
    string problem = CAgentConfigCheck::FindProblem(KzmPaths::kAgentConfig);
    if (problem.empty()) {
        const auto flags = static_cast<std::uint16_t>(std::strtoul(rest.c_str(), nullptr, 16));
        problem = CAgentConfigCheck::DescribeMissing(KzmPaths::kAgentConfig, flags);
    }
    return problem.empty() ? ChangedMeanwhile(KzmPaths::kAgentConfig) : problem;
}

string MonitorFlags(const string& /*rest*/) {
    const string problem = CAlertConfigCheck::FindMonitorProblem(KzmPaths::kAlertConfig);
    return problem.empty() ? ChangedMeanwhile(KzmPaths::kAlertConfig) : problem;
}

string FileSystemFlags(const string& /*rest*/) {
    const string problem = CAlertConfigCheck::FindFileSystemProblem(KzmPaths::kAlertConfig);
    return problem.empty() ? ChangedMeanwhile(KzmPaths::kAlertConfig) : problem;
}

string NoMountPoints(const string& /*rest*/) {
    return string("The mounted file systems cannot be listed: the command \"") +
           CSafeText::Escape(KzmPaths::kMountCommand) +
           "\" cannot be run, or prints a line without a mount point. Run it and see.";
}

// An invalid value behind four good ones leaves no line of its own.
string RecordRefused() {
    const string problem = CAgentConfigCheck::FindProblem(KzmPaths::kAgentConfig);
    return problem.empty() ? "The settings files were not valid, but are now. Try again." : problem;
}

string StopFailed(const string& rest) {
    return "The agent's service could not be stopped: the command ServiceStop ended with" + rest +
           ". Run it and see; it stands in " +
           CSafeText::Escape(CVendorService::DescriptionFile()) + ".";
}

string StartFailed(const string& rest) {
    return "The agent's service could not be started: the command ServiceStart ended with" + rest +
           ". Run it and see; it stands in " +
           CSafeText::Escape(CVendorService::DescriptionFile()) + ".";
}

string AgentNotEdited(const string& /*rest*/) {
    const string problem = CAgentConfigCheck::FindProblem(KzmPaths::kAgentConfig);
    return problem.empty() ? ChangedMeanwhile(KzmPaths::kAgentConfig) : problem;
}

// A value list with the wrong number of fields stops the editor on any line, the readers only on
// the first.
string AlertNotEdited(const string& /*rest*/) {
    string problem = CAlertConfigCheck::FindMonitorProblem(KzmPaths::kAlertConfig);
    if (problem.empty()) {
        problem = CAlertConfigCheck::FindFileSystemProblem(KzmPaths::kAlertConfig);
    }
    return problem.empty()
               ? CSafeText::Escape(KzmPaths::kAlertConfig) +
                     ": cannot be edited. Look for a second CPU, MEMORY or FILESYSTEM line "
                     "with another number of values."
               : problem;
}

string RequestRefused() {
    return "The provider did not take the settings. Check that provider and tool are of the same "
           "version.";
}

string ReadBackRefused() {
    return "The settings files were written, but could not be read back.";
}

// " Threshold not same. Threshold1=90 Threshold2=85"
string FieldNotSame(const string& rest) {
    constexpr char kSays[] = " not same. ";
    const string::size_type end = rest.find(kSays);
    const string values = end == string::npos ? rest : rest.substr(end + std::strlen(kSays));
    return "The files are read back other than they are written:" +
           CSafeText::Escape(rest.substr(0, end)) + " (" + CSafeText::Escape(values) +
           "; 1 is what is written, 2 what is read back). Look for a second line that sets the "
           "same, or for True or False in front of a key.";
}

string MountedMeanwhile(const string& /*rest*/) {
    return "File systems were mounted or unmounted meanwhile. Try again.";
}

// " UsageMonitorConfCpu not same."
string PartNotSame(const string& rest) {
    return "The difference is in" + CSafeText::Escape(rest.substr(0, rest.find(" not same"))) + ".";
}

string NoClass(const string& /*rest*/) {
    return "The class definitions lack the provider's class. Install the product again, or name "
           "other definitions with --definitions.";
}

// ---- The table ----

struct Rule {
    const char* m_pText; // the line begins with it
    string (*m_pReason)(const string& rest);
    string (*m_pAlone)() = nullptr; // the reason when no line gives one
};

constexpr std::array kRules{
    Rule{"CVELTARO_ToolServiceLogger::GetParameter() CIM_VTR_E_CRITICAL_ERROR", NoVendor,
         VendorRefused},
    Rule{"CVELTARO_ToolServiceLogger::GetParameter() Logger not installed", NotInstalled},
    Rule{"CVELTARO_ToolServiceLogger::GetParameter() GetMutex failure", NoLock},
    Rule{"CVELTARO_ToolServiceLogger::GetParameter() CLoggerConf status error", Consequence,
         RecordRefused},
    Rule{"CVELTARO_ToolServiceLogger::SetParameter() CIM_VTR_E_CRITICAL_ERROR", NoVendor,
         VendorRefused},
    Rule{"CVELTARO_ToolServiceLogger::SetParameter() Logger not installed", NotInstalled},
    Rule{"CVELTARO_ToolServiceLogger::SetParameter() GetMutex failure", NoLock},
    Rule{"CVELTARO_ToolServiceLogger::SetParameter() ServiceStop failure", StopFailed},
    Rule{"CVELTARO_ToolServiceLogger::SetParameter() CLoggerConf status error", Consequence,
         RequestRefused},
    Rule{"CVELTARO_ToolServiceLogger::SetParameter() unknown exception", UnknownException},
    Rule{"CVELTARO_ToolServiceLogger::SetParameter() EditConfigFile failure", Consequence},
    Rule{"CVELTARO_ToolServiceLogger::SetParameter() ServiceStart failure", StartFailed},
    Rule{"CVELTARO_ToolServiceLogger::EditConfigFile() LoggerConfEdit->EditConfigFile failure",
         Consequence},
    Rule{"CVELTARO_ToolServiceLogger::EditConfigFile() CLoggerConf status error", Consequence,
         ReadBackRefused},
    Rule{"CVELTARO_ToolServiceLogger::EditConfigFile() compare not same", Consequence},
    Rule{"CLoggerConf::EditConfigFile() agent.cfg open error", AgentNotWritten},
    Rule{"CLoggerConf::EditConfigFile() alert.cfg open error", AlertNotWritten},
    Rule{"CLoggerConf::EditConfigFile() EditAgent failure", AgentNotEdited},
    Rule{"CLoggerConf::EditConfigFile() EditAlert failure", AlertNotEdited},
    Rule{"CLoggerConf::Compare", PartNotSame},
    Rule{"CLoggerSyslogOutputConf::Compare", FieldNotSame},
    Rule{"CLoggerUsageMonitorConf::Compare", FieldNotSame},
    Rule{"CLoggerFsUsageMonitorConf::Compare VolumeName", MountedMeanwhile},
    Rule{"CLoggerFsUsageMonitorConf::Compare FsList", MountedMeanwhile},
    Rule{"CLoggerFsUsageMonitorConf::Compare", FieldNotSame},
    Rule{"CLoggerFsThresholdConf::Compare", FieldNotSame},
    Rule{"CVELTARO_ToolServiceLogger::ExecMethodAsync hr=", Consequence},
    Rule{"CVELTARO_ToolServiceLogger::ExecMethodAsync() [exception:", Exception},
    Rule{"CVELTARO_ToolServiceLogger::ExecMethodAsync() unknown exception", UnknownException},
    Rule{"CVELTARO_ToolServiceLogger::CVELTARO_ToolServiceLogger() [exception:", Exception},
    Rule{"CVELTARO_ToolServiceLogger::CVELTARO_ToolServiceLogger() unknown exception",
         UnknownException},
    Rule{"VELTARO_ToolServiceLogger pClass == NULL", NoClass},
    Rule{"CLoggerConf::CLoggerConf agent.cfg open error", AgentNotOpened},
    Rule{"CLoggerConf::CLoggerConf alert.cfg open error", AlertNotOpened},
    Rule{"CLoggerSyslogOutputConf::CLoggerSyslogOutputConf nSetFlag=", AgentFlags},
    Rule{"CLoggerUsageMonitorConf::CLoggerUsageMonitorConf nSetFlag=", MonitorFlags},
    Rule{"CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf nSetFlag=", FileSystemFlags},
    Rule{"CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf GetMountPointList() failure",
         NoMountPoints},
    Rule{"CDeviceDescription::Read() ", Sentence},
    Rule{"CCommandRunner::Run() ", Sentence},
    Rule{"CVendor::ExecuteCommand() ", Sentence},
};

const Rule* FindRule(const string& line) {
    for (const Rule& rule : kRules) {
        if (line.rfind(rule.m_pText, 0) == 0) {
            return &rule;
        }
    }
    return nullptr;
}

string Hexadecimal(std::uint32_t value) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%08x", value);
    return text.data();
}

} // namespace

std::vector<string> CFailureReport::Reasons(const std::vector<CTraceUtility::Line>& lines) {
    std::vector<string> reasons;
    string (*alone)() = nullptr;
    for (const CTraceUtility::Line& line : lines) {
        const Rule* rule = FindRule(line.m_sText);
        const string reason =
            rule == nullptr ? CSafeText::Escape(line.m_sText)
                            : rule->m_pReason(line.m_sText.substr(std::strlen(rule->m_pText)));
        if (!reason.empty() && std::find(reasons.begin(), reasons.end(), reason) == reasons.end()) {
            reasons.push_back(reason);
        }
        alone = rule != nullptr && rule->m_pAlone != nullptr ? rule->m_pAlone : alone;
    }
    if (reasons.empty() && alone != nullptr) {
        reasons.push_back(alone());
    }
    return reasons;
}

void CFailureReport::Write(const string& failed, const CProviderAnswer& answer) {
    std::vector<string> reasons = Reasons(answer.m_lines);
    if (!answer.m_sError.empty()) {
        reasons.insert(reasons.begin(), CSafeText::Escape(answer.m_sError));
    }
    if (reasons.empty()) {
        reasons.push_back("The provider gave no reason (method result " +
                          Hexadecimal(answer.m_uiMethodResult) + ", call status " +
                          Hexadecimal(static_cast<std::uint32_t>(answer.m_status)) +
                          "). KZM_TRACE=15 shows what it does.");
    }
    const bool plain = answer.m_exitCode == ExitCode::Failure; // the reasons say it better
    COutput::WriteError(failed + "." + (plain ? "" : " " + CExitCodes::Meaning(answer.m_exitCode)),
                        reasons);
}
