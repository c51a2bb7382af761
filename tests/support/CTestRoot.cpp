#include "tests/support/CTestRoot.h"

#include "KzmPaths.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

const char* const CTestRoot::kMountOutput = "/dev/sda1 on / type ext4 (rw,relatime)\n"
                                            "/dev/sda2 on /home type ext4 (rw)\n"
                                            "/dev/sdb1 on /data type xfs (rw,noatime)\n";

const char* const CTestRoot::kAgentConfig = "# Log monitoring agent\n"
                                            "LogLevel=3\n"
                                            "\n"
                                            "SyslogOutput=True\n"
                                            "InformationAlert = False\n"
                                            "WarningAlert=True  # for the night shift\n"
                                            "ObstacleAlert=True\n";

const char* const CTestRoot::kAlertConfig = "# Usage monitoring\n"
                                            "CPU=(True, 60, 5, 90)\n"
                                            "MEMORY=(False, 30, 3, 85)\n"
                                            "\n"
                                            "FILESYSTEM=(True, 300, 2)\n"
                                            "FSNAME=\"/home\"   (90)\n"
                                            "#KZM# \tFSNAME=\"/data\"   (75)\n"
                                            "Retention=14\n";

namespace {

const char kVendorScript[] = "/opt/veltaro/agent/vendor-command";
const char kVendorRecord[] = "/opt/veltaro/agent/vendor-calls";
const char kMountScript[] = "/bin/mount";
const char kMountText[] = "/bin/mount.output";

std::string DeviceDescription() {
    return std::string(KzmPaths::kDeviceFolder) + "/Logger.conf";
}

void WriteScript(const std::string& path, const std::string& text) {
    WriteFile(path, text);
    fs::permissions(path, fs::perms(0755));
}

} // namespace

CTestRoot::CTestRoot() {
    umask(022);
    fs::create_directories(Path(""));
    for (const fs::directory_entry& entry : fs::directory_iterator(Path(""))) {
        fs::remove_all(entry); // the root itself may be a mount point
    }
    for (const char* folder :
         {"/bin", "/etc/opt/veltaro/ardenvale", "/opt/veltaro/agent",
          "/opt/veltaro/kzm/provider/device", "/opt/veltaro/kzm/provider/tmp/Logger",
          "/var/opt/veltaro/kzm/logger"}) {
        fs::create_directories(Path(folder));
    }
    SetAgentConfig(kAgentConfig);
    SetAlertConfig(kAlertConfig);
    SetMountOutput(kMountOutput);
    SetVendorAnswers(0, 0, 0);
}

std::string CTestRoot::Path(const std::string& productPath) {
    return KZM_TEST_ROOT + productPath;
}

void CTestRoot::SetAgentConfig(const std::string& text) const {
    WriteFile(KzmPaths::kAgentConfig, text);
}

void CTestRoot::SetAlertConfig(const std::string& text) const {
    WriteFile(KzmPaths::kAlertConfig, text);
}

void CTestRoot::SetMountOutput(const std::string& text) const {
    WriteFile(Path(kMountText), text);
    WriteScript(Path(kMountScript), "#!/bin/sh\nexec /bin/cat " + Path(kMountText) + "\n");
}

void CTestRoot::RemoveMountCommand() const {
    fs::remove(Path(kMountScript));
}

void CTestRoot::SetVendorAnswers(int checkInstall, int serviceStop, int serviceStart) const {
    WriteScript(Path(kVendorScript),
                "#!/bin/sh\necho \"$1\" >> " + Path(kVendorRecord) + "\nexit \"$2\"\n");
    const auto line = [](const char* name, int answer) {
        return std::string(name) + "=" + Path(kVendorScript) + " " + name + " " +
               std::to_string(answer) + "\n";
    };
    WriteFile(DeviceDescription(), line("CheckInstall", checkInstall) +
                                       line("ServiceStop", serviceStop) +
                                       line("ServiceStart", serviceStart));
}

void CTestRoot::RemoveDeviceDescription() const {
    fs::remove(DeviceDescription());
}

std::vector<std::string> CTestRoot::VendorCalls() const {
    std::vector<std::string> calls;
    std::ifstream record(Path(kVendorRecord));
    std::string line;
    while (std::getline(record, line)) {
        calls.push_back(line);
    }
    return calls;
}

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path << " cannot be read";
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void WriteFile(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    EXPECT_FALSE(file.fail()) << path << " cannot be written";
}

void ReplaceWithFolder(const std::string& path) {
    fs::remove(path);
    fs::create_directory(path);
}

std::string BinaryText() {
    constexpr int kSize = 100000;
    std::string text;
    for (int i = 0; i < kSize; ++i) {
        text.push_back(static_cast<char>((i * 7919) >> 3));
    }
    return text;
}
