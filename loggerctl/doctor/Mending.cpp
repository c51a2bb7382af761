#include "loggerctl/doctor/Mending.h"

#include "loggerctl/output/SafeText.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <sstream>

namespace doctor {

namespace {

constexpr char kPlainCharacters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                    "0123456789._+/-";

struct CPackageManager {
    const char* m_program;
    const char* m_installAgain;
    bool m_isRpm;
};
constexpr CPackageManager kPackageManagers[] = {
    {"apt-get", "apt-get install --reinstall ", false},
    {"dnf", "dnf reinstall ", true},
    {"zypper", "zypper install --force ", true},
};

// Whether a shell with this process's environment finds the program.
bool IsOnPath(const std::string& program) {
    const char* const path = std::getenv("PATH");
    std::istringstream folders(path == nullptr ? "" : path);
    for (std::string folder; std::getline(folders, folder, ':');) {
        folder.append("/").append(program);
        if (access(folder.c_str(), X_OK) == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

std::string Quoted(const std::string& path) {
    if (!path.empty() && path.find_first_not_of(kPlainCharacters) == std::string::npos) {
        return path;
    }
    std::string quoted = "'";
    for (const char character : path) {
        quoted += character == '\'' ? std::string("'\\''") : std::string(1, character);
    }
    return quoted + "'";
}

std::string EditCommand(const std::string& path, unsigned int line) {
    const std::string place = line == 0 ? "" : "+" + std::to_string(line) + " ";
    return "\"${EDITOR:-vi}\" " + place + Quoted(path);
}

std::string InstallCommand(const std::string& package, const std::string& rpm) {
    const CPackageManager* manager = std::begin(kPackageManagers);
    for (const CPackageManager& other : kPackageManagers) {
        if (IsOnPath(other.m_program)) {
            manager = &other;
            break;
        }
    }
    return manager->m_installAgain + (manager->m_isRpm && !rpm.empty() ? rpm : package);
}

std::string MoveAsideCommand(const std::string& path) {
    return "mv " + Quoted(path) + " " + Quoted(path + ".aside");
}

unsigned int LineNamed(const std::string& sentence, const std::string& path) {
    constexpr char kLine[] = " line ";
    const std::string shown = output::Escape(path);
    const std::size_t begin = sentence.find(shown);
    if (begin == std::string::npos) {
        return 0;
    }
    std::size_t at = begin + shown.size();
    at += sentence.compare(at, 1, ",") == 0 ? 1 : 0;
    if (sentence.compare(at, std::strlen(kLine), kLine) != 0) {
        return 0;
    }
    unsigned int line = 0;
    std::from_chars(sentence.data() + at + std::strlen(kLine), sentence.data() + sentence.size(),
                    line);
    return line;
}

bool IsThere(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 || (errno != ENOENT && errno != ENOTDIR);
}

bool IsFolder(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool IsFile(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::optional<CDistrust> FindDistrust(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    const std::string shown = output::Escape(path);
    if (status.st_uid != 0 && status.st_uid != geteuid()) {
        return CDistrust{shown + ": is owned by neither root nor the running user.",
                         "chown root " + Quoted(path)};
    }
    const bool isSticky = S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0 && !isSticky) {
        return CDistrust{shown + ": can be written by others than its owner.",
                         "chmod go-w " + Quoted(path)};
    }
    return std::nullopt;
}

std::string TrustCommand(const std::string& path) {
    const std::optional<CDistrust> distrust = FindDistrust(path);
    return distrust ? distrust->m_mend : "";
}

std::string WritableCommand(const std::string& path) {
    struct statvfs system {};
    if (statvfs(path.c_str(), &system) == 0 && (system.f_flag & ST_RDONLY) != 0) {
        return "mount -o remount,rw \"$(findmnt -n -o TARGET -T " + Quoted(path) + ")\"";
    }
    constexpr auto kUnchangeable = STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND;
    struct statx status {};
    if (statx(AT_FDCWD, path.c_str(), 0, 0, &status) == 0 &&
        (status.stx_attributes & kUnchangeable) != 0) {
        return "chattr -i -a " + Quoted(path);
    }
    return "";
}

} // namespace doctor
