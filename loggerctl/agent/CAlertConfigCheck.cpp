#include "loggerctl/agent/CAlertConfigCheck.h"

#include "comlib/CStringUtil.h"
#include "loggerctl/agent/CFileProblem.h"
#include "loggerctl/output/CSafeText.h"
#include "settings/CLoggerConfCommon.h"
#include "settings/CLoggerFsUsageMonitorConf.h"
#include "settings/LoggerDefinitions.h"

#include <fstream>
#include <list>

namespace {

using namespace LoggerDefinitions;

constexpr char kMonitorForm[] = "=(True, 60, 5, 90)";
constexpr char kFileSystemForm[] = "=(True, 60, 5)";

std::string Place(const std::string& path, unsigned int lineNumber) {
    return CSafeText::Escape(path) + ", line " + std::to_string(lineNumber) + ": ";
}

// What the parentheses behind "KEY=" hold; empty when the line does not assign the key a list.
std::string ValueList(const std::string& line, const std::string& key) {
    const std::size_t position = line.find(key + "=");
    if (position == std::string::npos) {
        return "";
    }
    return CLoggerConfCommon::GetTextInParentheses(line, static_cast<unsigned int>(position));
}

std::string NoList(const std::string& path, const std::string& key, const char* form) {
    return CSafeText::Escape(path) + ": no line gives " + key + " its values. Add " + key + form +
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
    return key + " begins with \"" + CSafeText::Escape(field) + "\". Write True or False there.";
}

std::string FindKeyProblem(const std::string& path, const std::string& key) {
    std::ifstream file(path);
    unsigned int lineNumber = 0;
    std::string line;
    while (std::getline(file, line)) {
        ++lineNumber;
        const std::string list = ValueList(line, key);
        if (!list.empty()) {
            const std::string count = CountProblem(list, key, kUsageMonitorFields, kMonitorForm);
            const std::string problem = count.empty() ? EnableProblem(list, key) : count;
            return problem.empty() ? "" : Place(path, lineNumber) + problem;
        }
    }
    return NoList(path, key, kMonitorForm);
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

std::string CAlertConfigCheck::FindMonitorProblem(const std::string& path) {
    std::string reading = CFileProblem::Reading(path);
    if (!reading.empty()) {
        return reading;
    }
    const std::string cpu = FindKeyProblem(path, kCpuKey);
    return cpu.empty() ? FindKeyProblem(path, kMemoryKey) : cpu;
}

std::string CAlertConfigCheck::FindFileSystemProblem(const std::string& path) {
    std::string reading = CFileProblem::Reading(path);
    if (!reading.empty()) {
        return reading;
    }
    std::ifstream file(path);
    std::string problem = NoList(path, kFileSystemKey, kFileSystemForm);
    unsigned int lineNumber = 0;
    std::string line;
    while (std::getline(file, line)) {
        ++lineNumber;
        const std::string list = ValueList(line, kFileSystemKey);
        if (!list.empty()) {
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
