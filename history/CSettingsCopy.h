#pragma once

#include "KzmPaths.h"
#include "history/DurableFile.h"
#include "history/Expected.h"

#include <array>
#include <string>
#include <vector>

namespace history {

// The contents of the agent's two settings files at one time.
class CSettingsCopy {
public:
    static constexpr std::array<const char*, 2> kPaths{KzmPaths::kAgentConfig,
                                                       KzmPaths::kAlertConfig};
    using Files = std::array<CFileImage, kPaths.size()>; // in the order of kPaths

    // "agent.cfg", "alert.cfg": the last part of a path.
    static std::string Name(std::size_t index);

    // A file that does not exist is a problem, or has m_missing set.
    enum class Missing { Refuse, Allow };

    // The files as they are; symbolic links in their place are followed. A problem comes back when
    // a file cannot be read.
    static Expected<CSettingsCopy> OfNow(Missing missing);

    // The names of the files that are not the same in both, as CFileImage::IsSame says.
    [[nodiscard]] std::vector<std::string> DifferentNames(const CSettingsCopy& other) const;

    // The names of the files that were missing.
    [[nodiscard]] std::vector<std::string> MissingNames() const;

    // Whether the same files are missing and the others hold the same texts, byte for byte,
    // whatever their owners and modes.
    [[nodiscard]] bool HasSameTexts(const CSettingsCopy& other) const;

    Files m_files;
};

} // namespace history
