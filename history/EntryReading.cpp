#include "history/EntryReading.h"

#include "history/EntryText.h"
#include "history/HistoryFolder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace history {

namespace {

bool Contains(const Names& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// Whether something is not there, or is something else than what this writes there. All other
// errors mean that it cannot be told.
bool IsAbsence(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == EISDIR ||
           error == EINVAL || error == ENXIO;
}

// Returns 0 or an error number: ENOENT when a file is neither there nor said to be missing.
// m_missing is in the order of kPaths.
int FindFiles(int place, CEntry* entry) {
    const Names said = std::exchange(entry->m_missing, {});
    for (std::size_t i = 0; i < CSettingsCopy::kPaths.size(); ++i) {
        const std::string name = CSettingsCopy::Name(i);
        bool missing = Contains(said, name);
        struct stat status {};
        if (!missing) {
            if (fstatat(place, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
                return errno;
            }
            if (!S_ISREG(status.st_mode)) {
                return ENOENT;
            }
            missing = status.st_size == 0 && SaysMissing(entry->m_reason, name);
        }
        if (missing) {
            entry->m_missing.push_back(name);
        }
    }
    return 0;
}

} // namespace

std::string PathOf(const std::string& name) {
    return std::string(KzmPaths::kHistoryFolder) + "/" + name;
}

CProblem NotRead(const std::string& name, int error) {
    return Refused(PathOf(name), "read", error);
}

int ReadText(int folder, const std::string& name, std::optional<std::string>* text) {
    CFileImage image;
    const int error = ReadImage(folder, name, Links::Refuse, &image);
    if (error != 0) {
        return IsAbsence(error) ? 0 : error;
    }
    *text = std::move(image.m_text);
    return 0;
}

Expected<std::optional<CEntry>> ReadEntry(int folder, const std::string& id) {
    if (!IsId(id) || folder < 0) {
        return std::nullopt;
    }
    const CDescriptor place = OpenEntry(folder, id);
    std::optional<std::string> text;
    int error = place.IsOpen() ? ReadText(place.Get(), kReasonFile, &text) : errno;
    if (error != 0 && !IsAbsence(error)) {
        return tl::make_unexpected(NotRead(id, error));
    }
    if (!text) {
        return std::nullopt;
    }
    CEntry entry;
    entry.m_id = id;
    entry.m_time = TimeOf(id);
    ReadEntryText(*text, &entry);
    error = FindFiles(place.Get(), &entry);
    if (error != 0 && !IsAbsence(error)) {
        return tl::make_unexpected(NotRead(id, error));
    }
    return error == 0 ? std::optional(entry) : std::nullopt;
}

Expected<std::vector<CEntry>> ReadEntries(int folder) {
    Names names;
    const int error = ListNames(folder, &names);
    if (error != 0) {
        return tl::make_unexpected(Refused(KzmPaths::kHistoryFolder, "read", error));
    }
    std::vector<CEntry> entries;
    for (const std::string& name : names) {
        Expected<std::optional<CEntry>> entry = ReadEntry(folder, name);
        if (!entry) {
            return tl::make_unexpected(entry.error());
        }
        if (*entry) {
            entries.push_back(std::move(**entry));
        }
    }
    return entries;
}

Expected<CSettingsCopy> LoadFrom(int folder, const std::string& id) {
    const Expected<std::optional<CEntry>> found = ReadEntry(folder, id);
    if (!found || !*found) {
        return tl::make_unexpected(found ? NotRead(id, ENOENT) : found.error());
    }
    const CEntry& entry = **found;
    const CDescriptor place = OpenEntry(folder, id);
    if (!place.IsOpen()) {
        return tl::make_unexpected(NotRead(id, errno));
    }
    CSettingsCopy copy;
    for (std::size_t i = 0; i < copy.m_files.size(); ++i) {
        const std::string name = CSettingsCopy::Name(i);
        copy.m_files[i].m_missing = Contains(entry.m_missing, name);
        if (copy.m_files[i].m_missing) {
            continue;
        }
        const int number = ReadImage(place.Get(), name, Links::Refuse, &copy.m_files[i]);
        if (number != 0) {
            return tl::make_unexpected(NotRead(std::string(id).append("/").append(name), number));
        }
    }
    return copy;
}

} // namespace history
