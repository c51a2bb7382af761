#pragma once

#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The rules that both settings files have in common, stated plainly and apart from the product.
class CFileFormat {
public:
    // Where the value begins that the line gives the key, behind its "="; nothing when it gives
    // none. Neither a "#" nor another "=" may stand in front of the key's first occurrence.
    static std::optional<std::string::size_type> ValueBegin(const std::string& line,
                                                            std::string_view key);

    static const char* Word(bool value) { return value ? "True" : "False"; }
};

// A line after an edit, as it must be.
struct CEditedLine {
    std::string m_sText;
    bool m_bOwned; // the edit may change it

    // States that the lines are these: those that are not owned first.
    static void Require(const std::vector<CEditedLine>& wanted,
                        const std::list<std::string>& found);
};
using EditedLines = std::vector<CEditedLine>;
