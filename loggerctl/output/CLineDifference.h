#pragma once

#include <string>
#include <vector>

// Which lines have to be taken out of an old text, and which put in, to come to a new one.
struct CLineDifference {
    using Lines = std::vector<std::string>;

    std::vector<bool> m_removed; // one for each old line
    std::vector<bool> m_added;   // one for each new line

    // The fewest lines possible, as long as no more than kMaximum lines differ between the first
    // difference and the last. Beyond that everything between these two counts as different, so
    // that time and memory stay bounded.
    static CLineDifference Find(const Lines& oldLines, const Lines& newLines);

    static constexpr int kMaximum = 1000;
};
