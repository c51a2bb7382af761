#include "loggerctl/record/CLostEntries.h"

#include "loggerctl/output/CSafeText.h"
#include "settings/LoggerDefinitions.h"

#include <set>
#include <sstream>

using std::string;

std::vector<string> CLostEntries::Find(const string& alertText, const CLoggerConf& wanted) {
    std::set<string> kept;
    for (const CLoggerFsThresholdConf& row : wanted.m_FsUsageMonitorConf.m_FsThresholdConfList) {
        kept.insert(row.m_sVolumeName);
    }
    std::vector<string> sentences;
    std::istringstream lines(alertText);
    string line;
    while (std::getline(lines, line)) {
        const string::size_type keyPos = line.find(LoggerDefinitions::kFsNameKey);
        string name;
        int threshold = 0;
        bool enable = false;
        if (keyPos != string::npos &&
            CLoggerFsUsageMonitorConf::GetVolumeThresholdFromString(
                line, static_cast<unsigned int>(keyPos), &name, &threshold, &enable) ==
                CLoggerFsUsageMonitorConf::kEntry &&
            kept.insert(name).second) {
            sentences.push_back(CSafeText::Escape(name) + " is not mounted: its entry (" +
                                (enable ? "" : "not ") + "monitored, threshold " +
                                std::to_string(threshold) + " %) goes from alert.cfg.");
        }
    }
    return sentences;
}
