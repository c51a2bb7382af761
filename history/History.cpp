#include "history/History.h"

#include "history/EntryReading.h"
#include "history/EntryText.h"
#include "history/HistoryFolder.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace history {

namespace {

constexpr char kRestoreFile[] = ".restoring";
constexpr char kNewRestoreFile[] = ".new-restoring";

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
    Names names;
    const int listing = ListNames(folder, &names);
    if (listing != 0) {
        return tl::make_unexpected(Refused(KzmPaths::kHistoryFolder, "read", listing));
    }
    for (const std::string& name : names) {
        newest = IsId(name) ? name : newest;
    }
    std::string id = NextId(std::time(nullptr), newest);
    const std::string text = EntryText(reason, origin, copy.MissingNames());
    const int number =
        AddEntry(folder, id, [&](int entry) { return FillEntry(entry, copy, text); });
    if (number != 0) {
        return tl::make_unexpected(Refused(PathOf(id), "made", number));
    }
    return id;
}

// Where they cannot be read, the next one that keeps a copy does it.
void RemoveOldest(int folder, const std::string& spared) {
    const Expected<std::vector<CEntry>> entries = ReadEntries(folder);
    for (std::size_t i = 0; entries && i + kKept < entries->size(); ++i) {
        if (entries->at(i).m_id != spared) {
            RemoveEntry(folder, entries->at(i).m_id);
        }
    }
}

// ---- The restore that has begun ----

Expected<std::optional<CPendingRestore>> ReadPending(int folder) {
    if (folder < 0) {
        return std::nullopt;
    }
    std::optional<std::string> text;
    const int error = ReadText(folder, kRestoreFile, &text);
    if (error != 0) {
        return tl::make_unexpected(NotRead(kRestoreFile, error));
    }
    CPendingRestore pending = ReadPendingText(text.value_or(""));
    const auto restored = ReadEntry(folder, pending.m_id);
    const auto kept = ReadEntry(folder, pending.m_keptId);
    if (!restored || !kept) {
        return tl::make_unexpected(restored ? kept.error() : restored.error());
    }
    if (!*restored) {
        return std::nullopt;
    }
    if (!*kept) {
        pending.m_keptId.clear();
    }
    return pending;
}

// In one step: what was remembered before stays until then.
int Remember(int folder, const CPendingRestore& pending) {
    const int error = WriteImage(folder, kNewRestoreFile, OwnFile(PendingText(pending)));
    if (error != 0) {
        return error;
    }
    return renameat(folder, kNewRestoreFile, folder, kRestoreFile) == 0 ? SyncFolder(folder)
                                                                        : errno;
}

Expected<void> Forget(int folder) {
    unlinkat(folder, kNewRestoreFile, 0);
    const bool isGone = unlinkat(folder, kRestoreFile, 0) == 0;
    const int error = isGone ? SyncFolder(folder) : errno;
    if (error != 0 && (isGone || error != ENOENT)) {
        return tl::make_unexpected(Refused(PathOf(kRestoreFile), "removed", error));
    }
    return {};
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
                                          const CSettingsCopy& now, const COrigin& origin,
                                          const std::optional<CPendingRestore>& earlier) {
    std::string reason = "before restore of " + id;
    for (const std::string& name : now.MissingNames()) {
        reason += MissingText(name);
    }
    const Expected<std::string> kept = Keep(folder, now, reason, origin);
    if (!kept) {
        return tl::make_unexpected(kept.error());
    }
    CPendingRestore pending{id, *kept, true};
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
    if (!id) {
        return id;
    }
    const Expected<void> forgotten = Forget(folder->Get());
    if (!forgotten) {
        RemoveEntry(folder->Get(), *id);
        return tl::make_unexpected(forgotten.error());
    }
    RemoveOldest(folder->Get(), "");
    return id;
}

Expected<std::vector<CEntry>> List() {
    Expected<std::vector<CEntry>> entries =
        OpenHistory(Absent::Allow).and_then([](const CDescriptor& folder) {
            return ReadEntries(folder.Get());
        });
    if (entries) {
        std::reverse(entries->begin(), entries->end());
    }
    return entries;
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
    const Expected<std::optional<CPendingRestore>> pending = ReadPending(folder->Get());
    if (!pending) {
        return tl::make_unexpected(pending.error());
    }
    const std::optional<CPendingRestore>& earlier = *pending;
    if (earlier && earlier->m_id == id) {
        const Expected<CSettingsCopy> before = LoadFrom(folder->Get(), earlier->m_keptId);
        if (!before && before.error().m_number != ENOENT) {
            return tl::make_unexpected(before.error());
        }
        if (before && IsMix(now, *before, *restored)) {
            return *earlier;
        }
    }
    return KeepAndRemember(folder->Get(), id, now, origin, earlier);
}

void DiscardKept(const CPendingRestore& pending) {
    const Expected<CDescriptor> folder = OpenHistory(Absent::Allow);
    if (folder && pending.m_keptAnew && Remember(folder->Get(), {pending.m_id, "", false}) == 0) {
        RemoveEntry(folder->Get(), pending.m_keptId);
    }
}

Expected<void> EndRestore() {
    return OpenHistory(Absent::Allow).and_then([](const CDescriptor& folder) {
        return folder.IsOpen() ? Forget(folder.Get()) : Expected<void>();
    });
}

Expected<std::optional<CPendingRestore>> PendingRestore() {
    return OpenHistory(Absent::Allow).and_then([](const CDescriptor& folder) {
        return ReadPending(folder.Get());
    });
}

} // namespace history
