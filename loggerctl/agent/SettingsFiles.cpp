#include "loggerctl/agent/SettingsFiles.h"

#include "loggerctl/output/SafeText.h"
#include "loggerctl/output/UnifiedDiff.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <map>

namespace agent {

namespace {

using output::ExitCode;

// Asks with the rights that opening would be judged by. Returns 0 or an error number.
int Access(const std::string& path, int mode) {
    return faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0 ? 0 : errno;
}

bool IsDirectory(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool IsRegular(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// To write anew is to cut off first, which a file that can only be appended to does not allow.
bool IsAppendOnly(const std::string& path) {
    struct statx status {};
    return statx(AT_FDCWD, path.c_str(), 0, 0, &status) == 0 &&
           (status.stx_attributes & STATX_ATTR_APPEND) != 0;
}

CReason Sentence(const std::string& path, const std::string& what) {
    return {output::Escape(path) + ": " + what};
}

bool IsWantOfRights(int error) {
    return (error == EACCES || error == EPERM) && geteuid() != 0;
}

// What the files of one file system need, and what there is.
struct CRoom {
    std::string m_path; // of the first of them
    std::uint64_t m_needed = 0;
    std::uint64_t m_free = 0;
};

std::uint64_t InBlocks(std::uint64_t bytes, std::uint64_t blockSize) {
    return (bytes + blockSize - 1) / blockSize * blockSize;
}

std::uint64_t FreeOf(const struct statvfs& system) {
    return (geteuid() == 0 ? system.f_bfree : system.f_bavail) * system.f_frsize;
}

CReason TooLittleRoom(const std::string& path, const std::string& writing, std::uint64_t needed,
                      std::uint64_t free) {
    return Sentence(path, "its file system has " + std::to_string(free) + " bytes free, and " +
                              writing + " needs " + std::to_string(needed) + ". Make room first.");
}

} // namespace

CReason WhyNotRead(const std::string& path) {
    const int error = Access(path, R_OK);
    if (error == ENOENT) {
        return Sentence(path, "does not exist. Install the agent, or put the file back.");
    }
    if (error != 0) {
        return Refused(path, "read", error);
    }
    if (IsDirectory(path)) {
        return Sentence(path, "is a directory. Put the agent's file in its place.");
    }
    return IsRegular(path) ? CReason{}
                           : Sentence(path, "is no regular file. Put the agent's file in its "
                                            "place.");
}

CReason WhyNotWritten(const std::string& path) {
    const int error = Access(path, W_OK);
    if (error != 0) {
        return Refused(path, "written", error);
    }
    return IsAppendOnly(path) ? Refused(path, "written", EPERM) : CReason{};
}

CReason WhyNotLocked(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    if (IsDirectory(path)) {
        return Sentence(path, "is a directory. Remove it: the lock file belongs there.");
    }
    int error = Access(folder, X_OK);
    if (error == ENOENT) {
        return Sentence(folder, "does not exist. Create the lock file's folder with mode 0700.");
    }
    if (error != 0) {
        return Refused(folder, "entered", error);
    }
    error = Access(path, W_OK);
    if (error == ENOENT) {
        error = Access(folder, W_OK);
        return error == 0 ? CReason{} : Refused(path, "created", error);
    }
    return error == 0 ? CReason{} : Refused(path, "written", error);
}

CReason Refused(const std::string& path, const std::string& action, int error) {
    CReason reason = Sentence(path, "cannot be " + action + " (" + std::strerror(error) + ").");
    if (IsWantOfRights(error)) {
        reason.m_text += " Run the command as root.";
        reason.m_code = ExitCode::NoRights;
    }
    return reason;
}

output::CFailure ToFailure(const std::string& headline, const history::CProblem& problem) {
    const bool lacksRights = IsWantOfRights(problem.m_number);
    return {lacksRights ? ExitCode::NoRights : ExitCode::Failure,
            headline,
            {problem.m_text + (lacksRights ? " Run the command as root." : "")},
            {}};
}

output::CFailure ToFailure(const std::string& headline, const CReason& reason) {
    return {reason.m_code, headline, {reason.m_text}, {}};
}

CReason WhyNoRoom(const history::CSettingsCopy& wanted) {
    std::map<dev_t, CRoom> rooms;
    for (std::size_t i = 0; i < wanted.m_files.size(); ++i) {
        const std::string path = history::CSettingsCopy::kPaths[i];
        struct stat status {};
        struct statvfs system {};
        if (stat(path.c_str(), &status) != 0 || statvfs(path.c_str(), &system) != 0) {
            continue; // the reason is another one, and others tell it
        }
        if (system.f_blocks == 0) {
            continue; // without a limit, or it does not say
        }
        CRoom& room = rooms[status.st_dev];
        room.m_path = room.m_path.empty() ? path : room.m_path;
        room.m_needed += InBlocks(wanted.m_files[i].m_text.size(), system.f_frsize);
        room.m_free = FreeOf(system);
    }
    for (const auto& [device, room] : rooms) {
        if (room.m_free < room.m_needed) {
            return TooLittleRoom(room.m_path, "writing the settings", room.m_needed, room.m_free);
        }
    }
    return {};
}

CReason WhyNoRoomForCopy(const history::CSettingsCopy& copy) {
    constexpr std::uint64_t kBesides = 2; // blocks, for the entry's folder and its reason
    std::filesystem::path folder = KzmPaths::kHistoryFolder;
    struct statvfs system {};
    while (statvfs(folder.c_str(), &system) != 0 && folder != folder.parent_path()) {
        folder = folder.parent_path(); // the history's is made with the first copy
    }
    std::uint64_t needed = kBesides * system.f_frsize;
    for (const history::CFileImage& file : copy.m_files) {
        needed += InBlocks(file.m_text.size(), system.f_frsize);
    }
    const bool isLimited = system.f_blocks != 0;
    return isLimited && FreeOf(system) < needed
               ? TooLittleRoom(folder.string(), "a copy of the settings files", needed,
                               FreeOf(system))
               : CReason{};
}

std::string Difference(const history::CSettingsCopy& from, const history::CSettingsCopy& to) {
    std::string text;
    for (std::size_t i = 0; i < from.m_files.size(); ++i) {
        const std::string path = history::CSettingsCopy::kPaths[i];
        text += output::UnifiedDiff(from.m_files[i].m_text, to.m_files[i].m_text, "a" + path,
                                    "b" + path);
    }
    return text;
}

} // namespace agent
