#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

// Finds the rows of a list of file systems by name, as a search from the list's beginning would,
// without walking it: of several rows of one name the first is found.
//
// Row is CLoggerFsThresholdConf, const or not. An index belongs to one operation and points into
// the list: rows that were added must keep their place and their name as long as it is used.
//
// With very many rows what counts is how many places in memory a search has to look at. Names are
// mostly asked for in the list's order: then it is the row behind the last one that was found.
// Otherwise it is one small slot of a hash table, in most cases, and then the row.
template <class Row>
class CVolumeIndex {
public:
    // Of an empty list.
    CVolumeIndex() = default;

    // Of all rows of the list.
    template <class List>
    explicit CVolumeIndex(List& list) {
        Reserve(list.size());
        for (Row& row : list) {
            Add(&row);
        }
    }

    // Takes up a row that was appended to the list. False when there is one of its name already;
    // that one goes on being found.
    bool Add(Row* row) {
        Reserve(m_rows.size() + 1);
        const std::uint32_t hash = HashOf(row->m_sVolumeName);
        Slot& slot = m_slots[PlaceOf(row->m_sVolumeName, hash)];
        if (slot.m_uiNumber != kFree) {
            return false;
        }
        m_rows.push_back(row);
        slot = {hash, static_cast<std::uint32_t>(m_rows.size())};
        return true;
    }

    // Null when the list has no row of exactly this name.
    [[nodiscard]] Row* Find(std::string_view name) {
        if (m_rows.empty()) {
            return nullptr;
        }
        if (m_uiNext == m_rows.size() || m_rows[m_uiNext]->m_sVolumeName != name) {
            const Slot& slot = m_slots[PlaceOf(name, HashOf(name))];
            if (slot.m_uiNumber == kFree) {
                return nullptr;
            }
            m_uiNext = slot.m_uiNumber - 1;
        }
        return m_rows[m_uiNext++];
    }

private:
    static constexpr std::uint32_t kFree = 0;
    struct Slot {
        std::uint32_t m_uiHash = 0;
        std::uint32_t m_uiNumber = kFree; // of the row, the first is 1
    };

    static std::uint32_t HashOf(std::string_view name) {
        return static_cast<std::uint32_t>(std::hash<std::string_view>()(name));
    }

    [[nodiscard]] Row* RowOf(const Slot& slot) const { return m_rows[slot.m_uiNumber - 1]; }

    // The slot of the row of this name, or the free one that it would take: the first from where
    // its hash points to. At least half of the slots are free.
    [[nodiscard]] std::size_t PlaceOf(std::string_view name, std::uint32_t hash) const {
        std::size_t place = Wrap(hash);
        while (m_slots[place].m_uiNumber != kFree &&
               (m_slots[place].m_uiHash != hash || RowOf(m_slots[place])->m_sVolumeName != name)) {
            place = Wrap(place + 1);
        }
        return place;
    }

    [[nodiscard]] std::size_t Wrap(std::size_t place) const {
        return place & (m_slots.size() - 1); // the size is a power of two
    }

    // Makes room for this number of rows.
    void Reserve(std::size_t rows) {
        std::size_t size = m_slots.empty() ? kFirstSize : m_slots.size();
        while (size < 2 * rows) {
            size *= 2;
        }
        if (size == m_slots.size()) {
            return;
        }
        std::vector<Slot> old(size);
        old.swap(m_slots);
        for (const Slot& slot : old) {
            if (slot.m_uiNumber != kFree) {
                m_slots[PlaceOf(RowOf(slot)->m_sVolumeName, slot.m_uiHash)] = slot;
            }
        }
    }

    static constexpr std::size_t kFirstSize = 64;
    std::vector<Slot> m_slots;
    std::vector<Row*> m_rows;   // the first of each name
    std::uint32_t m_uiNext = 0; // the place behind the row that was found last
};
