#include "loggerctl/agent/ConfigCheck.h"

#include "comlib/CStringUtil.h"
#include "loggerctl/agent/SettingsFiles.h"
#include "loggerctl/output/SafeText.h"
#include "settings/CLoggerConfCommon.h"
#include "settings/CLoggerFsUsageMonitorConf.h"
#include "settings/CLoggerSyslogOutputConf.h"
#include "settings/LoggerDefinitions.h"

#include <fstream>
#include <list>
#include <map>

namespace agent {

namespace {

using namespace LoggerDefinitions;

// Where something stands.
std::string Place(const std::string& path, unsigned int lineNumber) {
    return output::Escape(path) + ", line " + std::to_string(lineNumber) + ": ";
}

// Whether a line is meant to give a key a value, though it may not be one that can be read.
bool IsMeantFor(const std::string& line, const std::string& key) {
    const std::size_t begin = line.find_first_not_of(" \t");
    if (begin == std::string::npos || line.compare(begin, key.size(), key) != 0) {
        return false;
    }
    const std::size_t next = line.find_first_not_of(" \t", begin + key.size());
    return next == std::string::npos || line[next] == '=';
}

// ---- agent.cfg ----

struct Assignment {
    const LoggerSyslogSwitch* m_switch = nullptr; // null: the line gives no key a value
    std::string m_value;
};

Assignment ReadAssignment(const std::string& line) {
    for (const LoggerSyslogSwitch& entry : kLoggerSyslogSwitches) {
        const std::size_t position = line.find(entry.m_pName);
        if (position == std::string::npos) {
            continue;
        }
        std::string value =
            CLoggerSyslogOutputConf::GetValueFromString(line, static_cast<unsigned int>(position));
        if (!value.empty()) {
            return {&entry, value};
        }
    }
    return {};
}

std::string InvalidValue(const std::string& path, unsigned int lineNumber,
                         const Assignment& assignment) {
    const std::string& value = assignment.m_value;
    std::string text = Place(path, lineNumber) + assignment.m_switch->m_pName +
                       " has the value \"" + output::Escape(value) + "\". Write True or False.";
    if (value.back() == '\r') {
        text += " (\\x0D is a carriage return: end the lines in a line feed alone.)";
    }
    return text;
}

// `lines` has the last lines that are meant for keys.
std::string DescribeMissing(const std::string& path, std::uint16_t setFlag,
                            const std::map<std::string, unsigned int>& lines) {
    std::string keys;
    for (const LoggerSyslogSwitch& entry : kLoggerSyslogSwitches) {
        if ((setFlag & entry.m_bit) == 0) {
            const auto line = lines.find(entry.m_pName);
            if (line != lines.end()) {
                return Place(path, line->second) + entry.m_pName + " has no value. Write it as " +
                       entry.m_pName + "=True or " + entry.m_pName + "=False.";
            }
            keys += (keys.empty() ? "" : ", ") + std::string(entry.m_pName);
        }
    }
    if (keys.empty()) {
        return "";
    }
    return output::Escape(path) + ": no line gives a value to " + keys +
           ". Add each as KEY=True or KEY=False.";
}

// ---- alert.cfg ----

constexpr char kMonitorForm[] = "=(True, 60, 5, 90)";
constexpr char kFileSystemForm[] = "=(True, 60, 5)";

// What the parentheses behind "KEY=" hold; empty when the line does not assign the key a list.
std::string ValueList(const std::string& line, const std::string& key) {
    const std::size_t position = line.find(key + "=");
    if (position == std::string::npos) {
        return "";
    }
    return CLoggerConfCommon::GetTextInParentheses(line, static_cast<unsigned int>(position));
}

// `lineNumber` is that of a line that is meant for the key, or 0.
std::string NoList(const std::string& path, unsigned int lineNumber, const std::string& key,
                   const char* form) {
    if (lineNumber != 0) {
        return Place(path, lineNumber) + key + " has no values in parentheses. Write it as " + key +
               form + ", without a blank before the \"=\".";
    }
    return output::Escape(path) + ": no line gives " + key + " its values. Add " + key + form +
           ", without a blank before the \"=\".";
}

// Both say what is wrong with a value list; empty when nothing is.
std::string CountProblem(std::string list, const std::string& key, std::size_t wanted,
                         const char* form) {
    const std::size_t count = CStringUtil::Split(list, kFieldSeparator).size();
    if (count == wanted) {
        return "";
    }
    return key + " has " + std::to_string(count) + " values instead of " + std::to_string(wanted) +
           ". Write it as " + key + form + ".";
}

std::string EnableProblem(std::string list, const std::string& key) {
    const std::string field = CStringUtil::Split(list, kFieldSeparator).front();
    bool enable = false;
    if (CLoggerConfCommon::GetEnable(field, &enable)) {
        return "";
    }
    return key + " begins with \"" + output::Escape(field) + "\". Write True or False there.";
}

std::string FindKeyProblem(const std::string& path, const std::string& key) {
    std::ifstream file(path);
    unsigned int lineNumber = 0;
    unsigned int meant = 0;
    std::string line;
    while (std::getline(file, line)) {
        ++lineNumber;
        meant = IsMeantFor(line, key) ? lineNumber : meant;
        const std::string list = ValueList(line, key);
        if (!list.empty()) {
            const std::string count = CountProblem(list, key, kUsageMonitorFields, kMonitorForm);
            const std::string problem = count.empty() ? EnableProblem(list, key) : count;
            return problem.empty() ? "" : Place(path, lineNumber) + problem;
        }
    }
    return NoList(path, meant, key, kMonitorForm);
}

bool IsMalformedVolumeLine(const std::string& line) {
    const std::size_t position = line.find(kFsNameKey);
    if (position == std::string::npos) {
        return false;
    }
    std::string name;
    int threshold = 0;
    bool enable = false;
    return CLoggerFsUsageMonitorConf::GetVolumeThresholdFromString(
               line, static_cast<unsigned int>(position), &name, &threshold, &enable) ==
           CLoggerFsUsageMonitorConf::kMalformedEntry;
}

} // namespace

std::string FindAgentProblem(const std::string& path) {
    std::string reading = WhyNotRead(path).m_text;
    if (!reading.empty()) {
        return reading;
    }
    std::ifstream file(path);
    std::uint16_t setFlag = 0;
    std::map<std::string, unsigned int> meant;
    unsigned int lineNumber = 0;
    std::string line;
    while (std::getline(file, line)) {
        ++lineNumber;
        for (const LoggerSyslogSwitch& entry : kLoggerSyslogSwitches) {
            if (IsMeantFor(line, entry.m_pName)) {
                meant[entry.m_pName] = lineNumber;
            }
        }
        const Assignment assignment = ReadAssignment(line);
        if (assignment.m_switch == nullptr) {
            continue;
        }
        if (assignment.m_value != kTrue && assignment.m_value != kFalse) {
            return InvalidValue(path, lineNumber, assignment);
        }
        setFlag |= assignment.m_switch->m_bit;
    }
    return DescribeMissing(path, setFlag, meant);
}

std::string FindMonitorProblem(const std::string& path) {
    std::string reading = WhyNotRead(path).m_text;
    if (!reading.empty()) {
        return reading;
    }
    const std::string cpu = FindKeyProblem(path, kCpuKey);
    return cpu.empty() ? FindKeyProblem(path, kMemoryKey) : cpu;
}

std::string FindFileSystemProblem(const std::string& path) {
    std::string reading = WhyNotRead(path).m_text;
    if (!reading.empty()) {
        return reading;
    }
    std::ifstream file(path);
    std::string problem = NoList(path, 0, kFileSystemKey, kFileSystemForm);
    bool hasList = false;
    unsigned int lineNumber = 0;
    std::string line;
    while (std::getline(file, line)) {
        ++lineNumber;
        const std::string list = ValueList(line, kFileSystemKey);
        if (!hasList && list.empty() && IsMeantFor(line, kFileSystemKey)) {
            problem = NoList(path, lineNumber, kFileSystemKey, kFileSystemForm);
        }
        if (!list.empty()) {
            hasList = true;
            const std::string count =
                CountProblem(list, kFileSystemKey, kFsUsageMonitorFields, kFileSystemForm);
            if (!count.empty()) {
                // The reader stops here; what it has read before counts.
                return problem.empty() ? "" : Place(path, lineNumber) + count;
            }
            const std::string enable = EnableProblem(list, kFileSystemKey);
            if (enable.empty()) {
                problem.clear();
            } else if (!problem.empty()) {
                problem = Place(path, lineNumber) + enable;
            }
        }
        if (IsMalformedVolumeLine(line)) {
            return Place(path, lineNumber) + "a file system needs a name in double quotes and a " +
                   "threshold other than 0. Write it as " + kFsNameKey + "\"/home\" (90).";
        }
    }
    return problem;
}

} // namespace agent
