#include "tests/system/loggerctl/SampleHistory.h"

#include "KzmPaths.h"
#include "tests/support/CTestRoot.h"

#include <algorithm>
#include <filesystem>
#include <regex>

namespace fs = std::filesystem;

std::string SampleHistory::Path(const std::string& name) {
    return std::string(KzmPaths::kHistoryFolder) + "/" + name;
}

void SampleHistory::MakeFolder() {
    fs::create_directories(KzmPaths::kHistoryFolder);
    fs::permissions(KzmPaths::kHistoryFolder, fs::perms::owner_all);
}

void SampleHistory::Add(const std::string& id, const std::string& reason,
                        const std::string& agentConfig, const std::string& alertConfig) {
    MakeFolder();
    fs::create_directory(Path(id));
    WriteFile(Path(id + "/reason"), reason + "\n");
    WriteFile(Path(id + "/agent.cfg"), agentConfig);
    WriteFile(Path(id + "/alert.cfg"), alertConfig);
}

std::vector<std::string> SampleHistory::Names() {
    std::vector<std::string> names;
    if (fs::exists(KzmPaths::kHistoryFolder)) {
        for (const fs::directory_entry& entry : fs::directory_iterator(KzmPaths::kHistoryFolder)) {
            names.push_back(entry.path().filename().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string SampleHistory::WithoutNewIds(std::string text) {
    const std::string others =
        std::string("(?!") + kOlder + "|" + kNewer + ")[0-9]{8}-[0-9]{6}-[0-9]{3}";
    return std::regex_replace(text, std::regex(others), "NEWID");
}
