#include "loggerctl/output/CLineDifference.h"

#include <cstddef>
#include <unordered_map>

namespace {

// The lines of one text between its common beginning and end with the other one, each as a number:
// equal lines have equal numbers.
using Numbers = std::vector<int>;

// For every diagonal (old position minus new position) the old position that was reached on it.
class CReach {
public:
    explicit CReach(int most)
        : m_offset(most + 1),
          m_positions(2 * static_cast<std::size_t>(most) + 3, 0) {}

    int& At(int diagonal) { return m_positions[Index(diagonal)]; }
    [[nodiscard]] int At(int diagonal) const { return m_positions[Index(diagonal)]; }

    // True when the way with one difference more comes to this diagonal by adding a line.
    [[nodiscard]] bool ComesByAdding(int diagonal, int differences) const {
        return diagonal == -differences ||
               (diagonal != differences && At(diagonal - 1) < At(diagonal + 1));
    }

    [[nodiscard]] CReach Copy(int most) const {
        CReach copy(most);
        for (int diagonal = -most - 1; diagonal <= most + 1; ++diagonal) {
            copy.At(diagonal) = At(diagonal);
        }
        return copy;
    }

private:
    [[nodiscard]] std::size_t Index(int diagonal) const {
        const int index = diagonal + m_offset;
        return static_cast<std::size_t>(index);
    }

    int m_offset;
    std::vector<int> m_positions;
};

// The greedy search of Myers, "An O(ND) Difference Algorithm and Its Variations" (1986): with 0, 1,
// 2 ... differences, how far does one come on each diagonal?
class CSearch {
public:
    CSearch(const Numbers& oldNumbers, const Numbers& newNumbers)
        : m_old(oldNumbers),
          m_new(newNumbers) {}

    // False when there are too many differences.
    bool Run() {
        CReach reach(CLineDifference::kMaximum);
        for (int differences = 0; differences <= CLineDifference::kMaximum; ++differences) {
            m_before.push_back(reach.Copy(differences));
            if (Step(differences, &reach)) {
                return true;
            }
        }
        return false;
    }

    // After a successful run: marks the lines, whose texts begin at the given line.
    void Mark(std::size_t begin, CLineDifference* difference) const {
        int oldPosition = static_cast<int>(m_old.size());
        int newPosition = static_cast<int>(m_new.size());
        for (int differences = static_cast<int>(m_before.size()) - 1; differences > 0;
             --differences) {
            const CReach& reach = m_before[static_cast<std::size_t>(differences)];
            const int diagonal = oldPosition - newPosition;
            const bool added = reach.ComesByAdding(diagonal, differences);
            const int previous = added ? diagonal + 1 : diagonal - 1;
            oldPosition = reach.At(previous);
            newPosition = oldPosition - previous;
            if (added) {
                difference->m_added[begin + static_cast<std::size_t>(newPosition)] = true;
            } else {
                difference->m_removed[begin + static_cast<std::size_t>(oldPosition)] = true;
            }
        }
    }

private:
    // True when the end of both texts is reached.
    bool Step(int differences, CReach* reach) const {
        const int oldSize = static_cast<int>(m_old.size());
        const int newSize = static_cast<int>(m_new.size());
        for (int diagonal = -differences; diagonal <= differences; diagonal += 2) {
            const bool added = reach->ComesByAdding(diagonal, differences);
            int oldPosition = added ? reach->At(diagonal + 1) : reach->At(diagonal - 1) + 1;
            while (IsEqual(oldPosition, oldPosition - diagonal)) {
                ++oldPosition;
            }
            reach->At(diagonal) = oldPosition;
            if (oldPosition >= oldSize && oldPosition - diagonal >= newSize) {
                return true;
            }
        }
        return false;
    }

    [[nodiscard]] bool IsEqual(int oldPosition, int newPosition) const {
        return oldPosition < static_cast<int>(m_old.size()) &&
               newPosition < static_cast<int>(m_new.size()) &&
               m_old[static_cast<std::size_t>(oldPosition)] ==
                   m_new[static_cast<std::size_t>(newPosition)];
    }

    const Numbers& m_old;
    const Numbers& m_new;
    std::vector<CReach> m_before; // by the number of differences
};

using Lines = CLineDifference::Lines;

std::size_t CommonBeginning(const Lines& oldLines, const Lines& newLines) {
    std::size_t count = 0;
    while (count < oldLines.size() && count < newLines.size() &&
           oldLines[count] == newLines[count]) {
        ++count;
    }
    return count;
}

// Of what stands behind the common beginning.
std::size_t CommonEnd(const Lines& oldLines, const Lines& newLines, std::size_t begin) {
    std::size_t count = 0;
    while (begin + count < oldLines.size() && begin + count < newLines.size() &&
           oldLines[oldLines.size() - 1 - count] == newLines[newLines.size() - 1 - count]) {
        ++count;
    }
    return count;
}

} // namespace

CLineDifference CLineDifference::Find(const Lines& oldLines, const Lines& newLines) {
    const std::size_t begin = CommonBeginning(oldLines, newLines);
    const std::size_t end = CommonEnd(oldLines, newLines, begin);
    std::unordered_map<std::string, int> known;
    const auto number = [&](const Lines& lines) {
        Numbers numbers;
        for (std::size_t i = begin; i < lines.size() - end; ++i) {
            numbers.push_back(
                known.emplace(lines[i], static_cast<int>(known.size())).first->second);
        }
        return numbers;
    };
    const Numbers oldNumbers = number(oldLines);
    const Numbers newNumbers = number(newLines);
    CLineDifference difference;
    difference.m_removed.resize(oldLines.size(), false);
    difference.m_added.resize(newLines.size(), false);
    CSearch search(oldNumbers, newNumbers);
    if (search.Run()) {
        search.Mark(begin, &difference);
        return difference;
    }
    for (std::size_t i = 0; i < oldNumbers.size(); ++i) {
        difference.m_removed[begin + i] = true;
    }
    for (std::size_t i = 0; i < newNumbers.size(); ++i) {
        difference.m_added[begin + i] = true;
    }
    return difference;
}
