#include "loggerctl/doctor/HostChecks.h"

#include "KzmPaths.h"
#include "history/CFileReplacement.h"
#include "history/History.h"
#include "history/HistoryFolder.h"
#include "host/CProviderHost.h"
#include "loggerctl/agent/ConfigCheck.h"
#include "loggerctl/agent/Locks.h"
#include "loggerctl/doctor/Mending.h"
#include "loggerctl/output/SafeText.h"
#include "loggerctl/record/Rehearsal.h"
#include "settings/CLoggerFsUsageMonitorConf.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <list>
#include <memory>

namespace doctor {

namespace fs = std::filesystem;

namespace {

using history::CSettingsCopy;
using std::string;

string FolderOf(const string& path) {
    return fs::path(path).parent_path().string();
}

// A held lock is waited for; flock(1) ends when it is free.
CFinding Held(const CSubject& subject, const string& path, const string& holder) {
    return subject.Wrong(path + ": is held by " + holder +
                             ". Wait for what it does. If that hangs, end the process.",
                         "flock --timeout 60 " + Quoted(path) + " true");
}

// ---- The settings files ----

string FindProblem(std::size_t index) {
    const char* const path = CSettingsCopy::kPaths[index];
    if (index == 0) {
        return agent::FindAgentProblem(path);
    }
    const string problem = agent::FindMonitorProblem(path);
    return problem.empty() ? agent::FindFileSystemProblem(path) : problem;
}

// The newest copy with which the settings could be read; empty when there is none.
string FindGoodCopy() {
    if (!agent::DescribeHolder(KzmPaths::kHistoryFolder).empty()) {
        return "";
    }
    const auto entries = history::List();
    for (std::size_t i = 0; entries && i < entries->size(); ++i) {
        const string& id = entries->at(i).m_id;
        const auto copy = history::Load(id);
        if (copy && record::FindRefusal(*copy).empty()) {
            return id;
        }
    }
    return "";
}

CFinding LookAtMissingFile(const CSubject& subject, const string& path, const string& problem) {
    const string id = FindGoodCopy();
    return id.empty()
               ? subject.Missing(problem, EditCommand(path))
               : subject.Missing(problem + " A copy of it is kept.", "loggerctl restore " + id);
}

CFinding LookAtSettingsFile(std::size_t index) {
    const string path = CSettingsCopy::kPaths[index];
    const CSubject subject(CSettingsCopy::Name(index), path);
    const agent::CReason reading = agent::WhyNotRead(path);
    if (!IsThere(path)) {
        return LookAtMissingFile(subject, path, reading.m_text);
    }
    if (!reading.m_text.empty()) {
        return subject.Because(reading, IsFile(path) ? "" : MoveAsideCommand(path));
    }
    const string problem = FindProblem(index);
    if (!problem.empty()) {
        return subject.Wrong(problem, EditCommand(path, LineNamed(problem, path)));
    }
    if (geteuid() != 0) {
        return subject.Ok("It is valid. Whether root can write it was not looked at.");
    }
    const agent::CReason writing = agent::WhyNotWritten(path);
    if (!writing.m_text.empty()) {
        return subject.Wrong(writing.m_text, WritableCommand(path));
    }
    const auto replaced = history::CFileReplacement::Check(path);
    if (!replaced) {
        const string file = WritableCommand(path);
        return subject.Wrong(replaced.error().m_text + " No restore could put it back.",
                             file.empty() ? WritableCommand(FolderOf(path)) : file);
    }
    return subject.Ok("It is valid and can be written.");
}

// ---- The locks ----

CFinding LookAtSettingsLock() {
    const string path = KzmPaths::kLockFile;
    const string folder = FolderOf(path);
    const CSubject subject("settings-lock", path);
    const agent::CReason reason = agent::WhyNotLocked(path);
    if (!IsThere(folder)) {
        return subject.Missing(reason.m_text, "install -d -m 0700 " + Quoted(folder));
    }
    if (!reason.m_text.empty()) {
        return subject.Because(reason,
                               IsFolder(path) ? MoveAsideCommand(path) : WritableCommand(folder));
    }
    const string holder = agent::DescribeHolder(path);
    return holder.empty() ? subject.Ok("It is free.") : Held(subject, path, holder);
}

// For a folder that was refused.
string MendFolder(const string& folder) {
    return IsFolder(folder) ? TrustCommand(folder) : MoveAsideCommand(folder);
}

CFinding LookAtCallersLock() {
    const string path = KzmPaths::kCallerLock;
    const string folder = FolderOf(path);
    const CSubject subject("callers-lock", path);
    const auto opened = history::OpenSafeFolder(folder, history::Absent::Allow, 0755);
    if (!opened) {
        const output::CFailure failure = agent::ToFailure("", opened.error());
        return subject.Because({failure.m_reasons.front(), failure.m_code}, MendFolder(folder));
    }
    if (IsThere(path) && !IsFile(path)) {
        return subject.Wrong(path + ": is not a regular file. The lock file belongs there.",
                             MoveAsideCommand(path));
    }
    const string holder = agent::DescribeHolder(path);
    return holder.empty() ? subject.Ok("It is free.") : Held(subject, path, holder);
}

// ---- The history ----

CFinding LookAtHistory() {
    const string folder = KzmPaths::kHistoryFolder;
    const CSubject subject("history", folder);
    if (!IsThere(folder)) {
        return subject.Ok("There is none yet. It is made with the first change.");
    }
    const string holder = agent::DescribeHolder(folder);
    if (!holder.empty()) {
        return Held(subject, folder, holder);
    }
    const auto entries = history::List();
    const auto pending = history::PendingRestore();
    if (!entries || !pending) {
        const output::CFailure failure =
            agent::ToFailure("", entries ? pending.error() : entries.error());
        return subject.Because({failure.m_reasons.front(), failure.m_code}, MendFolder(folder));
    }
    if (*pending) {
        return subject.Wrong(folder + ": the restore of " + (*pending)->m_id +
                                 " did not come to its end. Take it up.",
                             "loggerctl restore");
    }
    return subject.Ok("Copies that are kept: " + std::to_string(entries->size()) + ".");
}

CFinding LookAtRoom() {
    const CSubject subject("room", FolderOf(KzmPaths::kHistoryFolder));
    const auto now = CSettingsCopy::OfNow(CSettingsCopy::Missing::Allow);
    if (!now) {
        return subject.NotLookedAt("The settings files, which need it, cannot be read.");
    }
    const agent::CReason settings = agent::WhyNoRoom(*now);
    const agent::CReason reason =
        settings.m_text.empty() ? agent::WhyNoRoomForCopy(*now) : settings;
    if (reason.m_text.empty()) {
        return subject.Ok("There is room for a change and for its copy in the history.");
    }
    const string place = reason.m_text.substr(0, reason.m_text.find(": "));
    return subject.Wrong(reason.m_text + " The command shows what takes it.",
                         "du -xh \"$(findmnt -n -o TARGET -T " + Quoted(place) +
                             ")\" | sort -h | tail");
}

// ---- What the provider runs and is ----

string InstallMount() {
    return InstallCommand("mount", "util-linux");
}

CFinding LookAtMountCommand() {
    const string command = KzmPaths::kMountCommand;
    const string program = command.substr(0, command.find(' '));
    const CSubject subject("mount-command", command);
    std::list<CLoggerFsThresholdConf> fileSystems;
    const bool isListed = CLoggerFsUsageMonitorConf().GetMountPointList(fileSystems);
    if (!IsThere(program)) {
        return subject.Missing(program + ": does not exist. Without it no file system is known to "
                                         "be mounted.",
                               InstallMount());
    }
    if (!isListed || fileSystems.empty()) {
        return subject.Wrong(program + ": cannot be run, prints no file system, or prints one "
                                       "without a mount point.",
                             InstallMount());
    }
    return subject.Ok("File systems that it lists: " + std::to_string(fileSystems.size()) + ".");
}

CFinding LookAtProvider(const agent::CProviderFiles& files) {
    const CSubject subject("provider", files.m_library);
    string error;
    if (CProviderHost::Open(files.m_library, files.m_definitions, &error) != nullptr) {
        return subject.Ok("The provider library and the class definitions can be loaded.");
    }
    const bool isThere = IsThere(files.m_library) && IsThere(files.m_definitions);
    const string text = output::Escape(error) + " Install the product again.";
    const string mend = InstallCommand("kzm-logger-provider");
    return isThere ? subject.Wrong(text, mend) : subject.Missing(text, mend);
}

} // namespace

CFindings LookAtHost(const agent::CProviderFiles& files) {
    CFindings findings;
    for (std::size_t i = 0; i < CSettingsCopy::kPaths.size(); ++i) {
        findings.push_back(LookAtSettingsFile(i));
    }
    findings.insert(findings.end(), {LookAtSettingsLock(), LookAtCallersLock(), LookAtHistory(),
                                     LookAtRoom(), LookAtMountCommand(), LookAtProvider(files)});
    return findings;
}

} // namespace doctor
