#include "loggerctl/output/UnifiedDiff.h"

#include "loggerctl/output/SafeText.h"

#include <dtl/dtl.hpp>

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace output {

namespace {

using Lines = std::vector<std::string_view>;
using Numbers = std::vector<int>; // one for each line: equal lines have equal numbers

constexpr std::size_t kContext = 3;
constexpr std::string_view kNoNewline = "\\ No newline at end of file\n";

// What the search may cost. Two lines that differ cost memory, too.
constexpr std::int64_t kMostWork = 100'000'000;
constexpr std::int64_t kWorkOfEqual = 1;
constexpr std::int64_t kWorkOfDifferent = 200;

// Each with its line end, which the last one may lack.
Lines Split(std::string_view text) {
    Lines lines;
    while (!text.empty()) {
        const std::size_t length = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.push_back(text.substr(0, length));
        text.remove_prefix(length);
    }
    return lines;
}

// ---- Which lines differ ----

// Lines of both texts that stand in each other's place, from a begin up to an end.
struct CChange {
    std::size_t m_oldBegin = 0;
    std::size_t m_oldEnd = 0;
    std::size_t m_newBegin = 0;
    std::size_t m_newEnd = 0;
};
using Changes = std::vector<CChange>;

// Compares until the work is used up. From then on everything is equal, which ends a search at
// once, with a result that means nothing.
class CBoundedCompare {
public:
    explicit CBoundedCompare(std::int64_t* workLeft) : m_workLeft(workLeft) {}

    // The name that the search calls it by.
    [[nodiscard]] bool impl(int first, int second) const {
        if (*m_workLeft <= 0) {
            return true;
        }
        *m_workLeft -= first == second ? kWorkOfEqual : kWorkOfDifferent;
        return first == second;
    }

private:
    std::int64_t* m_workLeft;
};

// The lines between the common beginning and the common end.
CChange WholeChange(const Lines& oldLines, const Lines& newLines) {
    const auto begin =
        std::mismatch(oldLines.begin(), oldLines.end(), newLines.begin(), newLines.end());
    const auto end = std::mismatch(oldLines.rbegin(), std::make_reverse_iterator(begin.first),
                                   newLines.rbegin(), std::make_reverse_iterator(begin.second));
    return {static_cast<std::size_t>(begin.first - oldLines.begin()),
            static_cast<std::size_t>(end.first.base() - oldLines.begin()),
            static_cast<std::size_t>(begin.second - newLines.begin()),
            static_cast<std::size_t>(end.second.base() - newLines.begin())};
}

using Known = std::unordered_map<std::string_view, int>;

Numbers Number(const Lines& lines, std::size_t begin, std::size_t end, Known* known) {
    Numbers numbers;
    for (std::size_t i = begin; i < end; ++i) {
        numbers.push_back(known->emplace(lines[i], static_cast<int>(known->size())).first->second);
    }
    return numbers;
}

// The places where lines go, come, or both, in order.
template <class Script>
Changes ToChanges(const Script& script, const CChange& whole) {
    Changes changes;
    std::size_t oldLine = whole.m_oldBegin;
    std::size_t newLine = whole.m_newBegin;
    bool changing = false;
    for (const auto& [line, info] : script) {
        if (!changing && info.type != dtl::SES_COMMON) {
            changes.push_back({oldLine, oldLine, newLine, newLine});
        }
        changing = info.type != dtl::SES_COMMON;
        oldLine += info.type == dtl::SES_ADD ? 0 : 1;
        newLine += info.type == dtl::SES_DELETE ? 0 : 1;
        if (changing) {
            changes.back().m_oldEnd = oldLine;
            changes.back().m_newEnd = newLine;
        }
    }
    return changes;
}

Changes FindChanges(const Lines& oldLines, const Lines& newLines) {
    const CChange whole = WholeChange(oldLines, newLines);
    Known known;
    const Numbers oldNumbers = Number(oldLines, whole.m_oldBegin, whole.m_oldEnd, &known);
    const Numbers newNumbers = Number(newLines, whole.m_newBegin, whole.m_newEnd, &known);
    std::int64_t workLeft = kMostWork;
    dtl::Diff<int, Numbers, CBoundedCompare> diff(oldNumbers, newNumbers,
                                                  CBoundedCompare(&workLeft));
    diff.compose();
    return workLeft <= 0 ? Changes{whole} : ToChanges(diff.getSes().getSequence(), whole);
}

// ---- Hunks ----

// "-5,3": where the lines begin, counted from 1, and how many there are. No lines begin at the
// line before them.
std::string Range(char sign, std::size_t begin, std::size_t end) {
    const std::size_t count = end - begin;
    std::string text = sign + std::to_string(count == 0 ? begin : begin + 1);
    return count == 1 ? text : text + ',' + std::to_string(count);
}

void AppendMarked(char mark, const Lines& lines, std::size_t begin, std::size_t end,
                  std::string* text) {
    for (std::size_t i = begin; i < end; ++i) {
        *text += mark;
        *text += lines[i];
        if (lines[i].back() != '\n') {
            *text += '\n';
            *text += kNoNewline;
        }
    }
}

// The changes from the first up to the last share their context.
void AppendHunk(const Lines& oldLines, const Lines& newLines, Changes::const_iterator first,
                Changes::const_iterator last, std::string* text) {
    const std::size_t before = std::min(kContext, first->m_oldBegin);
    const std::size_t after = std::min(kContext, oldLines.size() - last->m_oldEnd);
    std::size_t position = first->m_oldBegin - before;
    *text += "@@ " + Range('-', position, last->m_oldEnd + after) + ' ' +
             Range('+', first->m_newBegin - before, last->m_newEnd + after) + " @@\n";
    for (auto change = first; change != last + 1; ++change) {
        AppendMarked(' ', oldLines, position, change->m_oldBegin, text);
        AppendMarked('-', oldLines, change->m_oldBegin, change->m_oldEnd, text);
        AppendMarked('+', newLines, change->m_newBegin, change->m_newEnd, text);
        position = change->m_oldEnd;
    }
    AppendMarked(' ', oldLines, position, last->m_oldEnd + after, text);
}

// ---- On a terminal ----

// Of the line that begins here. What looks like a file's name but has no hunk behind it is a line
// that was removed or added.
const char* ColourOf(Lines::const_iterator line, Lines::const_iterator end) {
    const auto hasHunkBehind = [&](std::ptrdiff_t lines) {
        return end - line > lines && line[lines].front() == '@';
    };
    if ((line->substr(0, 4) == "--- " && hasHunkBehind(2)) ||
        (line->substr(0, 4) == "+++ " && hasHunkBehind(1))) {
        return "\033[1m";
    }
    switch (line->front()) {
    case '@':
        return "\033[36m";
    case '-':
        return "\033[31m";
    case '+':
        return "\033[32m";
    default:
        return "";
    }
}

// Without its end. Tabs are harmless, and part of a line that the agent's files have.
std::string SafeLine(std::string_view line) {
    const std::string_view content = line.substr(0, line.find('\n'));
    if (line == kNoNewline) {
        return std::string(content);
    }
    std::string safe;
    for (std::size_t begin = 0; begin < content.size();) {
        const std::size_t end = std::min(content.find('\t', begin), content.size());
        safe += Escape(std::string(content.substr(begin, end - begin)));
        safe += content.substr(end, 1);
        begin = end + 1;
    }
    return safe;
}

} // namespace

std::string UnifiedDiff(const std::string& oldText, const std::string& newText,
                        const std::string& oldName, const std::string& newName) {
    if (oldText == newText) {
        return "";
    }
    const Lines oldLines = Split(oldText);
    const Lines newLines = Split(newText);
    const Changes changes = FindChanges(oldLines, newLines);
    std::string text = "--- " + oldName + "\n+++ " + newName + '\n';
    for (auto first = changes.begin(); first != changes.end();) {
        auto last = first;
        while (last + 1 != changes.end() &&
               (last + 1)->m_oldBegin - last->m_oldEnd <= 2 * kContext) {
            ++last;
        }
        AppendHunk(oldLines, newLines, first, last, &text);
        first = last + 1;
    }
    return text;
}

std::string ForOutput(const std::string& diff, const CTerminal& terminal) {
    if (!terminal.m_terminal) {
        return diff;
    }
    const Lines lines = Split(diff);
    std::string text;
    for (auto line = lines.begin(); line != lines.end(); ++line) {
        const std::string colour = terminal.m_colour ? ColourOf(line, lines.end()) : "";
        text += colour + SafeLine(*line) + (colour.empty() ? "\n" : "\033[0m\n");
    }
    return text;
}

} // namespace output
