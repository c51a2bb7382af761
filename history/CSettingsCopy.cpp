#include "history/CSettingsCopy.h"

#include <fcntl.h>

#include <cerrno>
#include <filesystem>

namespace history {

namespace {

CProblem ReadingProblem(const std::string& path, int number) {
    if (number == ENOENT) {
        return {path + ": does not exist. Install the agent, or put the file back.", number};
    }
    if (number == EISDIR) {
        return {path + ": is a directory. Put the agent's file in its place.", number};
    }
    return Refused(path, "read", number);
}

} // namespace

std::string CSettingsCopy::Name(std::size_t index) {
    return std::filesystem::path(kPaths[index]).filename().string();
}

Expected<CSettingsCopy> CSettingsCopy::OfNow(Missing missing) {
    CSettingsCopy copy;
    for (std::size_t i = 0; i < kPaths.size(); ++i) {
        const int number = ReadImage(AT_FDCWD, kPaths[i], Links::Follow, &copy.m_files[i]);
        if (number == ENOENT && missing == Missing::Allow) {
            copy.m_files[i].m_missing = true;
        } else if (number != 0) {
            return tl::make_unexpected(ReadingProblem(kPaths[i], number));
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
        if (m_files[i].m_missing) {
            names.push_back(Name(i));
        }
    }
    return names;
}

bool CSettingsCopy::HasSameTexts(const CSettingsCopy& other) const {
    for (std::size_t i = 0; i < kPaths.size(); ++i) {
        if (m_files[i].m_missing != other.m_files[i].m_missing ||
            m_files[i].m_text != other.m_files[i].m_text) {
            return false;
        }
    }
    return true;
}

} // namespace history
