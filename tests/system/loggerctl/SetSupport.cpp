#include "tests/system/loggerctl/SetSupport.h"

#include "KzmPaths.h"
#include "tests/system/loggerctl/CGolden.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <sstream>

namespace fs = std::filesystem;

CProgram::Result RunSet(const CProgram::Words& arguments) {
    CProgram::Words words = {"set"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return CProgram(words).Run();
}

CProgram::Result WithoutIds(CProgram::Result result) {
    static const std::regex kId("[0-9]{8}-[0-9]{6}-[0-9]{3}");
    result.m_sOutput = std::regex_replace(result.m_sOutput, kId, "ID");
    result.m_sError = std::regex_replace(result.m_sError, kId, "ID");
    return result;
}

void ExpectGolden(std::string name, const CProgram::Result& result) {
    std::replace(name.begin(), name.end(), '_', '-');
    CGolden::Expect("set-" + name, WithoutIds(result));
}

std::map<std::string, std::string> Tree() {
    std::map<std::string, std::string> tree;
    for (const fs::directory_entry& entry :
         fs::recursive_directory_iterator(CTestRoot::Path("/"))) {
        const std::string path = entry.path().string();
        const fs::path folder = fs::path(KzmPaths::kLockFile).parent_path();
        const bool changesAlways = entry.path() == folder || path == KzmPaths::kLockFile ||
                                   path == KzmPaths::kCallerLock ||
                                   entry.path() == fs::path(KzmPaths::kCallerLock).parent_path() ||
                                   entry.path().filename() == "vendor-calls" ||
                                   entry.path().filename() == "agent";
        if (!changesAlways) {
            std::ostringstream text;
            text << static_cast<int>(entry.status().type()) << ' '
                 << (entry.is_regular_file() ? entry.file_size() : 0) << ' '
                 << entry.last_write_time().time_since_epoch().count();
            tree[path] = text.str();
        }
    }
    return tree;
}

void SetVendorCommand(const std::string& name, const std::string& commandLine) {
    const std::string file = std::string(KzmPaths::kDeviceFolder) + "/Logger.conf";
    std::istringstream lines(ReadFile(file));
    std::string text = name + "=" + commandLine + "\n";
    std::string line;
    while (std::getline(lines, line)) {
        text += line.rfind(name + "=", 0) == 0 ? "" : line + "\n";
    }
    WriteFile(file, text);
}

void ObeyPermissions(CProgram* program) {
    if (geteuid() == 0) {
        program->SetWrapper({"/usr/bin/setpriv", "--bounding-set=-dac_override,-dac_read_search",
                             "--inh-caps=-all"});
    }
}
