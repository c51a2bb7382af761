#include "loggerctl/record/CWriteRehearsal.h"

#include "loggerctl/agent/CReasonListener.h"
#include "loggerctl/output/CSafeText.h"
#include "loggerctl/record/CMemoryFile.h"
#include "settings/CRequestRules.h"
#include "settings/LoggerDefinitions.h"

#include <algorithm>

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

bool IsReadBack(const CLoggerFsThresholdConf& row, const CLoggerConf& readBack) {
    const auto& rows = readBack.m_FsUsageMonitorConf.m_FsThresholdConfList;
    return std::any_of(rows.begin(), rows.end(), [&row](const CLoggerFsThresholdConf& other) {
        return other.m_sVolumeName == row.m_sVolumeName && other.m_iThreshold == row.m_iThreshold &&
               other.m_bVolMonitoringEnable == row.m_bVolMonitoringEnable;
    });
}

} // namespace

CWriteRehearsal CWriteRehearsal::Run(const CLoggerConf& request, const CSettingsTexts& present) {
    CReasonListener listener;
    CWriteRehearsal rehearsal;
    rehearsal.m_wanted = request;
    CRequestRules::DisableVolumesOfDisabledMonitor(&rehearsal.m_wanted);
    CRequestRules::GiveDefaultThresholds(&rehearsal.m_wanted);

    const CMemoryFile agent("agent.cfg", present.m_sAgent);
    const CMemoryFile alert("alert.cfg", present.m_sAlert);
    if (rehearsal.m_wanted.EditConfigFile(agent.Path(), alert.Path())) {
        rehearsal.m_readBack = CLoggerConf(agent.Path(), alert.Path());
        rehearsal.m_bGood = rehearsal.m_readBack.m_iStatus == 0 &&
                            rehearsal.m_wanted.Compare(&rehearsal.m_readBack);
    }
    rehearsal.m_texts = {agent.Text(), alert.Text()};
    rehearsal.m_lines = listener.Lines();
    return rehearsal;
}

std::vector<std::string> CWriteRehearsal::NameProblems() const {
    std::vector<std::string> problems;
    for (const CLoggerFsThresholdConf& row : m_wanted.m_FsUsageMonitorConf.m_FsThresholdConfList) {
        const std::string part = UnreadablePart(row.m_sVolumeName);
        if (!part.empty() && !IsReadBack(row, m_readBack)) {
            problems.push_back("alert.cfg cannot hold the file system '" +
                               CSafeText::Escape(row.m_sVolumeName) + "': its name has " + part +
                               ". Leave it not monitored, with the threshold " +
                               std::to_string(LoggerDefinitions::kDefaultThreshold) + ".");
        }
    }
    return problems;
}
