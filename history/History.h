#pragma once

#include "history/CSettingsCopy.h"
#include "history/Expected.h"

#include <ctime>
#include <optional>
#include <string>
#include <vector>

namespace history {

// The copies of agent.cfg and alert.cfg that are kept in the history folder, one folder each, which
// holds the two files, as far as there were any, and a file "reason". An entry is there as a whole
// or not at all, also after a power failure: it is made under another name, written to disk, and
// then renamed. Names that are not of this making are left alone, and symbolic links are never
// followed.
//
// Entries are named by IDs: the time in UTC and a number within the second, such as
// 20261121-083000-001. IDs sort by age, also when the clock has been set back meanwhile.
//
// Every function that has a problem to report has one when the history folder is not safe: not a
// folder, owned by neither root nor the running user, or writable by others. None takes the lock of
// the settings: who saves or restores holds it, so that nobody rewrites a file while it is copied.
inline constexpr std::size_t kKept = 20;

// Who asked for a change, and from where; all may be empty. Control characters and line ends are
// replaced by blanks when it is stored. The texts are as they were given, not yet safe to print.
struct COrigin {
    std::string m_user;
    std::string m_sudoUser;
    std::string m_from; // a network address
};

// One kept copy.
struct CEntry {
    std::string m_id;
    std::time_t m_time{};               // when it was made
    std::string m_reason;               // one line, as it was given; not yet safe to print
    COrigin m_origin;                   // empty where it is not known
    std::vector<std::string> m_missing; // the names of the files that did not exist then
};

bool IsId(const std::string& text);

// Keeps this copy with owner, group, mode and time. Makes the history folder when it is missing.
// Gives back the new entry's ID; then only the newest kKept entries, and no remains of interrupted
// saves, are left, and a restore that did not come to its end is forgotten. After a problem nothing
// is kept, and a restore that did not come to its end is not forgotten.
Expected<std::string> Save(const CSettingsCopy& now, const std::string& reason,
                           const COrigin& origin);

// The complete entries, newest first; none when there is no history folder. A problem comes back
// when one cannot be read: without it, another would count as the newest.
Expected<std::vector<CEntry>> List();

// The files of an entry; one that was missing has m_missing set and no text. A problem comes back
// when there is no such entry, or a file cannot be read.
Expected<CSettingsCopy> Load(const std::string& id);

// A restore that has begun. It is on disk from Begin to End, so that the next restore after a
// failure or a crash takes it up.
struct CPendingRestore {
    std::string m_id;        // what is being restored
    std::string m_keptId;    // the copy of the state before; empty: none is kept yet
    bool m_keptAnew = false; // BeginRestore made that copy in this very call
};

// Keeps `now` and remembers both IDs, on disk. The restored entry stays however old it is. When a
// restore of the same entry is pending, and every file of `now` is as in the copy that it kept or
// as in the restored one, that restore is taken up: nothing is kept anew, and the kept copy is
// still the state before the first try. Another pending restore is forgotten.
//
// Whenever the process dies, either nothing is remembered or what is remembered is complete, and
// the state before is kept when this function returns. A problem comes back when there is no such
// entry, what is remembered cannot be read, the copy cannot be made, or the IDs cannot be written;
// then nothing new is kept.
Expected<CPendingRestore> BeginRestore(const std::string& id, const CSettingsCopy& now,
                                       const COrigin& origin);

// For a restore that failed before anything was replaced: removes the copy that BeginRestore made
// in this very call, since it says what the files still say. The restore stays pending, without a
// kept copy. One that was taken up keeps its copy. When this cannot be written, all stays.
void DiscardKept(const CPendingRestore& pending);

// Forgets the restore. After a problem it may be remembered still, and be taken up again.
Expected<void> EndRestore();

// The restore that has not come to its end; none when there is none, or its entry is gone.
Expected<std::optional<CPendingRestore>> PendingRestore();

} // namespace history
