#include "loggerctl/doctor/ServerChecks.h"

#include "KzmPaths.h"
#include "loggerctl/doctor/Mending.h"
#include "loggerctl/output/SafeText.h"
#include "providerd/door/CSettings.h"
#include "wbemd/http/CSettings.h"

#include <grp.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace doctor {

namespace {

using std::string;
using Texts = std::vector<string>;

constexpr char kPackage[] = "kzm-wbemd";

// ---- What a daemon says about its configuration ----

struct CCheck {
    int m_code = -1; // the exit status; -1: it did not end by itself
    Texts m_lines;   // safe to print
};

CCheck Check(const string& program) {
    CCheck check;
    const string command = program + " --check 2>&1 < /dev/null";
    // The program's path is a constant of the build.
    FILE* const pipe = popen(command.c_str(), "r"); // NOLINT(cert-env33-c)
    if (pipe == nullptr) {
        return check;
    }
    string text;
    std::array<char, 4096> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
        text.append(buffer.data(), count);
    }
    const int status = pclose(pipe);
    check.m_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::istringstream lines(text);
    for (string line; std::getline(lines, line);) {
        check.m_lines.push_back(output::Escape(line));
    }
    return check;
}

string Joined(const Texts& lines) {
    string text;
    for (const string& line : lines) {
        text += (text.empty() ? "" : " ") + line;
    }
    return text;
}

// `problems` are those of the file, of all that the daemon says.
CFinding LookAtConfiguration(const char* name, const string& path, const string& program,
                             const CCheck& check, const Texts& problems) {
    const CSubject subject(name, path);
    const agent::CReason reason = agent::WhyNotRead(path);
    if (reason.m_code == output::ExitCode::NoRights) {
        return subject.LacksRights(reason.m_text);
    }
    constexpr int kTold = 1;
    if (check.m_code != 0 && check.m_code != kTold) {
        return subject.Wrong(program + ": cannot look at its configuration. " +
                                 Joined(check.m_lines),
                             InstallCommand(kPackage));
    }
    if (!problems.empty()) {
        return subject.Wrong(Joined(problems),
                             EditCommand(path, LineNamed(problems.front(), path)));
    }
    return subject.Ok(IsThere(path) ? "Nothing is wrong with it."
                                    : "There is none: everything has its default.");
}

// ---- Users and groups ----

// The package brings those that the configuration names unless it says otherwise.
string AddCommand(const string& name, const string& other) {
    const providerd::CSettings defaults;
    const Texts& groups = defaults.m_readingGroups;
    const bool isOfPackage = name == defaults.m_frontEndUser ||
                             std::find(groups.begin(), groups.end(), name) != groups.end();
    return isOfPackage ? "systemd-sysusers kzm-wbemd.conf" : other + " " + Quoted(name);
}

CFinding LookAtUser(const string& name) {
    const CSubject subject("server-user", name);
    if (getpwnam(name.c_str()) != nullptr) {
        return subject.Ok("The front end's user exists.");
    }
    return subject.Missing("The front end's user " + output::Escape(name) + " does not exist.",
                           AddCommand(name, "useradd --system --user-group"));
}

CFinding LookAtGroup(const string& name, const string& may) {
    const CSubject subject("server-group", name);
    if (getgrnam(name.c_str()) != nullptr) {
        return subject.Ok("Its members may " + may + " the settings.");
    }
    return subject.Missing(string(KzmPaths::kProviderdConfig) + ": the members of the group " +
                               output::Escape(name) + " may " + may +
                               " the settings, and there is no such group. Add it, or correct the "
                               "file.",
                           AddCommand(name, "groupadd --system"));
}

// ---- The certificate ----

string MakeCertificate(const wbemd::CSettings& settings, const string& group) {
    const string key = Quoted(settings.m_key);
    return "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 365"
           " -subj \"/CN=$(uname -n)\" -addext \"subjectAltName=DNS:$(uname -n)\""
           " -keyout " +
           key + " -out " + Quoted(settings.m_certificate) + " && chown root:" + Quoted(group) +
           " " + key + " && chmod 0640 " + key;
}

