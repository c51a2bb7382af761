#include "loggerctl/agent/Locks.h"

#include "KzmPaths.h"
#include "loggerctl/output/CProgressLine.h"
#include "loggerctl/output/Console.h"
#include "loggerctl/output/SafeText.h"
#include "loggerctl/output/TimeText.h"
#include "settings/LockFile.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <optional>
#include <sstream>

namespace agent {

namespace {

using output::ExitCode;

constexpr char kLockList[] = "/proc/locks";

// A file as the list names it: device numbers in hexadecimal, inode in decimal.
std::string ListedName(dev_t device, ino_t inode) {
    std::array<char, 64> name{};
    std::snprintf(name.data(), name.size(), "%02x:%02x:%ju", major(device), minor(device),
                  static_cast<std::uintmax_t>(inode));
    return name.data();
}

// 0 when nobody holds the lock, the file does not exist or the list cannot be read.
pid_t FindHolder(const std::string& lockFile) {
    struct stat status {};
    std::ifstream file(kLockList);
    if (stat(lockFile.c_str(), &status) != 0 || !file) {
        return 0;
    }
    std::ostringstream list;
    list << file.rdbuf();
    return FindInLockList(list.str(), status.st_dev, status.st_ino);
}

// "process 1234 (name)", or "process 1234" when the name cannot be read; safe to print.
std::string Describe(pid_t process) {
    const std::string number = std::to_string(process);
    std::ifstream file("/proc/" + number + "/comm");
    std::string name;
    if (!std::getline(file, name) || name.empty()) {
        return "process " + number;
    }
    return "process " + number + " (" + output::Escape(name) + ")";
}

// When the process was started; nothing when that cannot be told.
std::optional<std::time_t> StartOf(pid_t process) {
    constexpr int kWordsBefore = 19; // of the line, between the name and the time
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string line;
    std::getline(file, line);
    std::istringstream words(line.substr(line.rfind(')') + 1)); // a name may have blanks
    std::string word;
    for (int i = 0; i < kWordsBefore; ++i) {
        words >> word;
    }
    long long ticks = 0; // since the machine was started
    struct timespec running {};
    if (!(words >> ticks) || clock_gettime(CLOCK_BOOTTIME, &running) != 0) {
        return std::nullopt;
    }
    return std::time(nullptr) - running.tv_sec + ticks / sysconf(_SC_CLK_TCK);
}

std::string HeldBy(const std::string& lockFile) {
    const pid_t holder = FindHolder(lockFile);
    return holder == 0 ? "" : ", by " + Describe(holder);
}

} // namespace

CSettingsLock::CSettingsLock() {
    const output::CProgressLine line(
        [] { return DescribeWait("the settings lock", KzmPaths::kLockFile); },
        output::CTerminal::Of(STDERR_FILENO));
    m_descriptor = LockFile::Take();
}

CSettingsLock::~CSettingsLock() {
    if (IsHeld()) {
        LockFile::Give(m_descriptor);
    }
}

CReason WhyNoSettingsLock() {
    CReason reason = WhyNotLocked(KzmPaths::kLockFile);
    if (reason.m_code == ExitCode::NoRights) {
        reason.m_text =
            std::string("The settings lock ") + KzmPaths::kLockFile +
            " is for root alone, and nobody may read or change the settings without it. Run the "
            "command through sudo, or have the administrator open the lock's folder and file to a "
            "group of yours.";
    }
    if (!reason.m_text.empty()) {
        return reason;
    }
    const std::string holder = HeldBy(KzmPaths::kLockFile);
    return {std::string("The settings lock ") + KzmPaths::kLockFile +
                (holder.empty() ? " could not be taken" : " stayed taken for 30 seconds" + holder) +
                ". Try again later.",
            ExitCode::Busy};
}

output::Expected<history::CCallerLock> TakeCallerLock(const std::string& headline,
                                                      std::chrono::seconds wait) {
    const output::CProgressLine line(
        [] { return DescribeWait("another change", KzmPaths::kCallerLock); },
        output::CTerminal::Of(STDERR_FILENO));
    auto lock = history::CCallerLock::Take(wait);
    if (lock) {
        return std::move(*lock);
    }
    if (!lock.error().m_busy) {
        output::CFailure failure = ToFailure(headline, lock.error().m_problem);
        if (failure.m_code == ExitCode::NoRights) {
            failure.m_reasons = {std::string("The callers' lock ") + KzmPaths::kCallerLock +
                                 " is for root alone, and nobody may change the settings or "
                                 "control the service without it. Run the command through sudo."};
        }
        return tl::unexpected(failure);
    }
    const std::string others =
        "Another change of the settings is under way" + HeldBy(KzmPaths::kCallerLock);
    return output::Fail(ExitCode::Busy, headline,
                        {wait.count() == 0
                             ? others + ". Try again later, or wait with --wait SECONDS."
                             : others + ", and did not end within " + std::to_string(wait.count()) +
                                   (wait.count() == 1 ? " second" : " seconds") +
                                   ". Try again later, or wait longer with "
                                   "--wait SECONDS."});
}

std::string DescribeHolder(const std::string& lockFile) {
    const pid_t holder = FindHolder(lockFile);
    if (holder == 0) {
        return "";
    }
    const std::optional<std::time_t> start = StartOf(holder);
    return Describe(holder) + (start ? ", which runs since " + output::LocalTime(*start) : "");
}

std::string DescribeWait(const std::string& name, const std::string& lockFile) {
    const pid_t holder = FindHolder(lockFile);
    return holder == 0 || holder == getpid()
               ? ""
               : "Waiting for " + name + ", held by process " + std::to_string(holder);
}

// A line is "1: FLOCK  ADVISORY  WRITE 1234 fe:00:5308630 0 EOF". One for a lock that is waited for
// has "->" as its second word and so is not taken.
pid_t FindInLockList(const std::string& list, dev_t device, ino_t inode) {
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
    return 0;
}

} // namespace agent
