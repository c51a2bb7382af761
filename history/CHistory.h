#pragma once

#include "history/CSettingsCopy.h"

#include <ctime>
#include <optional>
#include <string>
#include <vector>

// One kept copy of the two settings files.
struct CHistoryEntry {
    std::string m_sId;     // see CHistoryId
    std::time_t m_time{};  // when it was made
    std::string m_sReason; // one line, as it was given; not yet safe to print
};

// The copies of agent.cfg and alert.cfg that are kept in the history folder, one folder each, which
// holds the two files and a file "reason". An entry is there as a whole or not at all, also after
// a power failure: it is made under another name, written to disk, and then renamed. Names that are
// not of this class's making are left alone, and symbolic links are never followed.
//
// Errors are sentences that are safe to print and say what to do. No function takes the settings
// lock: hold it (CSettingsLock) so that nobody rewrites a file while it is copied.
class CHistory {
public:
    static constexpr std::size_t kKept = 20;

    // Keeps both files as they are now, with owner, group, mode and time. Makes the history folder
    // when it is missing. Gives back the new entry's ID; then only the newest kKept entries, and no
    // remains of interrupted saves, are left, and a restore that did not come to its end is
    // forgotten. Nothing comes back, nothing is kept and *error says why, when a file cannot be
    // read, when the copy cannot be written, or when the history folder is not safe: not a folder,
    // owned by neither root nor the running user, or writable by others.
    static std::optional<std::string> Save(const std::string& reason, std::string* error);

    // Keeps this copy instead, for the restore of another entry, which stays however old it is.
    static std::optional<std::string>
    SaveBeforeRestore(const CSettingsCopy& now, const std::string& restoredId, std::string* error);

    // The complete entries, newest first; none when there is no history folder. Nothing comes back,
    // with *error, when the folder is not safe or cannot be opened.
    static std::optional<std::vector<CHistoryEntry>> List(std::string* error);

    // The files of an entry. Nothing comes back, with *error, when they cannot be read.
    static std::optional<CSettingsCopy> Load(const std::string& id, std::string* error);

    // Remembers, on disk, that a restore of an entry has begun, until it is forgotten. False, with
    // *error, when that cannot be written.
    static bool RememberRestore(const std::string& id, std::string* error);
    static void ForgetRestore();

    // The entry whose restore has not come to its end; empty when there is none, or no more.
    static std::string UnfinishedRestore();
};
