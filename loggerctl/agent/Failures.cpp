#include "loggerctl/agent/Failures.h"

#include "KzmPaths.h"
#include "loggerctl/agent/CService.h"
#include "loggerctl/agent/ConfigCheck.h"
#include "loggerctl/agent/Locks.h"
#include "loggerctl/agent/SettingsFiles.h"
#include "loggerctl/output/SafeText.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace agent {

namespace {

using output::ExitCode;
using std::string;

// ---- The reasons. Each gets what stands in the line behind its known text. ----

CReason Consequence(const string& /*rest*/) {
    return {};
}

CReason Sentence(const string& rest) {
    return {output::Escape(rest) + "."};
}

CReason Exception(const string& rest) {
    return {"The provider met an exception: " + output::Escape(rest.substr(0, rest.rfind(']'))) +
            "."};
}

CReason UnknownException(const string& /*rest*/) {
    return {"The provider met an exception of an unknown type."};
}

// A description that was refused has a line of its own.
CReason NoVendor(const string& /*rest*/) {
    CReason reason = WhyNotRead(DescriptionFile());
    if (!reason.m_text.empty()) {
        reason.m_text += " Without it the agent's service is not known.";
    }
    return reason;
}

string VendorRefused() {
    return DescriptionFile() + ": the device description was refused.";
}

CReason NotInstalled(const string& /*rest*/) {
    return {"Install the agent. If it is installed, see the CheckInstall line in " +
            DescriptionFile() + "."};
}

CReason NoLock(const string& /*rest*/) {
    return WhyNoSettingsLock();
}

// Why the file cannot be opened, for writing if that is possible for reading.
CReason NotOpened(const char* path, bool forWriting) {
    CReason reason = WhyNotRead(path);
    if (reason.m_text.empty() && forWriting) {
        reason = WhyNotWritten(path);
    }
    return reason.m_text.empty() ? CReason{string(path) + ": could not be opened."} : reason;
}

CReason AgentNotOpened(const string& /*rest*/) {
    return NotOpened(KzmPaths::kAgentConfig, false);
}

CReason AlertNotOpened(const string& /*rest*/) {
    return NotOpened(KzmPaths::kAlertConfig, false);
}

CReason AgentNotWritten(const string& /*rest*/) {
    return NotOpened(KzmPaths::kAgentConfig, true);
}

CReason AlertNotWritten(const string& /*rest*/) {
    return NotOpened(KzmPaths::kAlertConfig, true);
}

CReason OrChangedMeanwhile(const char* path, const string& problem) {
    return {problem.empty() ? string(path) + ": was not valid, but is now. Try again." : problem};
}

CReason AgentInvalid(const string& /*rest*/) {
    return OrChangedMeanwhile(KzmPaths::kAgentConfig, FindAgentProblem(KzmPaths::kAgentConfig));
}

CReason MonitorInvalid(const string& /*rest*/) {
    return OrChangedMeanwhile(KzmPaths::kAlertConfig, FindMonitorProblem(KzmPaths::kAlertConfig));
}

CReason FileSystemInvalid(const string& /*rest*/) {
    return OrChangedMeanwhile(KzmPaths::kAlertConfig,
                              FindFileSystemProblem(KzmPaths::kAlertConfig));
}

// A value list with the wrong number of fields stops the editor on any line, the readers only on
// the first.
CReason AlertNotEdited(const string& /*rest*/) {
    string problem = FindMonitorProblem(KzmPaths::kAlertConfig);
    if (problem.empty()) {
        problem = FindFileSystemProblem(KzmPaths::kAlertConfig);
    }
    return {problem.empty() ? string(KzmPaths::kAlertConfig) +
                                  ": cannot be edited. Look for a second CPU, MEMORY or "
                                  "FILESYSTEM line with another number of values."
                            : problem};
}

CReason NoMountPoints(const string& /*rest*/) {
    return {string("The mounted file systems cannot be listed: the command \"") +
            KzmPaths::kMountCommand +
            "\" cannot be run, or prints a line without a mount point. Run it and see."};
}

// An invalid value behind four good ones leaves no line of its own.
string RecordRefused() {
    const string problem = FindAgentProblem(KzmPaths::kAgentConfig);
    return problem.empty() ? "The settings files were not valid, but are now. Try again." : problem;
}

CReason CommandFailed(const char* done, const char* command, const string& rest) {
    return {string("The agent's service could not be ") + done + ": the command " + command +
            " ended with" + rest + ". Run it and see; it stands in " + DescriptionFile() + "."};
}

CReason StopFailed(const string& rest) {
    return CommandFailed("stopped", "ServiceStop", rest);
}

CReason StartFailed(const string& rest) {
    return CommandFailed("started", "ServiceStart", rest);
}

string RequestRefused() {
    return "The provider did not take the settings. Check that provider and tool are of the same "
           "version.";
}

string AnswerRefused() {
    return "The provider could not hand out the settings. Check that provider and class "
           "definitions are of the same version.";
}

string ReadBackRefused() {
    return "The settings files were written, but could not be read back.";
}

// " Threshold not same. Threshold1=90 Threshold2=85"
CReason FieldNotSame(const string& rest) {
    constexpr char kSays[] = " not same. ";
    const string::size_type end = rest.find(kSays);
    const string values = end == string::npos ? rest : rest.substr(end + std::strlen(kSays));
    return {"The files are read back other than they are written:" +
            output::Escape(rest.substr(0, end)) + " (" + output::Escape(values) +
            "; 1 is what is written, 2 what is read back). Look for a second line that sets the "
            "same, or for True or False in front of a key."};
}

CReason MountedMeanwhile(const string& /*rest*/) {
    return {"File systems were mounted or unmounted meanwhile. Try again."};
}

// " UsageMonitorConfCpu not same."
CReason PartNotSame(const string& rest) {
    return {"The difference is in" + output::Escape(rest.substr(0, rest.find(" not same"))) + "."};
}

CReason NoClass(const string& /*rest*/) {
    return {"The class definitions lack the provider's class. Install the product again, or name "
            "other definitions with --definitions."};
}

// ---- The table ----

struct CRule {
    const char* m_text; // the line begins with it
    CReason (*m_reason)(const string& rest);
    Stage m_stage = Stage::Unknown; // where this line tells it
    string (*m_alone)() = nullptr;  // the reason when no line gives one
};

constexpr std::array kRules{
    CRule{"CVELTARO_ToolServiceLogger::GetParameter() CIM_VTR_E_CRITICAL_ERROR", NoVendor,
          Stage::Unknown, VendorRefused},
    CRule{"CVELTARO_ToolServiceLogger::GetParameter() Logger not installed", NotInstalled},
    CRule{"CVELTARO_ToolServiceLogger::GetParameter() GetMutex failure", NoLock},
    CRule{"CVELTARO_ToolServiceLogger::GetParameter() CLoggerConf status error", Consequence,
          Stage::Unknown, RecordRefused},
    CRule{"CVELTARO_ToolServiceLogger::GetParameter() ConvertToIWbemClassObject failure",
          Consequence, Stage::Unknown, AnswerRefused},
    CRule{"CVELTARO_ToolServiceLogger::SetParameter() CIM_VTR_E_CRITICAL_ERROR", NoVendor,
          Stage::NotBegun, VendorRefused},
    CRule{"CVELTARO_ToolServiceLogger::SetParameter() Logger not installed", NotInstalled,
          Stage::NotBegun},
    CRule{"CVELTARO_ToolServiceLogger::SetParameter() GetMutex failure", NoLock, Stage::NotBegun},
    CRule{"CVELTARO_ToolServiceLogger::SetParameter() ServiceStop failure", StopFailed,
          Stage::StopFailed},
    CRule{"CVELTARO_ToolServiceLogger::SetParameter() CLoggerConf status error", Consequence,
          Stage::Stopped, RequestRefused},
    CRule{"CVELTARO_ToolServiceLogger::SetParameter() unknown exception", UnknownException,
          Stage::Stopped},
    CRule{"CVELTARO_ToolServiceLogger::SetParameter() EditConfigFile failure", Consequence,
          Stage::Stopped},
    CRule{"CVELTARO_ToolServiceLogger::SetParameter() ServiceStart failure", StartFailed,
          Stage::StartFailed},
    CRule{"CVELTARO_ToolServiceLogger::EditConfigFile() LoggerConfEdit->EditConfigFile failure",
          Consequence},
    CRule{"CVELTARO_ToolServiceLogger::EditConfigFile() CLoggerConf status error", Consequence,
          Stage::Unknown, ReadBackRefused},
    CRule{"CVELTARO_ToolServiceLogger::EditConfigFile() compare not same", Consequence},
    CRule{"CLoggerConf::EditConfigFile() agent.cfg open error", AgentNotWritten},
    CRule{"CLoggerConf::EditConfigFile() alert.cfg open error", AlertNotWritten},
    CRule{"CLoggerConf::EditConfigFile() EditAgent failure", AgentInvalid},
    CRule{"CLoggerConf::EditConfigFile() EditAlert failure", AlertNotEdited},
    CRule{"CLoggerConf::Compare", PartNotSame},
    CRule{"CLoggerSyslogOutputConf::Compare", FieldNotSame},
    CRule{"CLoggerUsageMonitorConf::Compare", FieldNotSame},
    CRule{"CLoggerFsUsageMonitorConf::Compare VolumeName", MountedMeanwhile},
    CRule{"CLoggerFsUsageMonitorConf::Compare FsList", MountedMeanwhile},
    CRule{"CLoggerFsUsageMonitorConf::Compare", FieldNotSame},
    CRule{"CLoggerFsThresholdConf::Compare", FieldNotSame},
    CRule{"CVELTARO_ToolServiceLogger::ExecMethodAsync hr=", Consequence},
    CRule{"CVELTARO_ToolServiceLogger::ExecMethodAsync() [exception:", Exception},
    CRule{"CVELTARO_ToolServiceLogger::ExecMethodAsync() unknown exception", UnknownException},
    CRule{"CVELTARO_ToolServiceLogger::CVELTARO_ToolServiceLogger() [exception:", Exception},
    CRule{"CVELTARO_ToolServiceLogger::CVELTARO_ToolServiceLogger() unknown exception",
          UnknownException},
    CRule{"VELTARO_ToolServiceLogger pClass == NULL", NoClass, Stage::NotBegun},
    CRule{"CLoggerConf::CLoggerConf agent.cfg open error", AgentNotOpened},
    CRule{"CLoggerConf::CLoggerConf alert.cfg open error", AlertNotOpened},
    CRule{"CLoggerSyslogOutputConf::CLoggerSyslogOutputConf nSetFlag=", AgentInvalid},
    CRule{"CLoggerUsageMonitorConf::CLoggerUsageMonitorConf nSetFlag=", MonitorInvalid},
    CRule{"CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf nSetFlag=", FileSystemInvalid},
    CRule{"CLoggerFsUsageMonitorConf::CLoggerFsUsageMonitorConf GetMountPointList() failure",
          NoMountPoints},
    CRule{"CDeviceDescription::Read() ", Sentence},
    CRule{"CCommandRunner::Run() ", Sentence},
    CRule{"CVendor::ExecuteCommand() ", Sentence},
};

// A property of an object, of any record. The method tells what came of it.
constexpr CRule kPropertyFailed{" is FAILED ", Consequence};

const CRule* FindRule(const string& line) {
    for (const CRule& rule : kRules) {
        if (line.rfind(rule.m_text, 0) == 0) {
            return &rule;
        }
    }
    return line.find(kPropertyFailed.m_text) == string::npos ? nullptr : &kPropertyFailed;
}

void Add(const CReason& reason, CReasons* reasons) {
    std::vector<string>& texts = reasons->m_texts;
    if (!reason.m_text.empty() &&
        std::find(texts.begin(), texts.end(), reason.m_text) == texts.end()) {
        texts.push_back(reason.m_text);
    }
    if (reason.m_code != ExitCode::Failure) {
        reasons->m_code = reason.m_code;
    }
}

} // namespace

