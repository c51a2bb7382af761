#include "loggerctl/agent/CLockHolder.h"

#include "loggerctl/output/CSafeText.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

constexpr char kLockList[] = "/proc/locks";

// A file as the list names it: device numbers in hexadecimal, inode in decimal.
std::string ListedName(dev_t device, ino_t inode) {
    std::array<char, 64> name{};
    std::snprintf(name.data(), name.size(), "%02x:%02x:%ju", major(device), minor(device),
                  static_cast<std::uintmax_t>(inode));
    return name.data();
}

} // namespace

std::optional<pid_t> CLockHolder::Find(const std::string& lockFile) {
    struct stat status {};
    std::ifstream file(kLockList);
    if (stat(lockFile.c_str(), &status) != 0 || !file) {
        return std::nullopt;
    }
    std::ostringstream list;
    list << file.rdbuf();
    return FindInList(list.str(), status.st_dev, status.st_ino);
}

// A line is "1: FLOCK  ADVISORY  WRITE 1234 fe:00:5308630 0 EOF". One for a lock that is waited for
// has "->" as its second word and so is not taken.
std::optional<pid_t> CLockHolder::FindInList(const std::string& list, dev_t device, ino_t inode) {
    const std::string wanted = ListedName(device, inode);
    std::istringstream lines(list);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string number;
        std::string kind;
        std::string strength;
        std::string access;
        std::string file;
        pid_t process = 0;
        words >> number >> kind >> strength >> access >> process >> file;
        if (words && kind == "FLOCK" && access == "WRITE" && file == wanted && process > 0) {
            return process;
        }
    }
    return std::nullopt;
}

std::string CLockHolder::Describe(pid_t process) {
    const std::string number = std::to_string(process);
    std::ifstream file("/proc/" + number + "/comm");
    std::string name;
    if (!std::getline(file, name) || name.empty()) {
        return "process " + number;
    }
    return "process " + number + " (" + CSafeText::Escape(name) + ")";
}
