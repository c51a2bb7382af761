#pragma once

#include <string_view>
#include <unordered_map>

// Finds the rows of a list of file systems by name, as a search from the list's beginning would,
// without walking it: of several rows of one name the first is found.
//
// Row is CLoggerFsThresholdConf, const or not. An index belongs to one operation and points into
// the list: rows that were added must keep their place and their name as long as it is used.
template <class Row>
class CVolumeIndex {
public:
    // Of an empty list.
    CVolumeIndex() = default;

    // Of all rows of the list.
    template <class List>
    explicit CVolumeIndex(List& list) {
        m_rows.reserve(list.size());
        for (Row& row : list) {
            Add(&row);
        }
    }

    // Takes up a row that was appended to the list.
    void Add(Row* row) { m_rows.emplace(row->m_sVolumeName, row); }

    // Null when the list has no row of exactly this name.
    [[nodiscard]] Row* Find(std::string_view name) const {
        const auto found = m_rows.find(name);
        return found == m_rows.end() ? nullptr : found->second;
    }

private:
    std::unordered_map<std::string_view, Row*> m_rows;
};
