#include "tests/support/Descriptors.h"

#include <filesystem>

namespace fs = std::filesystem;

std::set<std::pair<std::string, std::string>> Descriptors() {
    std::set<std::pair<std::string, std::string>> descriptors;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code ownEnumeration;
        const std::string file = fs::read_symlink(entry.path(), ownEnumeration);
        if (file.find("/proc/") != 0) {
            descriptors.emplace(entry.path().filename(), file);
        }
    }
    return descriptors;
}