CReasonListener::CReasonListener() {
    constexpr unsigned int kMask =
        CTraceUtility::TRACE_DBG_FAILURE | CTraceUtility::TRACE_DBG_EXCEPTION;
    CTraceUtility::SetListener(kMask, [this](const CTraceUtility::Line& line) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_lines.push_back(line);
    });
}

CReasonListener::~CReasonListener() {
    CTraceUtility::SetListener(0, {});
}

std::vector<CTraceUtility::Line> CReasonListener::Lines() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lines;
}

CReasons Explain(const std::vector<CTraceUtility::Line>& lines) {
    CReasons reasons;
    string (*alone)() = nullptr;
    for (const CTraceUtility::Line& line : lines) {
        const CRule* rule = FindRule(line.m_sText);
        if (rule == nullptr) {
            Add({output::Escape(line.m_sText)}, &reasons);
            continue;
        }
        Add(rule->m_reason(line.m_sText.substr(std::strlen(rule->m_text))), &reasons);
        alone = rule->m_alone != nullptr ? rule->m_alone : alone;
        if (reasons.m_stage == Stage::Unknown) {
            reasons.m_stage = rule->m_stage;
        }
    }
    if (reasons.m_texts.empty() && alone != nullptr) {
        reasons.m_texts.push_back(alone());
    }
    return reasons;
}

} // namespace agent
