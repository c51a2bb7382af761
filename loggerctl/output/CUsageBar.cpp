#include "loggerctl/output/CUsageBar.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr int kCells = 20;
constexpr int kFull = 100;
constexpr int kNear = 90; // percent of the threshold that are worth a warning
constexpr std::size_t kPercentWidth = 3;

struct Marks {
    const char* m_pUsed;
    const char* m_pFree;
    const char* m_pThreshold;
};
constexpr Marks kUtf8Marks{"█", "░", "│"};
constexpr Marks kAsciiMarks{"#", ".", "|"};

bool IsThreshold(int threshold) {
    return threshold > 0 && threshold <= kFull;
}

std::string Bar(int percent, int threshold, const Marks& marks) {
    const int used = std::min(kCells, (percent * kCells + kFull / 2) / kFull);
    const int marked =
        IsThreshold(threshold) ? std::min(kCells - 1, threshold * kCells / kFull) : kCells;
    std::string bar;
    for (int cell = 0; cell < kCells; ++cell) {
        const char* plain = cell < used ? marks.m_pUsed : marks.m_pFree;
        bar += cell == marked ? marks.m_pThreshold : plain;
    }
    return bar;
}

TextStyle Style(int percent, int threshold, bool monitored) {
    if (!monitored) {
        return TextStyle::Dim;
    }
    if (percent >= threshold) {
        return TextStyle::Bad;
    }
    const bool near = std::int64_t{percent} * kFull >= std::int64_t{threshold} * kNear;
    return near ? TextStyle::Warning : TextStyle::Good;
}

} // namespace

CTable::Cell CUsageBar::Cell(int percent, int threshold, bool monitored, bool utf8) {
    std::string number = std::to_string(percent);
    number.insert(0, kPercentWidth - std::min(kPercentWidth, number.size()), ' ');
    std::string text =
        Bar(percent, threshold, utf8 ? kUtf8Marks : kAsciiMarks) + " " + number + " %";
    if (monitored && percent >= threshold) {
        text += " over";
    }
    return {text, Style(percent, threshold, monitored)};
}
