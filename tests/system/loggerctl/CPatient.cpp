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
#include <sstream>
#include <utility>

namespace fs = std::filesystem;
using std::string;

namespace {

constexpr char kDoor[] = "kzm-providerd.socket";
constexpr char kFront[] = "kzmwbemd.socket";

constexpr gid_t kFrontEndGroup = 60050;

// Somebody else, where that can be.
uid_t FrontEndUser() {
    constexpr uid_t kAnother = 60050;
    return geteuid() == 0 ? kAnother : geteuid();
}

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
    WriteTool("systemctl", "echo \"$3\" >>" + Record("systemctl"));
    fs::create_directories(CTestRoot::Path("/usr/bin")); // where the sample has it
    fs::copy_file(Tools("systemctl"), CTestRoot::Path("/usr/bin/systemctl"));
    const string group = "echo \"$name:x:60099:\" >>" + Tools("group");
    WriteTool("groupadd", "for name; do :; done\n" + group);
    WriteTool("useradd", "for name; do :; done\n" + group +
                             "\necho \"$name:x:60099:60099::/:\" >>" + Tools("passwd"));
    WriteTool("systemd-sysusers", "for kind in passwd group; do cat " + Tools("$kind.good") + " >" +
                                      Tools("$kind") + "; done");
    WriteFile(Tools("passwd"), "root:x:0:0::/:\nkzmwbem:x:" + std::to_string(FrontEndUser()) + ":" +
                                   std::to_string(kFrontEndGroup) + "::/:\n");
    WriteFile(Tools("group"), "root:x:0:\nkzmwbem:x:" + std::to_string(kFrontEndGroup) +
                                  ":\nkzm-readers:x:60001:\nkzm-changers:x:60002:\n");
    for (const char* file : {"passwd", "group"}) {
        fs::copy_file(Tools(file), Tools(file) + ".good");
    }
}

void CPatient::InstallServer() {
    Link(WBEMD_PROGRAM, KzmPaths::kWbemdProgram);
    Link(PROVIDERD_PROGRAM, KzmPaths::kProviderdProgram);
    InstallCertificate(MakeCertificate("localhost"));
    fs::permissions(KzmPaths::kWbemdKey, fs::perms(0640));
    if (geteuid() == 0) {
        EXPECT_EQ(chown(KzmPaths::kWbemdKey, 0, kFrontEndGroup), 0);
    }
    Listen(kDoor);
    Listen(kFront);
    WriteFile(KzmPaths::kWbemdConfig, "Listen=127.0.0.1:" + std::to_string(m_port) + "\n");
    WriteFile(KzmPaths::kProviderdConfig, "ChangingGroups=kzm-changers\n");
}

void CPatient::KeepAsGood() const {
    const string good = Tools("good");
    fs::create_directories(good);
    for (const char* folder : {"/bin", "/etc", "/opt", "/usr", "/var"}) {
        CProgram copy({"-a", CTestRoot::Path(folder), good});
        copy.RunInstead("/bin/cp");
        EXPECT_EQ(copy.Run().m_iExitCode, 0);
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

void CPatient::Forget(const string& name, const string& file) {
    std::istringstream lines(ReadFile(Tools(file)));
    string text;
    for (string line; std::getline(lines, line);) {
        text += line.rfind(name + ":", 0) == 0 ? "" : line + "\n";
    }
    WriteFile(Tools(file), text);
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

CProgram::Words CPatient::Environment() {
    return {"PATH=" + Tools("") + ":/usr/sbin:/usr/bin:/sbin:/bin",
            "EDITOR=" + Tools("editor"),
            "LD_PRELOAD=" NSS_WRAPPER_LIBRARY,
            "NSS_WRAPPER_PASSWD=" + Tools("passwd"),
            "NSS_WRAPPER_GROUP=" + Tools("group"),
#ifdef KZM_NO_FAULT_TRANSLATION // under sanitizers
            "NSS_WRAPPER_DISABLE_DEEPBIND=1",
            "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0"
#endif
    };
}
