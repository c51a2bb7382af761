#pragma once

#include "KzmPaths.h"
#include "history/CDurableFile.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

// The contents of the agent's two settings files at one time.
class CSettingsCopy {
public:
    static constexpr std::array<const char*, 2> kPaths{KzmPaths::kAgentConfig,
                                                       KzmPaths::kAlertConfig};
    using Files = std::array<CFileImage, kPaths.size()>; // in the order of kPaths

    // "agent.cfg", "alert.cfg": the last part of a path.
    static std::string Name(std::size_t index);

    // A file that does not exist is an error, or an empty file of the running user's with
    // m_bMissing set.
    enum class Missing { Refuse, Allow };

    // The files as they are; symbolic links in their place are followed. Nothing comes back, and
    // *error is a sentence that is safe to print, when a file cannot be read.
    static std::optional<CSettingsCopy> OfNow(Missing missing, std::string* error);

    // The names of the files that are not the same in both, as CFileImage::IsSame says.
    [[nodiscard]] std::vector<std::string> DifferentNames(const CSettingsCopy& other) const;

    // The names of the files that were missing.
    [[nodiscard]] std::vector<std::string> MissingNames() const;

    Files m_files;
};
