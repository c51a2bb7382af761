#pragma once

#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

// Finds the rows of a list of file systems by name, as a search from the list's beginning would,
// without walking it: of several rows of one name the first is found.
//
// Row is CLoggerFsThresholdConf, const or not. An index belongs to one operation and points into
// the list: rows that were added must keep their place and their name as long as it is used.
//
// A hash table without nodes: with very many rows what counts is how many places in memory a search
// has to look at, and here it is one, in most cases.
template <class Row>
class CVolumeIndex {
public:
    // Of an empty list.
    CVolumeIndex() = default;

    // Of all rows of the list.
    template <class List>
    explicit CVolumeIndex(List& list) {
        for (Row& row : list) {
            Add(&row);
        }
    }

    // Takes up a row that was appended to the list. False when there is one of its name already;
    // that one goes on being found.
    bool Add(Row* row) {
        if (2 * (m_count + 1) > m_slots.size()) {
            Grow();
        }
        const std::size_t hash = HashOf(row->m_sVolumeName);
        Slot& slot = m_slots[PlaceOf(row->m_sVolumeName, hash)];
        if (slot.m_pRow != nullptr) {
            return false;
        }
        slot = {hash, row};
        ++m_count;
        return true;
    }

    // Null when the list has no row of exactly this name.
    [[nodiscard]] Row* Find(std::string_view name) const {
        return m_slots.empty() ? nullptr : m_slots[PlaceOf(name, HashOf(name))].m_pRow;
    }

private:
    struct Slot {
        std::size_t m_hash = 0;
        Row* m_pRow = nullptr; // null: the slot is free
    };

    static std::size_t HashOf(std::string_view name) { return std::hash<std::string_view>()(name); }

    // The slot of the row of this name, or the free one that it would take: the first from where
    // its hash points to. At least half of the slots are free.
    [[nodiscard]] std::size_t PlaceOf(std::string_view name, std::size_t hash) const {
        std::size_t place = Wrap(hash);
        while (m_slots[place].m_pRow != nullptr &&
               (m_slots[place].m_hash != hash || m_slots[place].m_pRow->m_sVolumeName != name)) {
            place = Wrap(place + 1);
        }
        return place;
    }

    [[nodiscard]] std::size_t Wrap(std::size_t place) const {
        return place & (m_slots.size() - 1); // the size is a power of two
    }

    void Grow() {
        std::vector<Slot> old(m_slots.empty() ? kFirstSize : 2 * m_slots.size());
        old.swap(m_slots);
        for (const Slot& slot : old) {
            if (slot.m_pRow != nullptr) {
                m_slots[PlaceOf(slot.m_pRow->m_sVolumeName, slot.m_hash)] = slot;
            }
        }
    }

    static constexpr std::size_t kFirstSize = 64;
    std::vector<Slot> m_slots;
    std::size_t m_count = 0;
};
