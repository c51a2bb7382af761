#include "loggerctl/record/Suggestion.h"

#include "loggerctl/output/SafeText.h"

#include <algorithm>
#include <numeric>

namespace record {

namespace {

// Nobody mistypes a longer word, and the search takes the square of its length.
constexpr std::size_t kLongestWord = 256;

std::size_t EditDistance(const std::string& from, const std::string& to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t replaced = diagonal + (from[i - 1] == to[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
        }
    }
    return row.back();
}

std::ptrdiff_t CommonBeginning(const std::string& left, const std::string& right) {
    return std::mismatch(left.begin(), left.end(), right.begin(), right.end()).first - left.begin();
}

// No two texts are closer to each other than their lengths are.
std::size_t LengthDifference(const std::string& left, const std::string& right) {
    return std::max(left.size(), right.size()) - std::min(left.size(), right.size());
}

// A third of the letters may be wrong, but one always.
std::size_t GreatestDistance(const std::string& word) {
    return std::max<std::size_t>(1, word.size() / 3);
}

} // namespace

std::string Nearest(const std::string& word, const std::vector<std::string>& candidates) {
    std::string nearest;
    if (word.size() > kLongestWord) {
        return nearest;
    }
    std::size_t least = GreatestDistance(word) + 1;
    for (const std::string& candidate : candidates) {
        if (LengthDifference(word, candidate) > least) {
            continue;
        }
        const std::size_t distance = EditDistance(word, candidate);
        const bool tie = distance == least && !nearest.empty();
        if (distance < least ||
            (tie && CommonBeginning(word, candidate) > CommonBeginning(word, nearest))) {
            least = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

std::string Question(const std::string& word, const std::vector<std::string>& candidates) {
    const std::string nearest = Nearest(word, candidates);
    return nearest.empty() ? "" : " Did you mean '" + output::Escape(nearest) + "'?";
}

} // namespace record
