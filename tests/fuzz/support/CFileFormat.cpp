#include "tests/fuzz/support/CFileFormat.h"

#include "tests/fuzz/support/CProperty.h"

using std::string;

std::optional<string::size_type> CFileFormat::ValueBegin(const string& line, std::string_view key) {
    const string::size_type position = line.find(key);
    if (position == string::npos) {
        return std::nullopt;
    }
    const string::size_type equals = line.find('=', position);
    if (line.find_first_of("#=") < position || equals == string::npos) {
        return std::nullopt;
    }
    return equals + 1;
}

void CEditedLine::Require(const EditedLines& wanted, const std::list<string>& found) {
    CProperty::Require(wanted.size() == found.size(),
                       "an edit leaves the lines that it must leave");
    for (const bool owned : {false, true}) {
        auto line = found.begin();
        for (const CEditedLine& edited : wanted) {
            if (edited.m_bOwned == owned) {
                CProperty::RequireEqual(edited.m_sText, *line,
                                        owned ? "an owned line is written as documented"
                                              : "a line that is not owned stays byte for byte");
            }
            ++line;
        }
    }
}
