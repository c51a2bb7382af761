#include "tests/load/CWatchedAgent.h"

#include "KzmPaths.h"

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;
using std::string;

namespace {

constexpr char kScript[] = "/opt/veltaro/agent/watch";
constexpr char kNotes[] = "/opt/veltaro/agent/notes";
constexpr char kMark[] = "==== ";
constexpr char kLockIsFree[] = "The provider lock is free.";

void Describe(const string& serviceCommand) {
    const auto line = [&serviceCommand](const string& name) {
        return name + "=" + serviceCommand + " " + name + "\n";
    };
    WriteFile(string(KzmPaths::kDeviceFolder) + "/Logger.conf", "CheckInstall=/bin/true\n" +
                                                                    line(CWatchedAgent::kStop) +
                                                                    line(CWatchedAgent::kStart));
}

} // namespace

CWatchedAgent::CWatchedAgent(const CTestRoot& root) : m_sNotes(root.Path(kNotes)) {
    const string script = root.Path(kScript);
    WriteFile(script, string("#!/bin/sh\n{ echo '") + kMark + "'$1; /bin/cat " +
                          KzmPaths::kAgentConfig + " " + KzmPaths::kAlertConfig +
                          "; /usr/bin/flock --nonblock " + KzmPaths::kLockFile + " echo '" +
                          kLockIsFree + "'; } >> " + m_sNotes + "\nexit 0\n");
    fs::permissions(script, fs::perms(0755));
    Describe(script);
}

std::vector<CWatchedAgent::Note> CWatchedAgent::Notes() const {
    std::vector<Note> notes;
    std::ifstream file(m_sNotes);
    string line;
    while (std::getline(file, line)) {
        if (line.rfind(kMark, 0) == 0) {
            notes.push_back({line.substr(sizeof kMark - 1), ""});
        } else if (!notes.empty()) {
            notes.back().m_sFiles += line + "\n";
        }
    }
    return notes;
}

void InstallFastAgent(const CTestRoot& /*root*/) {
    Describe("/bin/true");
}
