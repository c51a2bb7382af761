#include "bench/CBenchHost.h"

#include "KzmPaths.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;
using std::string;

namespace {

constexpr char kRoot[] = KZM_BENCH_ROOT;
constexpr std::size_t kNothingYet = static_cast<std::size_t>(-1);

std::size_t laidOut = kNothingYet;
bool hasRealMounts = false;

void WriteText(const string& path, const string& text) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::trunc) << text;
}

void LinkMountCommand(const string& program) {
    const fs::path command = string(kRoot) + "/bin/mount";
    fs::create_directories(command.parent_path());
    fs::remove(command);
    fs::create_symlink(program, command);
}

string AlertConfig(std::size_t fileSystems) {
    string text = "# Usage monitoring\n"
                  "CPU=(True, 60, 5, 90)\n"
                  "MEMORY=(False, 30, 3, 85)\n"
                  "FILESYSTEM=(True, 300, 2)\n";
    for (std::size_t number = 0; number < fileSystems; ++number) {
        text += (number % 3 == 0 ? "#KZM# \tFSNAME=\"" : "FSNAME=\"") +
                CBenchHost::MountPoint(number) + "\"   (" + std::to_string(50 + number % 40) +
                ")\n";
    }
    return text;
}

string MountTable(std::size_t fileSystems) {
    string text;
    for (std::size_t number = 0; number < fileSystems; ++number) {
        text += "tmpfs on " + CBenchHost::MountPoint(number) + " type tmpfs (rw,relatime)\n";
    }
    return text;
}

} // namespace

string CBenchHost::MountPoint(std::size_t number) {
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "/mnt/volume-%06zu", number);
    return kRoot + string(name.data());
}

void CBenchHost::LayOut(std::size_t fileSystems) {
    fs::create_directories(fs::path(KzmPaths::kLockFile).parent_path());
    WriteText(string(KzmPaths::kDeviceFolder) + "/Logger.conf",
              "CheckInstall=/bin/true\nServiceStop=/bin/true\nServiceStart=/bin/true\n");
    WriteText(KzmPaths::kAgentConfig, "# Log monitoring agent\n"
                                      "LogLevel=3\n"
                                      "SyslogOutput=True\n"
                                      "InformationAlert=False\n"
                                      "WarningAlert=True\n"
                                      "ObstacleAlert=True\n");
    WriteText(KzmPaths::kAlertConfig, AlertConfig(fileSystems));
    laidOut = fileSystems;
}

void CBenchHost::Prepare(std::size_t fileSystems) {
    if (hasRealMounts || laidOut == fileSystems) {
        return;
    }
    fs::remove_all(kRoot);
    LayOut(fileSystems);
    LinkMountCommand(PRINT_MOUNTS_PROGRAM);
    WriteText(string(kRoot) + "/bin/mount.output", MountTable(fileSystems));
}

bool CBenchHost::PrepareRealMounts(std::size_t fileSystems) {
    fs::remove_all(kRoot);
    LayOut(fileSystems);
    LinkMountCommand("/bin/mount");
    if (unshare(CLONE_NEWNS) != 0 ||
        mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return false;
    }
    for (std::size_t number = 0; number < fileSystems; ++number) {
        const string point = MountPoint(number);
        fs::create_directories(point);
        if (mount("tmpfs", point.c_str(), "tmpfs", 0, "size=4k") != 0) {
            return false;
        }
    }
    hasRealMounts = true;
    return true;
}