// Whether the permission bits let the user read the file; true where either is unknown.
bool MayRead(const passwd* user, const string& path) {
    struct stat status {};
    if (user == nullptr || user->pw_uid == 0 || stat(path.c_str(), &status) != 0) {
        return true;
    }
    if (status.st_uid == user->pw_uid) {
        return (status.st_mode & S_IRUSR) != 0;
    }
    constexpr int kMostGroups = 1024;
    std::vector<gid_t> groups(kMostGroups);
    int count = kMostGroups;
    getgrouplist(user->pw_name, user->pw_gid, groups.data(), &count);
    groups.resize(static_cast<std::size_t>(std::clamp(count, 0, kMostGroups)));
    const bool isMember = std::find(groups.begin(), groups.end(), status.st_gid) != groups.end();
    return (status.st_mode & (isMember ? S_IRGRP : S_IROTH)) != 0;
}

bool IsForAll(const string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && (status.st_mode & (S_IROTH | S_IWOTH)) != 0;
}

// The name of the user's own group; that of the user where there is none.
string GroupOf(const passwd* user, const string& name) {
    const group* const own = user == nullptr ? nullptr : getgrgid(user->pw_gid);
    return own == nullptr ? name : own->gr_name;
}

CFinding LookAtRights(const CSubject& subject, const wbemd::CSettings& settings,
                      const string& name) {
    const passwd* const user = getpwnam(name.c_str());
    const string shown = output::Escape(name);
    const string& key = settings.m_key;
    if (!MayRead(user, key) || IsForAll(key)) {
        const string file = Quoted(key);
        return subject.Wrong(output::Escape(key) +
                                 (IsForAll(key) ? ": can be read by everybody, and is for root and "
                                                : ": cannot be read by the front end's user ") +
                                 shown + (IsForAll(key) ? " alone." : "."),
                             "chown root:" + Quoted(GroupOf(user, name)) + " " + file +
                                 " && chmod 0640 " + file);
    }
    if (!MayRead(user, settings.m_certificate)) {
        return subject.Wrong(output::Escape(settings.m_certificate) +
                                 ": cannot be read by the front end's user " + shown + ".",
                             "chmod 0644 " + Quoted(settings.m_certificate));
    }
    return subject.Ok("It does not expire soon, its key fits, and " + shown + " can read both.");
}

// `said` is what the front end says of certificate and key.
CFinding LookAtCertificate(const wbemd::CSettings& settings, const string& user,
                           const Texts& said) {
    const CSubject subject("server-certificate", settings.m_certificate);
    const string mend = MakeCertificate(settings, GroupOf(getpwnam(user.c_str()), user));
    for (const string& path : {settings.m_certificate, settings.m_key}) {
        if (!IsThere(path)) {
            return subject.Missing(output::Escape(path) +
                                       ": does not exist. Put it there, best from your own "
                                       "authority; the command makes certificate and key for a "
                                       "start.",
                                   mend);
        }
        const agent::CReason reason = agent::WhyNotRead(path);
        if (reason.m_code == output::ExitCode::NoRights) {
            return subject.LacksRights(reason.m_text);
        }
    }
    if (!said.empty()) {
        return subject.Wrong(Joined(said) + " The command makes certificate and key anew, signed "
                                            "by nobody.",
                             mend);
    }
    return LookAtRights(subject, settings, user);
}

// ---- Who listens ----

// Whether a socket listens there, from one of the system's lists: at the path, or at the port.
bool IsListening(const string& path) {
    constexpr char kAccepts[] = "00010000"; // among the flags of /proc/net/unix
    std::ifstream file("/proc/net/unix");
    for (string line; std::getline(file, line);) {
        std::istringstream words(line);
        string word;
        string flags;
        words >> word >> word >> word >> flags >> word >> word >> word >> word;
        if (flags == kAccepts && word == path) {
            return true;
        }
    }
    return false;
}

bool IsListening(std::uint16_t port) {
    constexpr char kListens[] = "0A"; // the state
    std::array<char, 8> wanted{};
    std::snprintf(wanted.data(), wanted.size(), ":%04X", port);
    for (const char* const list : {"/proc/net/tcp", "/proc/net/tcp6"}) {
        std::ifstream file(list);
        for (string line; std::getline(file, line);) {
            std::istringstream words(line);
            string word;
            string local;
            string state;
            words >> word >> local >> word >> state;
            if (state == kListens && local.find(wanted.data()) != string::npos) {
                return true;
            }
        }
    }
    return false;
}

