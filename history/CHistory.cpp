#include "history/CHistory.h"

#include "history/CHistoryFolder.h"
#include "history/CHistoryId.h"
#include "loggerctl/agent/CFileProblem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

namespace {

using Names = std::vector<std::string>;
using Links = CDurableFile::Links;

constexpr char kReasonFile[] = "reason";
constexpr char kRestoreFile[] = ".restoring";
constexpr char kBeingMade[] = ".new-"; // before an ID
constexpr char kBeingRemoved[] = ".old-";
constexpr mode_t kEntryMode = 0700;

std::string PathOf(const std::string& name) {
    return std::string(KzmPaths::kHistoryFolder) + "/" + name;
}

Names EntryFiles() {
    Names files{kReasonFile};
    for (std::size_t i = 0; i < CSettingsCopy::kPaths.size(); ++i) {
        files.push_back(CSettingsCopy::Name(i));
    }
    return files;
}

// ---- Reading ----

bool IsComplete(const CHistoryFolder& folder, const std::string& id) {
    const CDescriptor entry = folder.OpenEntry(id);
    for (const std::string& file : EntryFiles()) {
        struct stat status {};
        if (!entry.IsOpen() ||
            fstatat(entry.Get(), file.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
            !S_ISREG(status.st_mode)) {
            return false;
        }
    }
    return true;
}

// In ascending order.
Names CompleteIds(const CHistoryFolder& folder) {
    Names ids;
    for (const std::string& name : folder.Names()) {
        if (CHistoryId::IsId(name) && IsComplete(folder, name)) {
            ids.push_back(name);
        }
    }
    return ids;
}

// The first line of a small file; empty when it cannot be read.
std::string ReadLine(int folder, const std::string& name) {
    CFileImage image;
    CDurableFile::Read(folder, name, Links::Refuse, &image);
    return image.m_sText.substr(0, image.m_sText.find('\n'));
}

// ---- Writing ----

CFileImage OwnFile(std::string line) {
    std::replace(line.begin(), line.end(), '\n', ' ');
    CFileImage image;
    image.m_sText = line + '\n';
    image.m_owner = geteuid();
    image.m_group = getegid();
    image.m_mode = 0600;
    image.m_modified.tv_nsec = UTIME_NOW;
    return image;
}

// Returns 0 or an error number, like those below.
int FillEntry(int entry, const CSettingsCopy& copy, const std::string& reason) {
    int error = CDurableFile::Create(entry, kReasonFile, OwnFile(reason));
    for (std::size_t i = 0; i < copy.m_files.size() && error == 0; ++i) {
        error = CDurableFile::Create(entry, CSettingsCopy::Name(i), copy.m_files[i]);
    }
    return error == 0 ? CDurableFile::SyncFolder(entry) : error;
}

int MakeEntry(const CHistoryFolder& folder, const std::string& id, const CSettingsCopy& copy,
              const std::string& reason) {
    const std::string temporary = kBeingMade + id;
    if (mkdirat(folder.Get(), temporary.c_str(), kEntryMode) != 0) {
        return errno;
    }
    const CDescriptor entry = folder.OpenEntry(temporary);
    int error = entry.IsOpen() ? FillEntry(entry.Get(), copy, reason) : errno;
    if (error == 0 && renameat(folder.Get(), temporary.c_str(), folder.Get(), id.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        folder.RemoveEntry(temporary, EntryFiles());
        return error;
    }
    return CDurableFile::SyncFolder(folder.Get());
}

void RemoveRemains(const CHistoryFolder& folder) {
    for (const std::string& name : folder.Names()) {
        for (const std::string prefix : {kBeingMade, kBeingRemoved}) {
            if (name.rfind(prefix, 0) == 0 && CHistoryId::IsId(name.substr(prefix.size()))) {
                folder.RemoveEntry(name, EntryFiles());
            }
        }
    }
}

// An entry that is removed leaves the list in one step.
void RemoveOldest(const CHistoryFolder& folder, const std::string& spared) {
    Names ids = CompleteIds(folder);
    for (std::size_t i = 0; i + CHistory::kKept < ids.size(); ++i) {
        const std::string removed = kBeingRemoved + ids[i];
        if (ids[i] != spared &&
            renameat(folder.Get(), ids[i].c_str(), folder.Get(), removed.c_str()) == 0) {
            folder.RemoveEntry(removed, EntryFiles());
        }
    }
}

std::string NewestId(const CHistoryFolder& folder) {
    std::string newest;
    for (const std::string& name : folder.Names()) {
        newest = CHistoryId::IsId(name) ? std::max(newest, name) : newest;
    }
    return newest;
}

std::optional<std::string> SaveCopy(const CHistoryFolder& folder, const CSettingsCopy& copy,
                                    const std::string& reason, const std::string& spared,
                                    std::string* error) {
    RemoveRemains(folder);
    std::string id = CHistoryId::Next(std::time(nullptr), NewestId(folder));
    const int number = MakeEntry(folder, id, copy, reason);
    if (number != 0) {
        *error = CFileProblem::Refused(PathOf(id), "made", number);
        return std::nullopt;
    }
    RemoveOldest(folder, spared);
    return id;
}

void RemoveRestoreFile(const CHistoryFolder& folder) {
    if (unlinkat(folder.Get(), kRestoreFile, 0) == 0) {
        CDurableFile::SyncFolder(folder.Get());
    }
}

} // namespace

std::optional<std::string> CHistory::Save(const std::string& reason, std::string* error) {
    const std::optional<CSettingsCopy> now =
        CSettingsCopy::OfNow(CSettingsCopy::Missing::Refuse, error);
    if (!now) {
        return std::nullopt;
    }
    const auto folder = CHistoryFolder::Open(CHistoryFolder::Absent::Make, error);
    if (!folder) {
        return std::nullopt;
    }
    std::optional<std::string> id = SaveCopy(*folder, *now, reason, "", error);
    if (id) {
        RemoveRestoreFile(*folder);
    }
    return id;
}

std::optional<std::string> CHistory::SaveBeforeRestore(const CSettingsCopy& now,
                                                       const std::string& restoredId,
                                                       std::string* error) {
    const auto folder = CHistoryFolder::Open(CHistoryFolder::Absent::Make, error);
    if (!folder) {
        return std::nullopt;
    }
    std::string reason = "before restore of " + restoredId;
    for (const std::string& name : now.MissingNames()) {
        reason += ", " + name + " was missing";
    }
    return SaveCopy(*folder, now, reason, restoredId, error);
}

std::optional<std::vector<CHistoryEntry>> CHistory::List(std::string* error) {
    const auto folder = CHistoryFolder::Open(CHistoryFolder::Absent::Allow, error);
    if (!folder) {
        return std::nullopt;
    }
    std::vector<CHistoryEntry> entries;
    for (const std::string& id : CompleteIds(*folder)) {
        entries.push_back(
            {id, CHistoryId::TimeOf(id), ReadLine(folder->OpenEntry(id).Get(), kReasonFile)});
    }
    std::reverse(entries.begin(), entries.end());
    return entries;
}

std::optional<CSettingsCopy> CHistory::Load(const std::string& id, std::string* error) {
    const auto folder = CHistoryFolder::Open(CHistoryFolder::Absent::Allow, error);
    if (!folder) {
        return std::nullopt;
    }
    const CDescriptor entry = folder->OpenEntry(id);
    CSettingsCopy copy;
    for (std::size_t i = 0; i < copy.m_files.size(); ++i) {
        const std::string name = CSettingsCopy::Name(i);
        const int number = CDurableFile::Read(entry.Get(), name, Links::Refuse, &copy.m_files[i]);
        if (number != 0) {
            *error = CFileProblem::Refused(PathOf(id).append("/").append(name), "read", number);
            return std::nullopt;
        }
    }
    return copy;
}

bool CHistory::RememberRestore(const std::string& id, std::string* error) {
    const auto folder = CHistoryFolder::Open(CHistoryFolder::Absent::Make, error);
    if (!folder) {
        return false;
    }
    int number = CDurableFile::Create(folder->Get(), kRestoreFile, OwnFile(id));
    number = number == 0 ? CDurableFile::SyncFolder(folder->Get()) : number;
    if (number != 0) {
        *error = CFileProblem::Refused(PathOf(kRestoreFile), "written", number);
    }
    return number == 0;
}

void CHistory::ForgetRestore() {
    std::string ignored;
    const auto folder = CHistoryFolder::Open(CHistoryFolder::Absent::Allow, &ignored);
    if (folder && folder->Exists()) {
        RemoveRestoreFile(*folder);
    }
}

std::string CHistory::UnfinishedRestore() {
    std::string ignored;
    const auto folder = CHistoryFolder::Open(CHistoryFolder::Absent::Allow, &ignored);
    if (!folder || !folder->Exists()) {
        return "";
    }
    std::string id = ReadLine(folder->Get(), kRestoreFile);
    return CHistoryId::IsId(id) && IsComplete(*folder, id) ? id : "";
}
