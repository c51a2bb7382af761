#include "tests/system/loggerctl/CPatient.h"

#include "KzmPaths.h"
#include "loggerctl/agent/CService.h"
#include "tests/system/loggerctl/SampleHistory.h"
#include "tests/system/server/http/Certificates.h"

#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <utility>

namespace fs = std::filesystem;
using std::string;

namespace {

constexpr char kDoor[] = "kzm-providerd.socket";
constexpr char kFront[] = "kzmwbemd.socket";

string Record(const char* name) {
    return CPatient::Tools(name) + ".record";
}

void Link(const string& target, const string& path) {
    fs::create_directories(fs::path(path).parent_path());
    fs::create_symlink(target, path);
}

std::vector<string> NamesOf(const nlohmann::json& document, const std::vector<string>& states) {
    std::vector<string> names;
    for (const nlohmann::json& finding : document.at("findings")) {
        for (const string& state : states) {
            if (finding.at("state") == state) {
                names.push_back(finding.at("name"));
            }
        }
    }
    return names;
}

} // namespace

CListening CListening::AtPath(const string& path) {
    fs::create_directories(fs::path(path).parent_path());
    fs::remove(path);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    EXPECT_LT(path.size(), sizeof address.sun_path) << "the build folder's path is too long";
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    CListening listening(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(bind(listening.m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(listening.m_socket, 1), 0);
    return listening;
}

CListening CListening::AtPort(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    CListening listening(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int yes = 1;
    setsockopt(listening.m_socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    EXPECT_EQ(bind(listening.m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(listening.m_socket, 1), 0);
    return listening;
}

CListening::~CListening() {
    if (m_socket >= 0) {
        close(m_socket);
    }
}

CListening::CListening(CListening&& other) noexcept : m_socket(std::exchange(other.m_socket, -1)) {}

CListening& CListening::operator=(CListening&& other) noexcept {
    std::swap(m_socket, other.m_socket);
    return *this;
}

int CListening::Port() const {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

CPatient::CPatient() {
    Link(PROVIDER_LIBRARY, KzmPaths::kProviderLibrary);
    Link(CLASS_DEFINITIONS, KzmPaths::kClassDefinitions);
    fs::copy_file(SAMPLE_DESCRIPTION, agent::DescriptionSample());
    fs::permissions(fs::path(KzmPaths::kLockFile).parent_path(), fs::perms(0700));
    SampleHistory::Add(SampleHistory::kOlder, "set cpu.count=5", SampleHistory::kAgentConfig,
                       SampleHistory::kAlertConfig);
    fs::create_directories(Tools(""));
    WriteTool("loggerctl", "exec " LOGGERCTL_PROGRAM " \"$@\"");
    const string good = Tools("good");
    const string root = CTestRoot::Path("");
    WriteTool("apt-get", "cp -a " + good + "/. " + root + "/");
    WriteTool("editor", "echo \"$@\" >>" + Record("editor") +
                            "\nfor file; do :; done\n"
                            "cat \"" +
                            good + "${file#" + root + "}\" >\"$file\"");
    WriteTool("systemctl", "echo \"$4\" >>" + Record("systemctl"));
    for (const auto& [tool, file] :
         {std::pair("useradd", "NSS_WRAPPER_PASSWD"), std::pair("groupadd", "NSS_WRAPPER_GROUP")}) {
        WriteTool(tool, "for name; do :; done\necho \"$name:x:60099:60099::/:/bin/false\" >>\"$" +
                            string(file) + "\"");
    }
}

void CPatient::InstallServer() {
    Link(WBEMD_PROGRAM, KzmPaths::kWbemdProgram);
    Link(PROVIDERD_PROGRAM, KzmPaths::kProviderdProgram);
    InstallCertificate(MakeCertificate("localhost"));
    fs::permissions(KzmPaths::kWbemdKey, fs::perms(0640));
    Listen(kDoor);
    Listen(kFront);
    WriteFile(KzmPaths::kWbemdConfig, "Listen=127.0.0.1:" + std::to_string(m_port) + "\n");
    WriteFile(KzmPaths::kProviderdConfig, "ChangingGroups=kzm-changers\n");
}

void CPatient::KeepAsGood() const {
    const string good = Tools("good");
    fs::create_directories(good);
    for (const char* folder : {"/bin", "/etc", "/opt", "/var"}) {
        fs::copy(CTestRoot::Path(folder), good + folder,
                 fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }
}

CPatient::CAnswer CPatient::Ask(const CProgram::Words& wrapper) const {
    CProgram tool = Tool({"--format=json", "doctor"});
    tool.SetWrapper(wrapper);
    const CProgram::Result result = tool.Run();
    EXPECT_EQ(result.m_sError, "");
    return {result.m_iExitCode, nlohmann::json::parse(result.m_sOutput, nullptr, false)};
}

std::vector<string> CPatient::CAnswer::ToMend() const {
    return NamesOf(m_document, {"missing", "wrong"});
}

std::vector<string> CPatient::CAnswer::NotLookedAt() const {
    return NamesOf(m_document, {"not-looked-at"});
}

nlohmann::json CPatient::CAnswer::Finding(const string& name) const {
    for (const nlohmann::json& finding : m_document.at("findings")) {
        if (finding.at("name") == name) {
            return finding;
        }
    }
    ADD_FAILURE() << "nothing is said of " << name << m_document.dump(1);
    return {{"state", ""}, {"text", ""}, {"mend", ""}, {"looked_at", ""}};
}

CProgram::Result CPatient::Run(const CProgram::Words& words) const {
    return Tool(words).Run();
}

CProgram::Result CPatient::RunInShell(const string& command) {
    CProgram shell({"-c", command});
    shell.RunInstead("/bin/sh");
    for (const string& variable : Environment()) {
        shell.SetEnvironment(variable);
    }
    const CProgram::Result result = shell.Run();
    for (const char* unit : {kDoor, kFront}) {
        if (fs::exists(Record("systemctl")) &&
            ReadFile(Record("systemctl")).find(unit) != string::npos) {
            Listen(unit);
        }
    }
    return result;
}

CProgram CPatient::Tool(const CProgram::Words& words) const {
    CProgram tool(words);
    tool.UseDefaultFiles();
    for (const string& variable : Environment()) {
        tool.SetEnvironment(variable);
    }
    return tool;
}

string CPatient::Edited() {
    return fs::exists(Record("editor")) ? ReadFile(Record("editor")) : "";
}

string CPatient::Tools(const string& name) {
    return CTestRoot::Path("/tools/") + name;
}

void CPatient::WriteTool(const string& name, const string& script) const {
    WriteFile(Tools(name), "#!/bin/sh\n" + script + "\n");
    fs::permissions(Tools(name), fs::perms(0755));
}

void CPatient::Listen(const string& unit) {
    m_listening.erase(unit);
    CListening listening =
        unit == kDoor ? CListening::AtPath(KzmPaths::kProviderdSocket) : CListening::AtPort(m_port);
    m_port = unit == kDoor ? m_port : listening.Port();
    m_listening.emplace(unit, std::move(listening));
}

CProgram::Words CPatient::Environment() const {
    CProgram::Words environment = m_accounts.Environment();
    environment.push_back("PATH=" + Tools("") + ":/usr/sbin:/usr/bin:/sbin:/bin");
    environment.push_back("EDITOR=" + Tools("editor"));
    return environment;
}
