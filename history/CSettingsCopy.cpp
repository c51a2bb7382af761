#include "history/CSettingsCopy.h"

#include "loggerctl/agent/CFileProblem.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

namespace {

CFileImage NoFile() {
    CFileImage image;
    image.m_owner = geteuid();
    image.m_group = getegid();
    image.m_modified.tv_sec = std::time(nullptr);
    image.m_bMissing = true;
    return image;
}

bool ReadNow(const std::string& path, CSettingsCopy::Missing missing, CFileImage* image,
             std::string* error) {
    const int number = CDurableFile::Read(AT_FDCWD, path, CDurableFile::Links::Follow, image);
    if (number == ENOENT && missing == CSettingsCopy::Missing::Allow) {
        *image = NoFile();
        return true;
    }
    if (number != 0) {
        const std::string known = CFileProblem::Reading(path);
        *error = known.empty() ? CFileProblem::Refused(path, "read", number) : known;
    }
    return number == 0;
}

} // namespace

std::string CSettingsCopy::Name(std::size_t index) {
    return std::filesystem::path(kPaths[index]).filename().string();
}

std::optional<CSettingsCopy> CSettingsCopy::OfNow(Missing missing, std::string* error) {
    CSettingsCopy copy;
    for (std::size_t i = 0; i < kPaths.size(); ++i) {
        if (!ReadNow(kPaths[i], missing, &copy.m_files[i], error)) {
            return std::nullopt;
        }
    }
    return copy;
}

std::vector<std::string> CSettingsCopy::DifferentNames(const CSettingsCopy& other) const {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < kPaths.size(); ++i) {
        if (!m_files[i].IsSame(other.m_files[i])) {
            names.push_back(Name(i));
        }
    }
    return names;
}

std::vector<std::string> CSettingsCopy::MissingNames() const {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < kPaths.size(); ++i) {
        if (m_files[i].m_bMissing) {
            names.push_back(Name(i));
        }
    }
    return names;
}
