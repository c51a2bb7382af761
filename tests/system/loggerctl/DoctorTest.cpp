// "loggerctl doctor": each broken thing is named, and nothing else; the command that is printed
// mends it.

#include "KzmPaths.h"
#include "history/History.h"
#include "loggerctl/agent/CService.h"
#include "loggerctl/output/SafeText.h"
#include "providerbase/CDeviceDescription.h"
#include "tests/system/loggerctl/CGolden.h"
#include "tests/system/loggerctl/CHeldLock.h"
#include "tests/system/loggerctl/CPatient.h"
#include "tests/system/loggerctl/SampleHistory.h"
#include "tests/system/loggerctl/SetSupport.h"
#include "tests/system/loggerctl/UserTexts.h"
#include "tests/system/server/http/Certificates.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <thread>

namespace fs = std::filesystem;
using std::string;
using Names = std::vector<string>;

namespace {

constexpr uid_t kAnother = 65534;

string Device() {
    return agent::DescriptionFile();
}

string Vendor() {
    return CTestRoot::Path("/opt/veltaro/agent/vendor-command");
}

void Replace(const string& path, const string& from, const string& to) {
    string text = ReadFile(path);
    ASSERT_NE(text.find(from), string::npos) << path;
    WriteFile(path, text.replace(text.find(from), from.size(), to));
}

void GiveAway(const string& path) {
    ASSERT_EQ(chown(path.c_str(), kAnother, kAnother), 0);
}

void AddMode(const string& path, fs::perms mode) {
    fs::permissions(path, mode, fs::perm_options::add);
}

string FolderOf(const char* path) {
    return fs::path(path).parent_path().string();
}

// ---- A network of their own ----

// The system lists sockets by their paths alone, and tests beside these listen at the same path,
// each below a root of its own. Who may not have a network of his own has no such root either.
// Somebody else listens in it, too.
class COwnNetwork : public testing::Environment {
    void SetUp() override {
        if (unshare(CLONE_NEWNET) == 0) {
            BringUpLoopback();
        }
        m_other = std::make_unique<CListening>(CListening::AtPort(0));
    }
    void TearDown() override { m_other.reset(); }

    static void BringUpLoopback() {
        const int any = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        ifreq loopback{};
        std::strcpy(loopback.ifr_name, "lo");
        loopback.ifr_flags = IFF_UP | IFF_RUNNING;
        EXPECT_EQ(ioctl(any, SIOCSIFFLAGS, &loopback), 0);
        close(any);
    }