string EnableCommand(const char* unit) {
    return string("systemctl enable --now ") + unit;
}

CFinding LookAtSocket() {
    const string path = KzmPaths::kProviderdSocket;
    const CSubject subject("providerd-socket", path);
    return IsListening(path) ? subject.Ok("kzm-providerd, or systemd for it, listens there.")
                             : subject.Missing(path + ": nobody listens there. Without systemd, "
                                                      "start kzm-providerd as root.",
                                               EnableCommand("kzm-providerd.socket"));
}

std::uint16_t PortOf(const wbemd::CListenAddress& address) {
    const void* const any = &address.m_address;
    return ntohs(address.m_address.ss_family == AF_INET6
                     ? static_cast<const sockaddr_in6*>(any)->sin6_port
                     : static_cast<const sockaddr_in*>(any)->sin_port);
}

CFinding LookAtPort(const wbemd::CListenAddress& address, const string& user) {
    const std::uint16_t port = PortOf(address);
    const CSubject subject("wbemd-port", "TCP port " + std::to_string(port));
    return IsListening(port)
               ? subject.Ok("Somebody listens there: kzmwbemd, or systemd for it.")
               : subject.Missing("TCP port " + std::to_string(port) +
                                     ": nobody listens there, so that no client can connect. "
                                     "Without systemd, start kzmwbemd as the user " +
                                     output::Escape(user) + ".",
                                 EnableCommand("kzmwbemd.socket"));
}

// ---- All of it ----

void LookInside(CFindings* findings) {
    const providerd::CReadSettings door = providerd::ReadSettings(KzmPaths::kProviderdConfig);
    const string& user = door.m_settings.m_frontEndUser;
    CConfigFile file = CConfigFile::Read(KzmPaths::kWbemdConfig);
    const wbemd::CSettings front = wbemd::CSettings::Read(&file);

    const CCheck doorCheck = Check(KzmPaths::kProviderdProgram);
    findings->push_back(LookAtConfiguration("providerd.conf", KzmPaths::kProviderdConfig,
                                            KzmPaths::kProviderdProgram, doorCheck,
                                            doorCheck.m_code == 0 ? Texts() : doorCheck.m_lines));
    const CCheck frontCheck = Check(KzmPaths::kWbemdProgram);
    Texts ofFile;
    Texts ofCertificate;
    for (const string& line : frontCheck.m_lines) {
        const bool isOfCertificate =
            line.find(output::Escape(front.m_certificate) + " ") != string::npos ||
            line.find(output::Escape(front.m_certificate) + ":") != string::npos ||
            line.find(output::Escape(front.m_key) + " ") != string::npos;
        if (isOfCertificate) {
            ofCertificate.push_back(line);
        } else if (frontCheck.m_code != 0) {
            ofFile.push_back(line);
        }
    }
    findings->push_back(LookAtConfiguration("wbemd.conf", KzmPaths::kWbemdConfig,
                                            KzmPaths::kWbemdProgram, frontCheck, ofFile));
    findings->push_back(LookAtUser(user));
    for (const string& group : door.m_settings.m_readingGroups) {
        findings->push_back(LookAtGroup(group, "read"));
    }
    for (const string& group : door.m_settings.m_changingGroups) {
        findings->push_back(LookAtGroup(group, "read and change"));
    }
    findings->push_back(LookAtCertificate(front, user, ofCertificate));
    findings->push_back(LookAtSocket());
    for (const wbemd::CListenAddress& address : front.m_listen) {
        findings->push_back(LookAtPort(address, user));
    }
}

} // namespace

CFindings LookAtServer() {
    const Texts programs{KzmPaths::kProviderdProgram, KzmPaths::kWbemdProgram};
    const CSubject subject("server", Joined(programs));
    const auto missing = std::find_if(programs.begin(), programs.end(), [](const string& program) {
        return access(program.c_str(), X_OK) != 0;
    });
    if (std::none_of(programs.begin(), programs.end(), IsThere)) {
        return {subject.NotLookedAt("The management server is not installed, and need not be.")};
    }
    if (missing != programs.end()) {
        return {subject.Missing(*missing + ": does not exist, or cannot be run. Install the "
                                           "management server again.",
                                InstallCommand(kPackage))};
    }
    CFindings findings{subject.Ok("The management server is installed.")};
    LookInside(&findings);
    return findings;
}

} // namespace doctor
