#include "history/History.h"

#include "history/HistoryFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <sstream>
#include <utility>

namespace history {

namespace {

using Names = std::vector<std::string>;

constexpr char kRestoreFile[] = ".restoring";
constexpr char kNewRestoreFile[] = ".new-restoring";

// The lines behind the reason are "key=value".
constexpr std::array<std::pair<const char*, std::string COrigin::*>, 3> kOriginKeys{
    {{"user", &COrigin::m_user}, {"sudo", &COrigin::m_sudoUser}, {"from", &COrigin::m_from}}};
constexpr char kMissingKey[] = "missing";

std::string PathOf(const std::string& name) {
    return std::string(KzmPaths::kHistoryFolder) + "/" + name;
}

bool Contains(const Names& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// ---- Reading ----

// At least one; none when the file cannot be read.
Names ReadLines(int folder, const std::string& name) {
    CFileImage image;
    if (ReadImage(folder, name, Links::Refuse, &image) != 0) {
        return {};
    }
    std::istringstream text(image.m_text + '\n');
    Names lines;
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string MissingText(const std::string& name) {
    return ", " + name + " was missing";
}

// In an older format a missing file is an empty one, and only the end of the reason names it.
bool SaysMissing(std::string reason, const std::string& wanted) {
    for (std::size_t i = CSettingsCopy::kPaths.size(); i > 0; --i) {
        const std::string name = CSettingsCopy::Name(i - 1);
        const std::string text = MissingText(name);
        const std::size_t rest = reason.size() - std::min(text.size(), reason.size());
        if (reason.substr(rest) == text) {
            if (name == wanted) {
                return true;
            }
            reason.resize(rest);
        }
    }
    return false;
}

void ReadKey(const std::string& line, CEntry* entry) {
    const std::string key = line.substr(0, line.find('='));
    const std::string value = line.substr(std::min(key.size() + 1, line.size()));
    for (const auto& [name, member] : kOriginKeys) {
        if (key == name) {
            entry->m_origin.*member = value;
        }
    }
    if (key == kMissingKey) {
        entry->m_missing.push_back(value);
    }
}

// False when a file is neither there nor said to be missing. m_missing is in the order of kPaths.
bool FindFiles(int place, CEntry* entry) {
    const Names said = std::exchange(entry->m_missing, {});
    for (std::size_t i = 0; i < CSettingsCopy::kPaths.size(); ++i) {
        const std::string name = CSettingsCopy::Name(i);
        bool missing = Contains(said, name);
        struct stat status {};
        if (!missing) {
            if (fstatat(place, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
                !S_ISREG(status.st_mode)) {
                return false;
            }
            missing = status.st_size == 0 && SaysMissing(entry->m_reason, name);
        }
        if (missing) {
            entry->m_missing.push_back(name);
        }
    }
    return true;
}

// Nothing when there is no such entry, or not the whole of it.
std::optional<CEntry> ReadEntry(int folder, const std::string& id) {
    if (!IsId(id)) {
        return std::nullopt;
    }
    const CDescriptor place = OpenEntry(folder, id);
    const Names lines = ReadLines(place.Get(), kReasonFile);
    if (lines.empty()) {
        return std::nullopt;
    }
    CEntry entry;
    entry.m_id = id;
    entry.m_time = TimeOf(id);
    entry.m_reason = lines.front();
    for (auto line = lines.begin() + 1; line != lines.end(); ++line) {
        ReadKey(*line, &entry);
    }
    return FindFiles(place.Get(), &entry) ? std::optional(entry) : std::nullopt;
}

// In ascending order.
std::vector<CEntry> ReadEntries(int folder) {
    std::vector<CEntry> entries;
    for (const std::string& name : NamesIn(folder)) {
        if (std::optional<CEntry> entry = ReadEntry(folder, name)) {
            entries.push_back(std::move(*entry));
        }
    }
    return entries;
}

Expected<CSettingsCopy> LoadFrom(int folder, const std::string& id) {
    const std::optional<CEntry> entry = ReadEntry(folder, id);
    if (!entry) {
        return tl::make_unexpected(Refused(PathOf(id), "read", ENOENT));
    }
    const CDescriptor place = OpenEntry(folder, id);
    CSettingsCopy copy;
    for (std::size_t i = 0; i < copy.m_files.size(); ++i) {
        const std::string name = CSettingsCopy::Name(i);
        copy.m_files[i].m_missing = Contains(entry->m_missing, name);
        if (copy.m_files[i].m_missing) {
            continue;
        }
        const int number = ReadImage(place.Get(), name, Links::Refuse, &copy.m_files[i]);
        if (number != 0) {
            return tl::make_unexpected(
                Refused(PathOf(id).append("/").append(name), "read", number));
        }
    }
    return copy;
}

// ---- Writing ----

CFileImage OwnFile(std::string text) {
    CFileImage image;
    image.m_text = std::move(text);
    image.m_owner = geteuid();
    image.m_group = getegid();
    image.m_mode = 0600;
    image.m_modified.tv_nsec = UTIME_NOW;
    return image;
}

std::string Line(std::string text) {
    constexpr char kDelete = 0x7F;
    const auto isControl = [](char c) {
        return static_cast<unsigned char>(c) < ' ' || c == kDelete;
    };
    std::replace_if(text.begin(), text.end(), isControl, ' ');
    return text + '\n';
}

std::string ReasonText(const CSettingsCopy& copy, const std::string& reason,
                       const COrigin& origin) {
    std::string text = Line(reason);
    for (const auto& [name, member] : kOriginKeys) {
        if (!(origin.*member).empty()) {
            text.append(name).append("=").append(Line(origin.*member));
        }
    }
    for (const std::string& name : copy.MissingNames()) {
        text.append(kMissingKey).append("=").append(Line(name));
    }
    return text;
}

// Returns 0 or an error number, like those below.
int FillEntry(int place, const CSettingsCopy& copy, const std::string& reasonText) {
    int error = WriteImage(place, kReasonFile, OwnFile(reasonText));
    for (std::size_t i = 0; i < copy.m_files.size() && error == 0; ++i) {
        if (!copy.m_files[i].m_missing) {
            error = WriteImage(place, CSettingsCopy::Name(i), copy.m_files[i]);
        }
    }
    return error == 0 ? SyncFolder(place) : error;
}

// Returns the new entry's ID.
Expected<std::string> Keep(int folder, const CSettingsCopy& copy, const std::string& reason,
                           const COrigin& origin) {
    RemoveRemains(folder);
    std::string newest;
    for (const std::string& name : NamesIn(folder)) {
        newest = IsId(name) ? name : newest;
    }
    std::string id = NextId(std::time(nullptr), newest);
    const std::string text = ReasonText(copy, reason, origin);
    const int number =
        AddEntry(folder, id, [&](int entry) { return FillEntry(entry, copy, text); });
    if (number != 0) {
        return tl::make_unexpected(Refused(PathOf(id), "made", number));
    }
    return id;
}

void RemoveOldest(int folder, const std::string& spared) {
    const std::vector<CEntry> entries = ReadEntries(folder);
    for (std::size_t i = 0; i + kKept < entries.size(); ++i) {
        if (entries[i].m_id != spared) {
            RemoveEntry(folder, entries[i].m_id);
        }
    }
}

// ---- The restore that has begun ----

std::optional<CPendingRestore> ReadPending(int folder) {
    Names lines = ReadLines(folder, kRestoreFile);
    lines.resize(2);
    if (!ReadEntry(folder, lines[0])) {
        return std::nullopt;
    }
    return CPendingRestore{lines[0], ReadEntry(folder, lines[1]) ? lines[1] : "", false};
}

// In one step: what was remembered before stays until then.
int Remember(int folder, const CPendingRestore& pending) {
    const std::string text = Line(pending.m_id) + Line(pending.m_keptId);
    const int error = WriteImage(folder, kNewRestoreFile, OwnFile(text));
    if (error != 0) {
        return error;
    }
    return renameat(folder, kNewRestoreFile, folder, kRestoreFile) == 0 ? SyncFolder(folder)
                                                                        : errno;
}

void Forget(int folder) {
    unlinkat(folder, kNewRestoreFile, 0);
    if (unlinkat(folder, kRestoreFile, 0) == 0) {
        SyncFolder(folder);
    }
}

// Whether an earlier try of the restore explains every file.
bool IsMix(const CSettingsCopy& now, const CSettingsCopy& before, const CSettingsCopy& restored) {
    for (std::size_t i = 0; i < now.m_files.size(); ++i) {
        if (!now.m_files[i].IsSame(before.m_files[i]) &&
            !now.m_files[i].IsSame(restored.m_files[i])) {
            return false;
        }
    }
    return true;
}

Expected<CPendingRestore> KeepAndRemember(int folder, const std::string& id,
                                          const CSettingsCopy& now, const COrigin& origin) {
    std::string reason = "before restore of " + id;
    for (const std::string& name : now.MissingNames()) {
        reason += MissingText(name);
    }
    const Expected<std::string> kept = Keep(folder, now, reason, origin);
    if (!kept) {
        return tl::make_unexpected(kept.error());
    }
    CPendingRestore pending{id, *kept, true};
    const std::optional<CPendingRestore> earlier = ReadPending(folder);
    const int number = Remember(folder, pending);
    if (number != 0) {
        if (earlier) {
            Remember(folder, *earlier);
        } else {
            Forget(folder);
        }
        RemoveEntry(folder, *kept);
        return tl::make_unexpected(Refused(PathOf(kRestoreFile), "written", number));
    }
    RemoveOldest(folder, id);
    return pending;
}

} // namespace

Expected<std::string> Save(const CSettingsCopy& now, const std::string& reason,
                           const COrigin& origin) {
    const Expected<CDescriptor> folder = OpenHistory(Absent::Make);
    if (!folder) {
        return tl::make_unexpected(folder.error());
    }
    Expected<std::string> id = Keep(folder->Get(), now, reason, origin);
    if (id) {
        RemoveOldest(folder->Get(), "");
        Forget(folder->Get());
    }
    return id;
}

Expected<std::vector<CEntry>> List() {
    return OpenHistory(Absent::Allow).map([](const CDescriptor& folder) {
        std::vector<CEntry> entries = ReadEntries(folder.Get());
        std::reverse(entries.begin(), entries.end());
        return entries;
    });
}

Expected<CSettingsCopy> Load(const std::string& id) {
    return OpenHistory(Absent::Allow).and_then([&](const CDescriptor& folder) {
        return LoadFrom(folder.Get(), id);
    });
}

Expected<CPendingRestore> BeginRestore(const std::string& id, const CSettingsCopy& now,
                                       const COrigin& origin) {
    const Expected<CDescriptor> folder = OpenHistory(Absent::Allow);
    if (!folder) {
        return tl::make_unexpected(folder.error());
    }
    const Expected<CSettingsCopy> restored = LoadFrom(folder->Get(), id);
    if (!restored) {
        return tl::make_unexpected(restored.error());
    }
    const std::optional<CPendingRestore> earlier = ReadPending(folder->Get());
    if (earlier && earlier->m_id == id) {
        const Expected<CSettingsCopy> before = LoadFrom(folder->Get(), earlier->m_keptId);
        if (before && IsMix(now, *before, *restored)) {
            return *earlier;
        }
    }
    return KeepAndRemember(folder->Get(), id, now, origin);
}

void DiscardKept(const CPendingRestore& pending) {
    const Expected<CDescriptor> folder = OpenHistory(Absent::Allow);
    if (folder && pending.m_keptAnew && Remember(folder->Get(), {pending.m_id, "", false}) == 0) {
        RemoveEntry(folder->Get(), pending.m_keptId);
    }
}

void EndRestore() {
    const Expected<CDescriptor> folder = OpenHistory(Absent::Allow);
    if (folder) {
        Forget(folder->Get());
    }
}

std::optional<CPendingRestore> PendingRestore() {
    const Expected<CDescriptor> folder = OpenHistory(Absent::Allow);
    return folder ? ReadPending(folder->Get()) : std::nullopt;
}

} // namespace history
