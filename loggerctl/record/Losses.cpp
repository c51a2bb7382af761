#include "loggerctl/record/Losses.h"

#include "comlib/CStringUtil.h"
#include "loggerctl/output/SafeText.h"
#include "settings/CLoggerConfCommon.h"
#include "settings/LoggerDefinitions.h"

#include <cstdlib>
#include <functional>
#include <limits>
#include <sstream>
#include <unordered_set>

namespace record {

namespace {

using namespace LoggerDefinitions;
using Texts = std::vector<std::string>;

constexpr std::int32_t kLeastThreshold = 1;
constexpr std::int32_t kGreatestThreshold = 100;
constexpr std::uint32_t kGreatestPositive = std::numeric_limits<std::int32_t>::max();
constexpr std::size_t kMostNames = 10; // in one sentence

// ---- Slips ----

std::string ThresholdSlip(bool ofVolume, std::int32_t value) {
    if (value >= kLeastThreshold && value <= kGreatestThreshold) {
        return "";
    }
    const bool replaced = ofVolume && value == 0;
    return std::to_string(value) + " is no percentage from 1 to 100" +
           (replaced ? "; the default, " + std::to_string(kDefaultThreshold) +
                           ", would be written in its place."
                     : ".");
}

std::string SamplingSlip(std::uint32_t value) {
    if (value == 0) {
        return "0 gives the agent nothing to sample by.";
    }
    if (value > kGreatestPositive) {
        return std::to_string(value) + " would stand in the agent's file as the negative number " +
               std::to_string(static_cast<std::int32_t>(value)) +
               ". The greatest that does not is " + std::to_string(kGreatestPositive) + ".";
    }
    return "";
}

std::string Slip(const CAsked& asked, bool monitorOn) {
    if (const auto* threshold = std::get_if<std::int32_t>(&asked.m_value)) {
        return ThresholdSlip(asked.m_ofVolume, *threshold);
    }
    if (const auto* sampling = std::get_if<std::uint32_t>(&asked.m_value)) {
        return SamplingSlip(*sampling);
    }
    const bool vain = asked.m_ofVolume && std::get<bool>(asked.m_value) && !monitorOn;
    return vain ? "true has no effect while fs.enable is false: no file system is monitored then."
                : "";
}

// ---- Lines of alert.cfg ----

using Line = std::pair<unsigned int, const std::string&>; // number and text
void ForEachLine(const std::string& text, const std::function<void(const Line&)>& look) {
    std::istringstream lines(text);
    std::string line;
    for (unsigned int number = 1; std::getline(lines, line); ++number) {
        look({number, line});
    }
}

std::string Place(unsigned int number) {
    return "alert.cfg, line " + std::to_string(number) + ": ";
}

// A line that gives a file system its entry.
struct CEntryLine {
    std::string m_name;
    int m_threshold = 0;
    bool m_enable = false;
    std::size_t m_keyPos = std::string::npos;
    bool m_isEntry = false;
};
CEntryLine ReadEntry(const std::string& line) {
    CEntryLine entry;
    entry.m_keyPos = line.find(kFsNameKey);
    entry.m_isEntry = entry.m_keyPos != std::string::npos &&
                      CLoggerFsUsageMonitorConf::GetVolumeThresholdFromString(
                          line, static_cast<unsigned int>(entry.m_keyPos), &entry.m_name,
                          &entry.m_threshold, &entry.m_enable) == CLoggerFsUsageMonitorConf::kEntry;
    return entry;
}

std::unordered_set<std::string> VolumeNames(const CLoggerConf& conf) {
    std::unordered_set<std::string> names;
    for (const CLoggerFsThresholdConf& row : conf.m_FsUsageMonitorConf.m_FsThresholdConfList) {
        names.insert(row.m_sVolumeName);
    }
    return names;
}

// What stands before and behind an entry on its line.
Texts TextBesides(const std::string& line, const CEntryLine& entry) {
    std::string before = line.substr(0, entry.m_keyPos);
    const std::size_t marker = before.find(kDisabledMarker);
    if (marker != std::string::npos) {
        before.erase(marker, sizeof(kDisabledMarker) - 1);
    }
    if (before == "\t" && marker != std::string::npos) {
        before.clear();
    }
    const std::size_t nameEnd = line.find('"', line.find('"', entry.m_keyPos) + 1);
    const std::size_t end = line.find(')', line.find('(', nameEnd)) + 1;
    return {before, line.substr(end)};
}

// ---- Numbers ----

// Whether the field says another number than the one that it counts as: none at all, or one that
// 32 bits cannot hold.
bool IsMisread(const std::string& field, std::int64_t countsAs) {
    constexpr int kDecimal = 10;
    char* end = nullptr;
    const long long says = std::strtoll(field.c_str(), &end, kDecimal);
    const bool isNone = end == field.c_str();
    const auto written = static_cast<std::int32_t>(says); // as the file holds it
    return written == static_cast<std::int32_t>(countsAs) &&
           (isNone || (written != says && countsAs != says));
}

// The numbers that a line of this key would be given, behind its switch.
struct CNumberLine {
    const char* m_key;
    const char* m_group; // of the keys of the command line
    std::vector<std::int64_t> m_wanted;
};

void FindLostNumbers(const Line& line, const CNumberLine& known, Texts* sentences) {
    static const char* const kNames[] = {"interval", "count", "threshold"};
    const std::size_t keyPos = line.second.find(std::string(known.m_key) + "=");
    if (keyPos == std::string::npos) {
        return;
    }
    std::string list =
        CLoggerConfCommon::GetTextInParentheses(line.second, static_cast<unsigned int>(keyPos));
    std::size_t index = 0;
    for (const std::string& field : CStringUtil::Split(list, kFieldSeparator)) {
        if (index > 0 && index <= known.m_wanted.size() &&
            IsMisread(field, known.m_wanted[index - 1])) {
            sentences->push_back(Place(line.first) + known.m_group + "." + kNames[index - 1] +
                                 " is \"" + output::Escape(field) + "\", which counts as " +
                                 std::to_string(known.m_wanted[index - 1]) +
                                 " and would be written so. Give it a number, too.");
        }
        ++index;
    }
}

template <class Monitor>
std::vector<std::int64_t> Sampling(const Monitor& monitor) {
    return {monitor.m_uiSamplingInterval, monitor.m_uiSamplingCount};
}

std::vector<std::int64_t> Numbers(const CLoggerUsageMonitorConf& monitor) {
    std::vector<std::int64_t> numbers = Sampling(monitor);
    numbers.push_back(monitor.m_iThreshold);
    return numbers;
}

} // namespace

Texts FindSlips(const CRequest& request) {
    Texts sentences;
    for (const CAsked& asked : request.m_asked) {
        const std::string slip =
            Slip(asked, request.m_conf.m_FsUsageMonitorConf.m_bMonitoringEnable);
        if (!slip.empty()) {
            sentences.push_back(output::Escape(asked.m_text) + ": " + slip);
        }
    }
    return sentences;
}

Texts FindLostSwitches(const CLoggerConf& request) {
    const CLoggerFsUsageMonitorConf& fileSystems = request.m_FsUsageMonitorConf;
    if (fileSystems.m_bMonitoringEnable) {
        return {};
    }
    std::string names;
    std::size_t count = 0;
    for (const CLoggerFsThresholdConf& row : fileSystems.m_FsThresholdConfList) {
        if (row.m_bVolMonitoringEnable && ++count <= kMostNames) {
            names += (names.empty() ? "" : ", ") + output::Escape(row.m_sVolumeName);
        }
    }
    if (count == 0) {
        return {};
    }
    return {"While fs.enable is false every file system's own switch is turned off, and fs.enable "
            "does not turn it on again: " +
            std::to_string(count) + (count == 1 ? " is on now (" : " are on now (") + names +
            (count > kMostNames ? ", ...)." : ").")};
}

Texts FindLostEntries(const std::string& alertText, const CLoggerConf& wanted) {
    std::unordered_set<std::string> kept = VolumeNames(wanted);
    Texts sentences;
    ForEachLine(alertText, [&](const Line& line) {
        const CEntryLine entry = ReadEntry(line.second);
        if (entry.m_isEntry && kept.insert(entry.m_name).second) {
            sentences.push_back(output::Escape(entry.m_name) + " is not mounted: its entry (" +
                                (entry.m_enable ? "" : "not ") + "monitored, threshold " +
                                std::to_string(entry.m_threshold) + " %) goes from alert.cfg.");
        }
    });
    return sentences;
}

Texts FindLostNumbers(const std::string& alertText, const CLoggerConf& wanted) {
    const std::vector<CNumberLine> known{
        {kCpuKey, "cpu", Numbers(wanted.m_UsageMonitorConf[CLoggerConf::kCpu])},
        {kMemoryKey, "memory", Numbers(wanted.m_UsageMonitorConf[CLoggerConf::kMemory])},
        {kFileSystemKey, "fs", Sampling(wanted.m_FsUsageMonitorConf)},
    };
    Texts sentences;
    ForEachLine(alertText, [&](const Line& line) {
        for (const CNumberLine& key : known) {
            FindLostNumbers(line, key, &sentences);
        }
    });
    return sentences;
}

Texts FindLostText(const std::string& alertText, const CLoggerConf& wanted) {
    const std::unordered_set<std::string> kept = VolumeNames(wanted);
    Texts sentences;
    ForEachLine(alertText, [&](const Line& line) {
        const CEntryLine entry = ReadEntry(line.second);
        if (!entry.m_isEntry || kept.count(entry.m_name) == 0) {
            return;
        }
        for (const std::string& text : TextBesides(line.second, entry)) {
            if (!text.empty()) {
                sentences.push_back(Place(line.first) + "\"" + output::Escape(text) +
                                    "\" besides the entry of " + output::Escape(entry.m_name) +
                                    " is not kept.");
            }
        }
    });
    return sentences;
}

} // namespace record
