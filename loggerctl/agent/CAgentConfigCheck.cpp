#include "loggerctl/agent/CAgentConfigCheck.h"

#include "loggerctl/agent/CFileProblem.h"
#include "loggerctl/output/CSafeText.h"
#include "settings/CLoggerSyslogOutputConf.h"
#include "settings/LoggerDefinitions.h"

#include <fstream>

namespace {

using namespace LoggerDefinitions;

struct Assignment {
    const LoggerSyslogSwitch* m_pSwitch = nullptr; // null: the line gives no key a value
    std::string m_sValue;
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
    const std::string& value = assignment.m_sValue;
    std::string text = CSafeText::Escape(path) + ", line " + std::to_string(lineNumber) + ": " +
                       assignment.m_pSwitch->m_pName + " has the value \"" +
                       CSafeText::Escape(value) + "\". Write True or False.";
    if (value.back() == '\r') {
        text += " (\\x0D is a carriage return: end the lines in a line feed alone.)";
    }
    return text;
}

} // namespace

std::string CAgentConfigCheck::FindProblem(const std::string& path) {
    std::string reading = CFileProblem::Reading(path);
    if (!reading.empty()) {
        return reading;
    }
    std::ifstream file(path);
    std::uint16_t setFlag = 0;
    unsigned int lineNumber = 0;
    std::string line;
    while (std::getline(file, line)) {
        ++lineNumber;
        const Assignment assignment = ReadAssignment(line);
        if (assignment.m_pSwitch == nullptr) {
            continue;
        }
        if (assignment.m_sValue != kTrue && assignment.m_sValue != kFalse) {
            return InvalidValue(path, lineNumber, assignment);
        }
        setFlag |= assignment.m_pSwitch->m_bit;
    }
    return DescribeMissing(path, setFlag);
}

std::string CAgentConfigCheck::DescribeMissing(const std::string& path, std::uint16_t setFlag) {
    std::string keys;
    for (const LoggerSyslogSwitch& entry : kLoggerSyslogSwitches) {
        if ((setFlag & entry.m_bit) == 0) {
            keys += (keys.empty() ? "" : ", ") + std::string(entry.m_pName);
        }
    }
    if (keys.empty()) {
        return "";
    }
    return CSafeText::Escape(path) + ": no line gives a value to " + keys +
           ". Add each as KEY=True or KEY=False.";
}
