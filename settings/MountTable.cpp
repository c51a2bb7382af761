#include "settings/CLoggerFsUsageMonitorConf.h"

#include "KzmPaths.h"
#include "settings/LoggerDefinitions.h"

#include <array>
#include <cstdio>
#include <memory>
#include <string_view>

using std::string;
using std::string_view;

namespace {

constexpr std::size_t kLineBufferSize = 4096;
constexpr string_view kBeforeMountPoint = " on ";
constexpr string_view kBehindMountPoint = " type ";

struct ClosePipe {
    void operator()(FILE* pipe) const { pclose(pipe); }
};
using Pipe = std::unique_ptr<FILE, ClosePipe>;

// Finds the mount point in a line such as "/dev/sda1 on /home type ext4 (rw)"; it may be empty.
// False when the line is not of that form.
bool FindMountPoint(string_view line, string_view* mountPoint) {
    const string_view::size_type before = line.find(kBeforeMountPoint);
    if (before == string_view::npos) {
        return false;
    }
    const string_view::size_type begin = before + kBeforeMountPoint.size();
    const string_view::size_type end = line.find(kBehindMountPoint, begin);
    if (end == string_view::npos) {
        return false;
    }
    *mountPoint = line.substr(begin, end - begin);
    return true;
}

// What fgets read, without its last character. That is the newline, except in a line too long for
// the buffer: it loses a character there, and its rest comes as a line of its own.
string_view WithoutLastCharacter(string_view read) {
    read.remove_suffix(read.empty() ? 0 : 1);
    return read;
}

} // namespace

bool CLoggerFsUsageMonitorConf::GetMountPointList(std::list<CLoggerFsThresholdConf>& list) {
    RowIndex rows(list);
    return GetMountPointList(list, &rows);
}

bool CLoggerFsUsageMonitorConf::GetMountPointList(std::list<CLoggerFsThresholdConf>& list,
                                                  RowIndex* rows) {
    // The command is a constant of the build.
    const Pipe pipe(popen(KzmPaths::kMountCommand, "r")); // NOLINT(cert-env33-c)
    if (pipe == nullptr) {
        return false;
    }
    std::array<char, kLineBufferSize> buffer{};
    while (std::fgets(buffer.data(), static_cast<int>(buffer.size()), pipe.get()) != nullptr) {
        string_view mountPoint;
        if (!FindMountPoint(WithoutLastCharacter(buffer.data()), &mountPoint)) {
            continue;
        }
        if (mountPoint.empty()) {
            list.clear();
            return false;
        }
        list.emplace_back(string(mountPoint), LoggerDefinitions::kDefaultThreshold, false);
        if (!rows->Add(&list.back())) {
            list.pop_back();
        }
    }
    return true;
}
