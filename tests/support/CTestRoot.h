#pragma once

#include <string>
#include <vector>

// The host's files as the code under test sees them: a fresh tree below KZM_ROOT, emptied when the
// object is made. It begins with the folders that the product's installation makes, good settings
// files, a mount command that prints three file systems, and a device description whose commands
// record themselves and succeed.
class CTestRoot {
public:
    CTestRoot();

    // An absolute product path, below the root of this build.
    static std::string Path(const std::string& productPath);

    void SetAgentConfig(const std::string& text) const;
    void SetAlertConfig(const std::string& text) const;

    // What the mount command prints, byte for byte; or no mount command at all.
    void SetMountOutput(const std::string& text) const;
    void RemoveMountCommand() const;

    // The exit statuses of the vendor commands, by their order of use on one line:
    // CheckInstall, ServiceStop, ServiceStart. Each call appends its name to the record.
    void SetVendorAnswers(int checkInstall, int serviceStop, int serviceStart) const;
    void RemoveDeviceDescription() const;
    // The names of the vendor commands run so far, in order.
    [[nodiscard]] std::vector<std::string> VendorCalls() const;

    // The three file systems that the mount command prints at first, in order.
    static const char* const kMountOutput;
    // The settings files at first: all switches mixed, /home monitored at 90, /data not, at 75.
    static const char* const kAgentConfig;
    static const char* const kAlertConfig;
};

// The whole file; fails the running test when it cannot be read.
std::string ReadFile(const std::string& path);
// Replaces or makes the file; fails the running test when it cannot be written.
void WriteFile(const std::string& path, const std::string& text);
// Puts an empty folder in the place of the file.
void ReplaceWithFolder(const std::string& path);
// A text that is none: 100 KB of all bytes, without any key.
std::string BinaryText();
