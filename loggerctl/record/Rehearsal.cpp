#include "loggerctl/record/Rehearsal.h"

#include "loggerctl/agent/Failures.h"
#include "loggerctl/output/SafeText.h"
#include "loggerctl/record/CMemoryFile.h"
#include "settings/CRequestRules.h"
#include "settings/CVolumeIndex.h"
#include "settings/LoggerDefinitions.h"

#include <algorithm>

namespace record {

namespace {

// What keeps a name from being read back from alert.cfg; empty when nothing does.
std::string UnreadablePart(const std::string& name) {
    if (name.find('"') != std::string::npos) {
        return "a double quote, which ends a name there";
    }
    if (name.find('\n') != std::string::npos) {
        return "a line feed, which ends a line there";
    }
    if (name.find(LoggerDefinitions::kDisabledMarker) != std::string::npos) {
        return std::string("\"") + LoggerDefinitions::kDisabledMarker +
               "\", which marks a file system as not monitored there";
    }
    return "";
}

bool IsSame(const CLoggerFsThresholdConf& row, const CLoggerFsThresholdConf* other) {
    return other != nullptr && other->m_iThreshold == row.m_iThreshold &&
           other->m_bVolMonitoringEnable == row.m_bVolMonitoringEnable;
}

} // namespace

CRehearsal CRehearsal::Run(const CLoggerConf& request, const history::CSettingsCopy& present) {
    agent::CReasonListener listener;
    CRehearsal rehearsal;
    rehearsal.m_wanted = request;
    CRequestRules::DisableVolumesOfDisabledMonitor(&rehearsal.m_wanted);
    CRequestRules::GiveDefaultThresholds(&rehearsal.m_wanted);

    const CMemoryFile agent("agent.cfg", present.m_files[0].m_text);
    const CMemoryFile alert("alert.cfg", present.m_files[1].m_text);
    if (rehearsal.m_wanted.EditConfigFile(agent.Path(), alert.Path())) {
        rehearsal.m_readBack = CLoggerConf(agent.Path(), alert.Path());
        rehearsal.m_good = rehearsal.m_readBack.m_iStatus == 0 &&
                           rehearsal.m_wanted.Compare(&rehearsal.m_readBack);
    }
    rehearsal.m_files = present;
    rehearsal.m_files.m_files[0].m_text = agent.Text();
    rehearsal.m_files.m_files[1].m_text = alert.Text();
    rehearsal.m_lines = listener.Lines();
    return rehearsal;
}

std::vector<std::string> CRehearsal::NameProblems() const {
    std::vector<std::string> problems;
    CVolumeIndex<const CLoggerFsThresholdConf> readBack(
        m_readBack.m_FsUsageMonitorConf.m_FsThresholdConfList);
    for (const CLoggerFsThresholdConf& row : m_wanted.m_FsUsageMonitorConf.m_FsThresholdConfList) {
        const std::string part = UnreadablePart(row.m_sVolumeName);
        if (!part.empty() && !IsSame(row, readBack.Find(row.m_sVolumeName))) {
            problems.push_back("alert.cfg cannot hold the file system '" +
                               output::Escape(row.m_sVolumeName) + "': its name has " + part +
                               ". Leave it not monitored, with the threshold " +
                               std::to_string(LoggerDefinitions::kDefaultThreshold) + ".");
        }
    }
    return problems;
}

std::vector<CTraceUtility::Line> FindRefusal(const history::CSettingsCopy& copy) {
    agent::CReasonListener listener;
    const CMemoryFile agent("agent.cfg", copy.m_files[0].m_text);
    const CMemoryFile alert("alert.cfg", copy.m_files[1].m_text);
    const CLoggerConf conf(agent.Path(), alert.Path());
    return conf.m_iStatus == 0 ? std::vector<CTraceUtility::Line>() : listener.Lines();
}

bool IsFaultOfHost(const std::vector<CTraceUtility::Line>& failures) {
    return std::any_of(failures.begin(), failures.end(), [](const CTraceUtility::Line& line) {
        return line.m_sText.find(" open error") != std::string::npos ||
               line.m_sText.find("GetMountPointList() failure") != std::string::npos;
    });
}

} // namespace record