    std::unique_ptr<CListening> m_other;
};

testing::Environment* const ownNetwork = testing::AddGlobalTestEnvironment(new COwnNetwork);

// ---- One thing is broken ----

struct CRow {
    const char* m_name;
    void (*m_break)(CPatient* patient);
    const char* m_finding;
    const char* m_state;
    const char* m_says;  // a part of the text; ROOT stands for the root
    const char* m_mends; // the command's beginning
    bool m_needsRoot = false;
    bool m_hasServer = false;
    bool m_leadsToMore = false; // once it is mended, something else is wrong
};

std::ostream& operator<<(std::ostream& out, const CRow& row) {
    return out << row.m_name;
}

const CRow kDescriptionRows[] = {
    {"NoDescription", [](CPatient* patient) { patient->Root().RemoveDeviceDescription(); },
     "device-description", "missing", "Logger.conf: does not exist.", "install -D -m 0644 "},
    {"NoDeviceFolder",
     [](CPatient*) {
         fs::remove(Device());
         fs::remove(agent::DescriptionSample());
     },
     "device-description", "missing", "Logger.conf: does not exist.", "\"${EDITOR:-vi}\" "},
    {"DescriptionForTheGroup", [](CPatient*) { AddMode(Device(), fs::perms::group_write); },
     "device-description", "wrong", "can be written by others", "chmod go-w "},
    {"DescriptionOfAStranger", [](CPatient*) { GiveAway(Device()); }, "device-description", "wrong",
     "owned by neither root", "chown root ", true},
    {"DescriptionIsAFolder", [](CPatient*) { ReplaceWithFolder(Device()); }, "device-description",
     "wrong", "is not a regular file", "mv "},
    {"DescriptionWithAWrongLine",
     [](CPatient*) { WriteFile(Device(), ReadFile(Device()) + "TimeoutSeconds=soon\n"); },
     "device-description", "wrong", "Logger.conf line 4 has another time-out",
     "\"${EDITOR:-vi}\" +4 "},
    {"FolderOfDescriptionForAll",
     [](CPatient*) { AddMode(KzmPaths::kDeviceFolder, fs::perms::others_write); },
     "device-description", "wrong", "provider/device: can be written by others", "chmod go-w "},
    {"FolderFarAboveForAll",
     [](CPatient*) { AddMode(CTestRoot::Path("/opt/veltaro"), fs::perms::others_write); },
     "device-description", "wrong", "opt/veltaro: can be written by others", "chmod go-w "},
    {"AgentNotInstalled", [](CPatient* patient) { patient->Root().SetVendorAnswers(1, 0, 0); },
     "agent", "missing", "Logger.conf, line 1: CheckInstall says that the agent is not installed",
     "\"${EDITOR:-vi}\" +1 "},
    {"CheckInstallIsKilled",
     [](CPatient*) { Replace(Device(), Vendor(), "/bin/sh -c \"kill -9 $$\" "); }, "agent", "wrong",
     "did not come to its end (137)", "\"${EDITOR:-vi}\" +1 "},
    {"NoServiceStop", [](CPatient*) { Replace(Device(), "ServiceStop=", "ServiceStopp="); },
     "ServiceStop", "missing", "lacks a line ServiceStop= with the command that stops",
     "\"${EDITOR:-vi}\" "},
    {"ProgramIsNotThere",
     [](CPatient*) {
         Replace(Device(), "ServiceStart=" + Vendor(), "ServiceStart=/no/such/program");
     },
     "ServiceStart", "missing", "Logger.conf, line 3: The command ServiceStart cannot be run",
     "\"${EDITOR:-vi}\" +3 "},
    {"StatusProgramIsNotOnThePath",
     [](CPatient*) { WriteFile(Device(), ReadFile(Device()) + "ServiceStatus=nosuchprogram\n"); },
     "ServiceStatus", "missing", "is not on the fixed PATH", "\"${EDITOR:-vi}\" +4 "},
    {"ProgramCannotBeRun",
     [](CPatient*) {
         const string stop = CTestRoot::Path("/opt/veltaro/agent/stop it");
         WriteFile(stop, "#!/bin/sh\n");
         Replace(Device(), "ServiceStop=" + Vendor(), "ServiceStop=\"" + stop + "\"");
     },
     "ServiceStop", "wrong", "is no program that can be started", "chmod +x '"},
    {"ProgramIsAFolder",
     [](CPatient*) { Replace(Device(), "ServiceStop=" + Vendor(), "ServiceStop=/etc"); },
     "ServiceStop", "wrong", "is no program that can be started", "\"${EDITOR:-vi}\" +2 "},
    {"ProgramForAll",
     [](CPatient*) {
         const string stop = CTestRoot::Path("/opt/veltaro/agent/stop");
         WriteFile(stop, "#!/bin/sh\n");
         fs::permissions(stop, fs::perms(0777));
         Replace(Device(), "ServiceStop=" + Vendor(), "ServiceStop=" + stop);
     },
     "ServiceStop", "wrong", "agent/stop: can be written by others", "chmod go-w "},
    {"FolderOfProgramForAll",
     [](CPatient*) {
         const string folder = CTestRoot::Path("/opt/veltaro/agent/stop");
         fs::create_directory(folder);
         WriteFile(folder + "/stop", "#!/bin/sh\n");
         fs::permissions(folder + "/stop", fs::perms(0755));
         fs::permissions(folder, fs::perms(0777));
         Replace(Device(), "ServiceStop=" + Vendor(), "ServiceStop=" + folder + "/stop");
     },
     "ServiceStop", "wrong", "agent/stop: can be written by others", "chmod go-w "},
};

const CRow kHostRows[] = {
    {"NoAgentConfig", [](CPatient*) { fs::remove(KzmPaths::kAgentConfig); }, "agent.cfg", "missing",
     "agent.cfg: does not exist. Install the agent, or put the file back. A copy",
     "loggerctl restore 20260102-030405-001"},
    {"NoAlertConfigAndNoGoodCopy",
     [](CPatient*) {
         fs::remove(KzmPaths::kAlertConfig);
         WriteFile(SampleHistory::Path(string(SampleHistory::kOlder) + "/alert.cfg"), "CPU=\n");
     },
     "alert.cfg", "missing", "alert.cfg: does not exist.", "\"${EDITOR:-vi}\" ROOT"},
    {"AgentConfigIsAFolder", [](CPatient*) { ReplaceWithFolder(KzmPaths::kAgentConfig); },
     "agent.cfg", "wrong", "agent.cfg: is a directory", "mv "},
    {"WrongSwitch",
     [](CPatient*) { Replace(KzmPaths::kAgentConfig, "WarningAlert=True", "WarningAlert=yes"); },
     "agent.cfg", "wrong", "agent.cfg, line 6: WarningAlert has the value \"yes\"",
     "\"${EDITOR:-vi}\" +6 "},
    {"WrongMonitor", [](CPatient*) { Replace(KzmPaths::kAlertConfig, ", 5, 90", ""); }, "alert.cfg",
     "wrong", "alert.cfg, line 2: CPU has 2 values", "\"${EDITOR:-vi}\" +2 "},
    {"WrongFileSystem", [](CPatient*) { Replace(KzmPaths::kAlertConfig, "(75)", "(0)"); },
     "alert.cfg", "wrong", "alert.cfg, line 7: a file system needs", "\"${EDITOR:-vi}\" +7 "},
    {"NoLockFolder", [](CPatient*) { fs::remove_all(FolderOf(KzmPaths::kLockFile)); },
     "settings-lock", "missing", "tmp/Logger: does not exist", "install -d -m 0700 "},
    {"LockFileIsAFolder", [](CPatient*) { fs::create_directory(KzmPaths::kLockFile); },
     "settings-lock", "wrong", "lockfile: is a directory", "mv "},
    {"CallersLockIsALink",
     [](CPatient*) { fs::create_symlink("/etc/passwd", KzmPaths::kCallerLock); }, "callers-lock",
     "wrong", "caller.lock: is not a regular file", "mv "},
    {"FolderOfCallersLockForAll",
     [](CPatient*) { AddMode(FolderOf(KzmPaths::kCallerLock), fs::perms::others_write); },
     "callers-lock", "wrong", "logger: can be written by others", "chmod go-w "},
    {"HistoryForAll", [](CPatient*) { AddMode(KzmPaths::kHistoryFolder, fs::perms::others_write); },
     "history", "wrong", "history: can be written by others", "chmod go-w "},
    {"HistoryOfAStranger", [](CPatient*) { GiveAway(KzmPaths::kHistoryFolder); }, "history",
     "wrong", "history: is owned by neither root", "chown root ", true},
    {"HistoryIsAFile",
     [](CPatient*) {
         fs::remove_all(KzmPaths::kHistoryFolder);
         WriteFile(KzmPaths::kHistoryFolder, "");
     },
     "history", "wrong", "history: is not a folder", "mv "},
    {"RestoreThatDidNotEnd",
     [](CPatient*) {
         const auto now = history::CSettingsCopy::OfNow(history::CSettingsCopy::Missing::Refuse);
         ASSERT_TRUE(now && history::BeginRestore(SampleHistory::kOlder, *now, {}));
     },
     "history", "wrong", "the restore of 20260102-030405-001 did not come to its end",
     "loggerctl restore"},
    {"NoMountCommand", [](CPatient* patient) { patient->Root().RemoveMountCommand(); },
     "mount-command", "missing", "bin/mount: does not exist", "apt-get install --reinstall mount"},
    {"MountCommandSaysNothing", [](CPatient* patient) { patient->Root().SetMountOutput(""); },
     "mount-command", "wrong", "prints no file system", "apt-get install --reinstall mount"},
    {"MountPointIsEmpty",
     [](CPatient* patient) { patient->Root().SetMountOutput("x on  type ext4 (rw)\n"); },
     "mount-command", "wrong", "without a mount point", "apt-get install --reinstall mount"},
    {"NoProvider", [](CPatient*) { fs::remove(KzmPaths::kProviderLibrary); }, "provider", "missing",
     "libkzmp_VELTARO_ToolServiceLogger.so", "apt-get install --reinstall kzm-logger-provider"},
    {"ProviderIsNoLibrary",
     [](CPatient*) {
         fs::remove(KzmPaths::kProviderLibrary);
         WriteFile(KzmPaths::kProviderLibrary, "");
     },
     "provider", "wrong", "libkzmp_VELTARO_ToolServiceLogger.so",
     "apt-get install --reinstall kzm-logger-provider"},
};

void ForgetFrontEndUser(CPatient* /*patient*/) {
    CPatient::Forget("kzmwbem", "passwd");
    CPatient::Forget("kzmwbem", "group");
}

const CRow kServerRows[] = {
    {"HalfAServer", [](CPatient*) { fs::remove(KzmPaths::kWbemdProgram); }, "server", "missing",
     "kzmwbemd: does not exist", "apt-get install --reinstall kzm-wbemd", false, true},
    {"ServerCannotLookAtItself",
     [](CPatient*) {
         fs::remove(KzmPaths::kProviderdProgram);
         WriteFile(KzmPaths::kProviderdProgram, "#!/bin/sh\necho broken >&2\nexit 127\n");
         AddMode(KzmPaths::kProviderdProgram, fs::perms(0755));
     },
     "providerd.conf", "wrong", "kzm-providerd: cannot look at its configuration. broken",
     "apt-get install --reinstall kzm-wbemd", false, true},
    {"WrongDoor",
     [](CPatient*) {
         WriteFile(KzmPaths::kProviderdConfig,
                   ReadFile(KzmPaths::kProviderdConfig) + "WaitingCalls=many\n");
     },
     "providerd.conf", "wrong", "providerd.conf, line 2: WaitingCalls: \"many\" is no number",
     "\"${EDITOR:-vi}\" +2 ", false, true},
    {"WrongFront",
     [](CPatient*) {
         WriteFile(KzmPaths::kWbemdConfig, ReadFile(KzmPaths::kWbemdConfig) + "Nonsense=1\n");
     },
     "wbemd.conf", "wrong", "wbemd.conf, line 2: Nonsense is unknown", "\"${EDITOR:-vi}\" +2 ",
     false, true},
    {"NoFrontEndUser", ForgetFrontEndUser, "server-user", "missing", "user kzmwbem does not exist",
     "systemd-sysusers kzm-wbemd.conf", false, true},
    {"NoOtherFrontEndUser",
     [](CPatient*) { WriteFile(KzmPaths::kProviderdConfig, "FrontEndUser=kzm-front\n"); },
     "server-user", "missing", "user kzm-front does not exist",
     "useradd --system --user-group kzm-front", true, true, true},
    {"NoReaders", [](CPatient*) { CPatient::Forget("kzm-readers", "group"); }, "server-group",
     "missing", "the members of the group kzm-readers may read the settings",
     "systemd-sysusers kzm-wbemd.conf", false, true},
    {"NoChangers", [](CPatient*) { CPatient::Forget("kzm-changers", "group"); }, "server-group",
     "missing", "the members of the group kzm-changers may read and change the settings",
     "groupadd --system kzm-changers", false, true},
    {"NoGroup",
     [](CPatient*) {
         WriteFile(KzmPaths::kProviderdConfig, "ReadingGroups=kzm-readers, kzm-nobody\n");
     },
     "server-group", "missing", "the members of the group kzm-nobody may read the settings",
     "groupadd --system kzm-nobody", false, true},
    {"NoCertificate", [](CPatient*) { fs::remove(KzmPaths::kWbemdCertificate); },
     "server-certificate", "missing", "wbemd-cert.pem: does not exist", "openssl req ", true, true},
    {"NoKey", [](CPatient*) { fs::remove(KzmPaths::kWbemdKey); }, "server-certificate", "missing",
     "wbemd-key.pem: does not exist", "openssl req ", true, true},
    {"KeyOfAnother",
     [](CPatient*) { WriteFile(KzmPaths::kWbemdKey, MakeCertificate("other").m_key); },
     "server-certificate", "wrong", "wbemd-key.pem holds no key of the certificate", "openssl req ",
     true, true},
    {"Expired", [](CPatient*) { InstallCertificate(MakeCertificate("localhost", -7200, -3600)); },
     "server-certificate", "wrong", "the certificate has expired", "openssl req ", true, true},
    {"ExpiresSoon",
     [](CPatient*) { InstallCertificate(MakeCertificate("localhost", -60, 13 * kDay)); },
     "server-certificate", "wrong", "the certificate expires on 20", "openssl req ", true, true},
    {"KeyIsForRootAlone", [](CPatient*) { fs::permissions(KzmPaths::kWbemdKey, fs::perms(0600)); },
     "server-certificate", "wrong", "wbemd-key.pem: cannot be read by the front end's user kzmwbem",
     "chown root:kzmwbem ", true, true},
    {"KeyIsForAll", [](CPatient*) { fs::permissions(KzmPaths::kWbemdKey, fs::perms(0644)); },
     "server-certificate", "wrong", "wbemd-key.pem: can be read by everybody",
     "chown root:kzmwbem ", true, true},
    {"CertificateIsForRootAlone",
     [](CPatient*) { fs::permissions(KzmPaths::kWbemdCertificate, fs::perms(0600)); },
     "server-certificate", "wrong", "wbemd-cert.pem: cannot be read by the front end's user",
     "chmod 0644 ", true, true},
    {"NobodyAtTheSocket", [](CPatient* patient) { patient->StopListening("kzm-providerd.socket"); },
     "providerd-socket", "missing", "providerd.sock: nobody listens there",
     "systemctl enable --now kzm-providerd.socket", false, true},
    {"NobodyAtThePort", [](CPatient* patient) { patient->StopListening("kzmwbemd.socket"); },
     "wbemd-port", "missing", "nobody listens there, so that no client can connect",
     "systemctl enable --now kzmwbemd.socket", false, true},
};

class Broken : public testing::TestWithParam<CRow> {};

TEST_P(Broken, IsNamedAndMended) {
    const CRow& row = GetParam();
    if (row.m_needsRoot && geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    CPatient patient;
    if (row.m_hasServer) {
        patient.InstallServer();
    }
    ASSERT_EQ(patient.Ask().ToMend(), Names());
    patient.KeepAsGood();
    row.m_break(&patient);

    const auto before = Tree();
    const CPatient::CAnswer answer = patient.Ask();
    EXPECT_EQ(Tree(), before);
    EXPECT_EQ(answer.m_code, 4);
    EXPECT_EQ(answer.m_document.at("healthy"), false);
    ASSERT_EQ(answer.ToMend(), Names{row.m_finding}) << answer.m_document.dump(1);
    nlohmann::json finding;
    for (const nlohmann::json& one : answer.m_document.at("findings")) {
        finding = one.at("state") == row.m_state ? one : finding;
    }
    ASSERT_EQ(finding.at("name"), row.m_finding);
    const string text = finding.at("text");
    EXPECT_NE(text.find(row.m_says), string::npos) << text;
    ASSERT_TRUE(finding.at("mend").is_string()) << finding.dump(1);
    const string mend = finding.at("mend");
    string begin = row.m_mends;
    begin = std::regex_replace(begin, std::regex("ROOT"), CTestRoot::Path(""));
    EXPECT_EQ(mend.substr(0, begin.size()), begin);

    const CProgram::Result mended = patient.RunInShell(mend);
    EXPECT_EQ(mended.m_iExitCode, 0) << mended.m_sOutput << mended.m_sError;
    CPatient::CAnswer after = patient.Ask();
    // What was in the way is away; what belongs there comes with the next command.
    const bool leadsToMore = row.m_leadsToMore || mend.rfind("mv ", 0) == 0;
    for (const string& name : after.ToMend()) {
        ASSERT_TRUE(leadsToMore) << after.m_document.dump(1);
        ASSERT_TRUE(after.Finding(name).at("mend").is_string());
        EXPECT_EQ(patient.RunInShell(after.Finding(name).at("mend")).m_iExitCode, 0);
        after = patient.Ask();
    }
    EXPECT_EQ(after.m_code, 0) << after.m_document.dump(1);
    EXPECT_EQ(after.m_document.at("healthy"), true);
    EXPECT_EQ(patient.Run({"get"}).m_iExitCode, 0);
}

string NameOf(const testing::TestParamInfo<CRow>& info) {
    return info.param.m_name;
}

INSTANTIATE_TEST_SUITE_P(Description, Broken, testing::ValuesIn(kDescriptionRows), NameOf);
INSTANTIATE_TEST_SUITE_P(Host, Broken, testing::ValuesIn(kHostRows), NameOf);
INSTANTIATE_TEST_SUITE_P(Server, Broken, testing::ValuesIn(kServerRows), NameOf);

// ---- Locks that are held ----

struct CLockRow {
    const char* m_finding;
    const char* m_path;
    int m_flags;
};

const CLockRow kLockRows[] = {
    {"settings-lock", KzmPaths::kLockFile, O_WRONLY | O_CREAT},
    {"callers-lock", KzmPaths::kCallerLock, O_WRONLY | O_CREAT},
    {"history", KzmPaths::kHistoryFolder, O_RDONLY | O_DIRECTORY},
};

TEST(DoctorAndLocks, SayWhoHoldsThemAndWaitForThem) {
    for (const CLockRow& row : kLockRows) {
        SCOPED_TRACE(row.m_finding);
        CPatient patient;
        const int file = open(row.m_path, row.m_flags | O_CLOEXEC, 0600);
        ASSERT_EQ(flock(file, LOCK_EX | LOCK_NB), 0);
        const CPatient::CAnswer answer = patient.Ask();
        ASSERT_EQ(answer.ToMend(), Names{row.m_finding});
        const nlohmann::json finding = answer.Finding(row.m_finding);
        EXPECT_TRUE(std::regex_search(
            finding.at("text").get<string>(),
            std::regex("is held by process " + std::to_string(getpid()) +
                       " \\([^)]*\\), which runs since 20[0-9-]+ [0-9:]+\\. Wait")))
            << finding.dump();
        std::thread release([file] { flock(file, LOCK_UN); });
        EXPECT_EQ(patient.RunInShell(finding.at("mend")).m_iExitCode, 0);
        release.join();
        EXPECT_EQ(patient.Ask().m_code, 0);
        close(file);
    }
}

const std::time_t begin = std::time(nullptr); // of this program

// A process of this program did not begin before it.
TEST(DoctorAndLocks, SayWhenTheHolderBegan) {
    const CPatient patient;
    const CHeldLock lock;
    const string text = patient.Ask().Finding("settings-lock").at("text");
    std::smatch match;
    ASSERT_TRUE(std::regex_search(text, match, std::regex("since ([0-9-]+ [0-9:]+)")));
    std::tm parts{};
    strptime(match.str(1).c_str(), "%Y-%m-%d %H:%M:%S", &parts);
    parts.tm_isdst = -1;
    EXPECT_LE(mktime(&parts), std::time(nullptr));
    EXPECT_GE(mktime(&parts), begin - 60) << text;
}

// ---- File systems ----

// A small file system at the folder, which keeps its files.
class CMounted {
public:
    CMounted(const string& folder, const char* options) : m_folder(folder) {
        const string kept = CPatient::Tools("kept");
        fs::copy(folder, kept, fs::copy_options::recursive);
        m_done = mount("none", folder.c_str(), "tmpfs", 0, options) == 0;
        if (m_done) {
            fs::copy(kept, folder,
                     fs::copy_options::recursive | fs::copy_options::overwrite_existing);
        }
    }
    ~CMounted() {
        if (m_done) {
            umount2(m_folder.c_str(), MNT_DETACH);
        }
    }
    CMounted(const CMounted&) = delete;
    CMounted& operator=(const CMounted&) = delete;

    [[nodiscard]] bool IsDone() const { return m_done; }
    void Change(unsigned long flags, const char* options) const {
        EXPECT_EQ(mount("none", m_folder.c_str(), nullptr, MS_REMOUNT | flags, options), 0);
    }

private:
    const string m_folder;
    bool m_done = false;
};

TEST(DoctorAndFileSystems, MakesWhatIsReadOnlyWritable) {
    CPatient patient;
    const CMounted mounted(FolderOf(KzmPaths::kAgentConfig), "mode=0755");
    if (!mounted.IsDone()) {
        GTEST_SKIP() << "this user cannot mount a file system";
    }
    EXPECT_EQ(patient.Ask().m_code, 0);
    mounted.Change(MS_RDONLY, "");
    const CPatient::CAnswer answer = patient.Ask();
    EXPECT_EQ(answer.ToMend(), (Names{"agent.cfg", "alert.cfg"}));
    const nlohmann::json finding = answer.Finding("alert.cfg");
    EXPECT_NE(finding.at("text").get<string>().find("alert.cfg: cannot be written (Read-only"),
              string::npos);
    EXPECT_EQ(patient.RunInShell(finding.at("mend")).m_iExitCode, 0);
    EXPECT_EQ(patient.Ask().m_code, 0);
}

TEST(DoctorAndFileSystems, SaysWhereThereIsNoRoom) {
    CPatient patient;
    const CMounted mounted(FolderOf(KzmPaths::kCallerLock), "mode=0755,size=64k");
    if (!mounted.IsDone()) {
        GTEST_SKIP() << "this user cannot mount a file system";
    }
    EXPECT_EQ(patient.Ask().m_code, 0);
    const string large = FolderOf(KzmPaths::kCallerLock) + "/large";
    std::ofstream(large) << string(64 * 1024, 'x');
    const CPatient::CAnswer answer = patient.Ask();
    ASSERT_EQ(answer.ToMend(), Names{"room"});
    const nlohmann::json finding = answer.Finding("room");
    EXPECT_NE(finding.at("text").get<string>().find("history: its file system has 0 bytes free"),
              string::npos)
        << finding;
    const CProgram::Result shown = patient.RunInShell(finding.at("mend"));
    EXPECT_EQ(shown.m_iExitCode, 0);
    EXPECT_NE(shown.m_sOutput.find(FolderOf(KzmPaths::kCallerLock)), string::npos);
    fs::remove(large); // which it leaves to the administrator
    EXPECT_EQ(patient.Ask().m_code, 0);
}

TEST(DoctorAndFileSystems, SaysWhatNoRestoreCouldReplace) {
    CPatient patient;
    const string file = KzmPaths::kAgentConfig;
    if (mount(file.c_str(), file.c_str(), nullptr, MS_BIND, nullptr) != 0) {
        GTEST_SKIP() << "this user cannot mount a file";
    }
    const CPatient::CAnswer answer = patient.Ask();
    EXPECT_EQ(umount2(file.c_str(), MNT_DETACH), 0);
    EXPECT_EQ(answer.ToMend(), Names{"agent.cfg"});
    EXPECT_NE(answer.Finding("agent.cfg").at("text").get<string>().find("No restore could put"),
              string::npos);
    EXPECT_TRUE(answer.Finding("agent.cfg").at("mend").is_null());
    EXPECT_EQ(patient.Ask().m_code, 0);
}

// ---- Whoever asks ----

class CNewcomer : public testing::Test {
protected:
    // Runs the commands from the top, as the doctor says, until it is content.
    void Follow() {
        for (int round = 1; round <= 3; ++round) {
            const CPatient::CAnswer answer = m_patient.Ask();
            m_rounds = round;
            if (answer.m_code == 0) {
                return;
            }
            for (const nlohmann::json& finding : answer.m_document.at("findings")) {
                if (!finding.at("mend").is_null()) {
                    m_patient.RunInShell(finding.at("mend")); // one may need another before
                }
            }
        }
        ADD_FAILURE() << "the doctor is not content";
    }

    CPatient m_patient;
    int m_rounds = 0;
};

TEST_F(CNewcomer, GetsTheSettingsAfterOneCommand) {
    m_patient.Root().RemoveDeviceDescription();
    fs::remove_all(KzmPaths::kHistoryFolder);
    EXPECT_NE(m_patient.Run({"get"}).m_iExitCode, 0);
    Follow();
    EXPECT_EQ(m_rounds, 2);
    EXPECT_EQ(m_patient.Run({"get", "cpu.threshold"}).m_sOutput, "90\n");
    EXPECT_NE(m_patient.Ask()
                  .Finding("device-description")
                  .at("text")
                  .get<string>()
                  .find("the sample as it was installed"),
              string::npos);
}

TEST_F(CNewcomer, MendsAHostOnWhichMuchIsBroken) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    m_patient.InstallServer();
    m_patient.KeepAsGood();
    m_patient.Root().RemoveDeviceDescription();
    m_patient.Root().RemoveMountCommand();
    fs::remove(KzmPaths::kAgentConfig);
    fs::remove_all(FolderOf(KzmPaths::kLockFile));
    fs::remove(KzmPaths::kWbemdCertificate);
    fs::remove(KzmPaths::kWbemdKey);
    ForgetFrontEndUser(&m_patient);
    m_patient.StopListening("kzm-providerd.socket");
    m_patient.StopListening("kzmwbemd.socket");
    EXPECT_EQ(m_patient.Ask().ToMend().size(), 8U);
    Follow();
    EXPECT_EQ(m_patient.Run({"get"}).m_iExitCode, 0);
}

TEST(Doctor, SaysWhatAnOrdinaryUserMayNotSee) {
    if (geteuid() != 0 || access("/usr/bin/setpriv", X_OK) != 0) {
        GTEST_SKIP() << "this user cannot become another one";
    }
    CPatient patient;
    patient.InstallServer();
    const CProgram::Words ordinary{"/usr/bin/setpriv", "--reuid=65534", "--regid=65534",
                                   "--clear-groups"};
    CProgram probe({"-x", LOGGERCTL_PROGRAM});
    probe.RunInstead("/usr/bin/test");
    probe.SetWrapper(ordinary);
    if (probe.Run().m_iExitCode != 0) {
        GTEST_SKIP() << "another user cannot run the program of this build";
    }
    fs::remove(Vendor()); // its record is this user's
    WriteFile(Device(), "CheckInstall=/bin/true\nServiceStop=/bin/true\nServiceStart=/bin/true\n");
    const CPatient::CAnswer answer = patient.Ask(ordinary);
    EXPECT_EQ(answer.m_code, 8);
    EXPECT_EQ(answer.m_document.at("healthy"), false);
    EXPECT_EQ(answer.ToMend(), Names()) << answer.m_document.dump(1);
    EXPECT_EQ(answer.NotLookedAt(), (Names{"settings-lock", "history", "server-certificate"}));
    EXPECT_NE(answer.Finding("agent.cfg").at("text").get<string>().find("not looked at"),
              string::npos);
    WriteFile(Device(),
              "CheckInstall=/bin/true\nServiceStop=/no/program\nServiceStart=/bin/true\n");
    EXPECT_EQ(patient.Ask(ordinary).m_code, 4);
    WriteFile(KzmPaths::kProviderdConfig, "");
    fs::permissions(Device(), fs::perms(0600));
    fs::permissions(KzmPaths::kProviderdConfig, fs::perms(0600));
    EXPECT_EQ(patient.Ask(ordinary).NotLookedAt(),
              (Names{"agent", "device-description", "settings-lock", "history", "providerd.conf",
                     "server-certificate"}));
}

// ---- How it speaks ----

TEST(Doctor, MakesNothingAndRunsCheckInstallAlone) {
    const CPatient patient;
    fs::remove_all(KzmPaths::kHistoryFolder);
    const auto before = Tree();
    EXPECT_EQ(patient.Ask().m_code, 0);
    EXPECT_EQ(Tree(), before);
    EXPECT_FALSE(fs::exists(KzmPaths::kLockFile));
    EXPECT_FALSE(fs::exists(KzmPaths::kCallerLock));
    EXPECT_EQ(patient.Root().VendorCalls(), Names{"CheckInstall"});
}

TEST(Doctor, NamesAllThatThePageNames) {
    CPatient patient;
    patient.InstallServer();
    const string page = std::regex_replace(ReadFile(MAN_PAGE), std::regex("\\\\-|\n"), " ");
    const string list = page.substr(page.find("in the order of the findings:"));
    const CPatient::CAnswer answer = patient.Ask();
    std::size_t at = 0;
    for (const nlohmann::json& finding : answer.m_document.at("findings")) {
        const string name =
            std::regex_replace(finding.at("name").get<string>(), std::regex("-"), " ");
        at = list.find(name, finding.at("name") == "server-group" ? 0 : at);
        EXPECT_NE(at, string::npos) << name;
    }
}

TEST(Doctor, FitsATerminal) {
    const CPatient patient;
    fs::remove(KzmPaths::kAgentConfig);
    const CProgram::Result result = patient.Tool({"doctor"}).RunOnTerminal();
    EXPECT_EQ(result.m_iExitCode, 4);
    const string plain = std::regex_replace(result.m_sOutput, std::regex("\r|\x1B\\[[0-9]*m"), "");
    EXPECT_NE(result.m_sOutput.find("\x1B[32mok\x1B[0m             agent: CheckInstall says"),
              string::npos)
        << result.m_sOutput;
    EXPECT_NE(result.m_sOutput.find("\x1B[31mmissing\x1B[0m        agent.cfg:"), string::npos);
    EXPECT_NE(result.m_sOutput.find("\x1B[33mnot looked at\x1B[0m  server: "), string::npos);
    EXPECT_NE(plain.find("\n    loggerctl restore 20260102-030405-001\n"), string::npos);
    EXPECT_NE(plain.find("\n1 thing needs mending. Run the commands from the top, then \"loggerctl "
                         "doctor\"\nagain.\n"),
              string::npos)
        << plain;
    for (const string& line : UserTexts::Lines(plain)) {
        const bool isOneWord = line.find_first_of(' ', 15) == string::npos;
        EXPECT_TRUE(output::Width(line) <= 80 || isOneWord) << line;
    }
}

TEST(Doctor, ShowsHelp) {
    CGolden::Expect("help-doctor", CProgram({"doctor", "--help"}).Run());
}

TEST(Doctor, IsContent) {
    const CPatient patient;
    const CProgram::Result result = patient.Run({"doctor"});
    EXPECT_EQ(result.m_iExitCode, 0);
    EXPECT_EQ(result.m_sError, "");
    EXPECT_NE(result.m_sOutput.find("\n\nAll is well.\n"), string::npos) << result.m_sOutput;
    EXPECT_EQ(result.m_sOutput.find('\x1B'), string::npos);
    EXPECT_EQ(patient.Run({"--quiet", "doctor"}).m_sOutput, "");
}

TEST(Doctor, ShowsNothingThatSteersATerminal) {
    CPatient patient;
    patient.InstallServer();
    WriteFile(KzmPaths::kProviderdConfig, "ReadingGroups=kzm-\xC2\x9B\n");
    Replace(Device(), "ServiceStop=" + Vendor(), "ServiceStop=/no/\xC2\x9B");
    const CPatient::CAnswer answer = patient.Ask();
    EXPECT_EQ(answer.Finding("ServiceStop").at("looked_at").get<string>().substr(0, 12),
              "/no/\\xC2\\x9B");
    EXPECT_TRUE(answer.Finding("server-group").at("mend").is_null());
    EXPECT_EQ(patient.Run({"doctor"}).m_sOutput.find('\x9B'), string::npos);
}

// ---- The sample ----

TEST(SampleDescription, IsReadByThePlatform) {
    const CPatient patient;
    const auto description = CDeviceDescription::Read(agent::DescriptionSample());
    ASSERT_TRUE(description);
    Names names;
    for (const auto& [name, words] : description->m_commands) {
        names.push_back(name);
        EXPECT_EQ(words.front().front(), '/') << name;
    }
    EXPECT_EQ(names, (Names{"CheckInstall", "ServiceStart", "ServiceStatus", "ServiceStop"}));
    EXPECT_EQ(description->m_timeout, CDeviceDescription().m_timeout);
}

TEST(SampleDescription, ExplainsEachLine) {
    string before;
    for (const string& line : UserTexts::Lines(ReadFile(SAMPLE_DESCRIPTION))) {
        if (!line.empty() && line.front() != '#') {
            EXPECT_EQ(before.substr(0, 2), "# ") << line;
        }
        before = line;
    }
}

} // namespace
