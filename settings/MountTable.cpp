#include "settings/CLoggerFsUsageMonitorConf.h"

#include "KzmPaths.h"
#include "settings/LoggerDefinitions.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <memory>

using std::string;

namespace {

constexpr std::size_t kLineBufferSize = 4096;
constexpr char kBeforeMountPoint[] = " on ";
constexpr char kBehindMountPoint[] = " type ";

struct ClosePipe {
    void operator()(FILE* pipe) const { pclose(pipe); }
};
using Pipe = std::unique_ptr<FILE, ClosePipe>;

// Finds the mount point in a line such as "/dev/sda1 on /home type ext4 (rw)"; it may be empty.
// False when the line is not of that form.
bool FindMountPoint(const string& line, string* mountPoint) {
    const string::size_type before = line.find(kBeforeMountPoint);
    if (before == string::npos) {
        return false;
    }
    const string::size_type begin = before + std::strlen(kBeforeMountPoint);
    const string::size_type end = line.find(kBehindMountPoint, begin);
    if (end == string::npos) {
        return false;
    }
    *mountPoint = line.substr(begin, end - begin);
    return true;
}

// What fgets read, without its last character. That is the newline, except in a line too long for
// the buffer: it loses a character there, and its rest comes as a line of its own.
string WithoutLastCharacter(const char* read) {
    const std::size_t length = std::strlen(read);
    return length == 0 ? string() : string(read, length - 1);
}

} // namespace

bool CLoggerFsUsageMonitorConf::GetMountPointList(std::list<CLoggerFsThresholdConf>& list) {
    // The command is a constant of the build.
    const Pipe pipe(popen(KzmPaths::kMountCommand, "r")); // NOLINT(cert-env33-c)
    if (pipe == nullptr) {
        return false;
    }
    RowIndex rows(list);
    std::array<char, kLineBufferSize> buffer{};
    while (std::fgets(buffer.data(), static_cast<int>(buffer.size()), pipe.get()) != nullptr) {
        string mountPoint;
        if (!FindMountPoint(WithoutLastCharacter(buffer.data()), &mountPoint)) {
            continue;
        }
        if (mountPoint.empty()) {
            list.clear();
            return false;
        }
        if (rows.Find(mountPoint) == nullptr) {
            list.emplace_back(mountPoint, LoggerDefinitions::kDefaultThreshold, false);
            rows.Add(&list.back());
        }
    }
    return true;
}
