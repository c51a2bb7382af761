#include "settings/CLoggerConf.h"

#include "settings/LoggerTrace.h"

#include <fstream>

using std::string;

bool CLoggerConf::EditConfigFile(string agentPath, string alertPath) const {
    return EditFile(agentPath, "agent.cfg", &CLoggerConf::EditAgent, "EditAgent") &&
           EditFile(alertPath, "alert.cfg", &CLoggerConf::EditAlert, "EditAlert");
}

bool CLoggerConf::EditFile(const string& path, const char* fileName, Editor editor,
                           const char* editorName) const {
    const auto traceFailure = [](const char* what, const char* failure) {
        CTraceUtility::WriteDebug(LoggerTrace::kModule, LoggerTrace::kFailure,
                                  "CLoggerConf::EditConfigFile() %s %s", what, failure);
    };
    std::fstream file(path, std::ios::in);
    if (!file) {
        traceFailure(fileName, "open error");
        return false;
    }
    std::list<string> lines;
    string line;
    while (std::getline(file, line)) {
        lines.push_back(line);
    }
    file.close();
    file.clear();
    if (!(this->*editor)(lines)) {
        traceFailure(editorName, "failure");
        return false;
    }
    // In place, so that owner and mode stay: no temporary file, no backup, no rollback.
    file.open(path, std::ios::out | std::ios::trunc);
    if (!file) {
        traceFailure(fileName, "open error");
        return false;
    }
    for (const string& edited : lines) {
        file << edited << std::endl;
    }
    // What could not be written is found by whoever reads the file back.
    file.close();
    return true;
}
