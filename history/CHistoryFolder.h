#pragma once

#include "history/CDescriptor.h"

#include <optional>
#include <string>
#include <vector>

// The folder that holds the history, opened, found safe, and locked against other users of the
// history until the object goes. Nothing in it is ever reached through a symbolic link.
class CHistoryFolder {
public:
    enum class Absent { Make, Allow };

    // Opens it; where it is missing it is made (mode 0700, missing parents 0755) or, with Allow,
    // stands for an empty folder. Nothing comes back when it cannot be opened or made or is not
    // safe: no folder, owned by neither root nor the running user, or writable by others. *error is
    // then a sentence that is safe to print.
    static std::optional<CHistoryFolder> Open(Absent absent, std::string* error);

    // False for the folder that does not exist.
    [[nodiscard]] bool Exists() const { return m_folder.IsOpen(); }
    [[nodiscard]] int Get() const { return m_folder.Get(); }

    // The names of everything in it, in ascending order.
    [[nodiscard]] std::vector<std::string> Names() const;

    // Opens a folder in it; not open when there is no folder of this name.
    [[nodiscard]] CDescriptor OpenEntry(const std::string& name) const;

    // Removes a folder of this name with the given files in it. It stays where it holds others.
    void RemoveEntry(const std::string& name, const std::vector<std::string>& files) const;

private:
    explicit CHistoryFolder(CDescriptor folder);

    CDescriptor m_folder;
};
